// Trust in a chat server's certificate, through real handshakes with a peer on 127.0.0.1 that
// shows a certificate the test made: vouched for by an authority, self-signed on first and later
// use, changed, expired, for another host. A refused handshake never lets out what was written.
#include "DataRows.h"
#include "FakeServices.h"
#include "TestCertificates.h"
#include "TlsTestPeer.h"

#include "common/TlsGuard.h"

#include <QSslSocket>
#include <QtTest>

using namespace Qt::StringLiterals;

namespace {

const TestCertificate& certificateAuthority() {
    static const TestCertificate authority = TestCertificates::authority();
    return authority;
}

// One connection as the chat client makes it, the sign-on written at once and the guard deciding:
// "encrypted" (and the peer then has the sign-on), "accepted" (the person trusted the certificate
// and the client connects again) or "refused", with the reason given.
QString connectOnce(TlsTestPeer& peer, TlsTrustStore& store, FakePrompts& prompts, QString* refusal) {
    QSslSocket socket;
    QSslConfiguration configuration = socket.sslConfiguration();
    // The test's authority stands for the system's.
    configuration.setCaCertificates({certificateAuthority().certificate()});
    socket.setSslConfiguration(configuration);
    TlsGuard guard(socket, store, prompts);
    guard.setServer(TlsTrust::serverKey(u"LocalHost"_s, peer.port()));
    QString outcome;
    QObject::connect(&socket, &QSslSocket::encrypted, [&] { outcome = u"encrypted"_s; });
    QObject::connect(&guard, &TlsGuard::refused, [&](const QString& why) {
        outcome = u"refused"_s;
        *refusal = why;
    });
    QObject::connect(&guard, &TlsGuard::accepted, [&] { outcome = u"accepted"_s; });
    socket.connectToHostEncrypted(u"localhost"_s, peer.port());
    socket.write("LOGIN|\xbf|alice|\xbf|4711");
    [[maybe_unused]] const bool waited = QTest::qWaitFor([&] { return !outcome.isEmpty(); }, 5000);
    if (outcome == u"encrypted"_s) [[maybe_unused]]
        const bool waited = QTest::qWaitFor([&] { return peer.received.contains("4711"); }, 5000);
    return outcome;
}

} // namespace

class TestTlsTrust : public QObject {
    Q_OBJECT
private slots:
    // clang-format off
    void firstAndLaterUse_data() {
        addColumns<QString, QString, QStringList, QStringList, QString>("certificate", "pinned", "answers", "outcomes", "refusal");
        QTest::newRow("vouched for by an authority") << u"vouched"_s << u""_s << QStringList{} << QStringList{u"encrypted"_s} << u""_s;
        QTest::newRow("self-signed: asked, accepted, then used without asking") << u"self"_s << u""_s << QStringList{u"yes"_s} << QStringList{u"accepted"_s, u"encrypted"_s} << u""_s;
        QTest::newRow("self-signed: declined, asked again next time") << u"self"_s << u""_s << QStringList{u"no"_s, u"no"_s} << QStringList{u"refused"_s, u"refused"_s} << u""_s;
        QTest::newRow("self-signed, accepted before") << u"self"_s << u"self"_s << QStringList{} << QStringList{u"encrypted"_s} << u""_s;
        QTest::newRow("changed since accepted") << u"self"_s << u"other"_s << QStringList{} << QStringList{u"refused"_s} << u"has changed since you accepted it"_s;
        QTest::newRow("expired") << u"expired"_s << u""_s << QStringList{} << QStringList{u"refused"_s} << u"expired"_s;
        QTest::newRow("another host's") << u"elsewhere"_s << u""_s << QStringList{} << QStringList{u"refused"_s} << u"host name did not match"_s;
        QTest::newRow("self-signed and expired: never asked") << u"self expired"_s << u""_s << QStringList{} << QStringList{u"refused"_s} << u"expired"_s;
    }
    // clang-format on

    void firstAndLaterUse() {
        auto [kind, pinnedKind, answers, outcomes, refusal] =
            fetchRow<QString, QString, QStringList, QStringList, QString>("certificate", "pinned", "answers",
                                                                          "outcomes", "refusal");
        TestCertificateRequest request;
        request.issuer = kind.contains(u"self"_s) ? nullptr : &certificateAuthority();
        if (kind.contains(u"expired"_s)) {
            request.validFromSecs = -7200;
            request.validUntilSecs = -3600;
        }
        if (kind == u"elsewhere"_s) {
            request.commonName = u"chat.example.org"_s;
            request.dnsNames = {u"chat.example.org"_s};
            request.ipAddresses.clear();
        }
        const TestCertificate shown = TestCertificates::make(request);
        TlsTestPeer peer(shown);
        QTemporaryDir folder;
        TlsTrustStore store(folder.filePath(u"TrustedServers.ini"_s));
        const QString server = u"localhost:%1"_s.arg(peer.port());
        if (!pinnedKind.isEmpty()) {
            const QSslCertificate pinned = pinnedKind == u"self"_s
                                               ? shown.certificate()
                                               : TestCertificates::forLocalhost(nullptr).certificate();
            QVERIFY(store.pin(server, TlsTrust::fingerprint(pinned)));
        }
        FakePrompts prompts;
        for (const QString& answer : answers)
            prompts.answers.push_back(answer == u"yes"_s ? Prompts::Answer::Yes : Prompts::Answer::No);

        for (const QString& expected : outcomes) {
            QString why;
            QCOMPARE(connectOnce(peer, store, prompts, &why), expected);
            QVERIFY2(why.contains(refusal, Qt::CaseInsensitive), qPrintable(why));
        }
        // Asked only about a self-signed certificate not accepted before, and shown its fingerprint.
        QCOMPARE(prompts.shown.size(), answers.size());
        for (const FakePrompts::Shown& asked : prompts.shown)
            QVERIFY(asked.text.contains(TlsTrust::fingerprint(shown.certificate())) &&
                    asked.buttons == Prompts::Buttons::YesNo);
        QCOMPARE(store.pinned(server).has_value(), outcomes.contains(u"accepted"_s) || !pinnedKind.isEmpty());
        // The sign-on was written before every handshake; it got out only where the server was trusted.
        QCOMPARE(peer.received.contains("4711"), outcomes.last() == u"encrypted"_s);
    }
};

QTEST_GUILESS_MAIN(TestTlsTrust)
#include "tst_tlstrust.moc"
