// The session over TLS, as the server box asks for it ("tls://host:port"): the sign-on goes only
// through an encrypted, trusted connection, and a failed handshake lets nothing out in clear.
#include "FakeServices.h"
#include "ScriptedChatServer.h"
#include "TestCertificates.h"
#include "TlsTestPeer.h"

#include "chat/ChatSession.h"
#include "common/TlsTrust.h"

#include <QtTest>

using namespace Qt::StringLiterals;

class TestChatSessionTls : public QObject {
    Q_OBJECT
private slots:
    void selfSignedServerAcceptedOnFirstUse() {
        const TestCertificate shown = TestCertificates::forLocalhost(nullptr);
        TlsTestPeer server(shown);
        QTemporaryDir folder;
        FakePrompts prompts;
        prompts.answers.push_back(Prompts::Answer::Yes);
        ChatSession session;
        session.setTlsTrust(folder.filePath(u"TrustedServers.ini"_s), prompts);
        session.setServerAddress(u"tls://localhost:%1"_s.arg(server.port()), 27800);
        session.setNickname(u"alice"_s);
        session.setPassword(u"4711"_s);
        QSignalSpy connected(&session, &ChatSession::connected);
        session.signOn();
        // Asked once, with the fingerprint; connected again, encrypted, and then signed on.
        QVERIFY(connected.wait(5000));
        QCOMPARE(prompts.shown.size(), 1);
        QVERIFY(prompts.last().text.contains(TlsTrust::fingerprint(shown.certificate())));
        QCOMPARE(session.encryption(), u"TLS 1.3"_s);
        QTRY_COMPARE_WITH_TIMEOUT(server.received, QByteArray("LOGIN|\xbf|alice|\xbf|4711"), 5000);
    }

    void tlsAskedOfAPlainServerSendsNothing() {
        ScriptedChatServer plain;
        ChatSession session;
        session.setServerAddress(u"tls://127.0.0.1:%1"_s.arg(plain.port()), 27800);
        session.setNickname(u"alice"_s);
        session.setPassword(u"4711"_s);
        QSignalSpy hungUp(&session, &ChatSession::hungUp);
        QSignalSpy connected(&session, &ChatSession::connected);
        session.signOn();
        // The plain server gets a TLS hello, which it cannot answer, and hangs up (as quorvel-server
        // does on its plain port). The sign-on never left, in clear or otherwise.
        QVERIFY(plain.waitForReceived(5));
        QVERIFY(plain.received().startsWith("\x16\x03"));
        plain.dropClient();
        QVERIFY(hungUp.wait(5000));
        QCOMPARE(connected.size(), 0);
        QVERIFY(!plain.received().contains("4711"));
    }
};

QTEST_GUILESS_MAIN(TestChatSessionTls)
#include "tst_chatsessiontls.moc"
