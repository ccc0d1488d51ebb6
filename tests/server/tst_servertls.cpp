// The TLS ports: the chat and the master lists over real handshakes on 127.0.0.1 with certificates
// the test makes, what crosses the wire, the wrong protocol on either port, handshakes held to the
// per-address cap and their deadline, and the certificate reloaded on SIGHUP with members online.
#include "DataRows.h"
#include "TestCertificates.h"
#include "TestFiles.h"
#include "TestServer.h"

#include "browser/MasterListFetch.h"
#include "server/MasterListFolder.h"
#include "server/MasterListHttp.h"
#include "server/TlsCredentials.h"

#include <QProcess>
#include <QSslSocket>
#include <QTcpServer>
#include <QtTest>

#include <csignal>
#include <memory>

using namespace Qt::StringLiterals;
using ServerWire::msg;
using ServerWire::wire;

namespace {

// Passes bytes between one client and the server and keeps what the client sent: what anyone on
// the path would see.
class RecordingRelay : public QObject {
public:
    explicit RecordingRelay(quint16 target) {
        m_listener.listen(QHostAddress::LocalHost, 0);
        connect(&m_listener, &QTcpServer::newConnection, this, [this, target] {
            m_client = m_listener.nextPendingConnection();
            m_server.connectToHost(QHostAddress::LocalHost, target);
            connect(m_client, &QTcpSocket::readyRead, this, [this] {
                const QByteArray bytes = m_client->readAll();
                m_sent += bytes;
                m_pending += bytes;
                forward();
            });
            connect(&m_server, &QTcpSocket::connected, this, &RecordingRelay::forward);
            connect(&m_server, &QTcpSocket::readyRead, this, [this] { m_client->write(m_server.readAll()); });
        });
    }
    quint16 port() const { return m_listener.serverPort(); }
    QByteArray sent() const { return m_sent; }

private:
    void forward() {
        if (m_server.state() == QAbstractSocket::ConnectedState && !m_pending.isEmpty())
            m_server.write(std::exchange(m_pending, {}));
    }
    QTcpServer m_listener;
    QTcpSocket* m_client = nullptr;
    QTcpSocket m_server;
    QByteArray m_sent;
    QByteArray m_pending;
};

struct Certificates {
    TestCertificate authority = TestCertificates::authority();
    TestCertificate server = TestCertificates::forLocalhost(&authority);
};

Certificates& certificates() {
    static Certificates made;
    return made;
}

// A test server with its TLS chat port open.
struct TlsTestServer {
    QTemporaryDir dir;
    TestServer server;
    TlsCredentials credentials{dir.filePath(u"cert.pem"_s), dir.filePath(u"key.pem"_s)};
    explicit TlsTestServer(ServerLimits limits = TestServer::testLimits())
        : server(limits) {
        QString error;
        if (!certificates().server.write(credentials.certificateFile(), credentials.keyFile()) ||
            !credentials.load(&error) || !server.server().listenTls(QHostAddress::LocalHost, 0, credentials))
            qFatal("TLS test server: %s", qPrintable(error));
    }
    quint16 tlsPort() { return server.server().tlsPort(); }
};

// Everything the server wrote until it closed the connection.
QByteArray untilClosed(ServerTestClient& client) {
    [[maybe_unused]] const bool closed = client.waitForDisconnect();
    return client.rawReceived();
}

} // namespace

class TestServerTls : public QObject {
    Q_OBJECT
private slots:
    void passwordNeverCrossesInClear_data() {
        addColumns<bool>("tls");
        QTest::newRow("plain port: the recorder sees the password") << false;
        QTest::newRow("TLS port: it does not") << true;
    }

    void passwordNeverCrossesInClear() {
        QFETCH(bool, tls);
        TlsTestServer t;
        std::unique_ptr<ServerTestClient> bob = t.server.signOnNew(u"bob"_s, u"22"_s);
        QVERIFY(bob);
        t.server.addAccount(u"carol"_s, u"90417"_s);
        RecordingRelay relay(tls ? t.tlsPort() : t.server.port());
        ServerTestClient carol;
        QVERIFY(tls ? carol.connectEncrypted(relay.port(), certificates().authority.certificate())
                    : carol.connectTo(relay.port()));
        carol.sendSegment(wire("LOGIN", "carol", "90417"));
        QVERIFY(carol.waitForLine(wire("LIST", "carol")));
        carol.sendSegment(msg(u"hello over the wire"_s));
        QVERIFY(bob->waitForLine(wire("MSG", "<carol> hello over the wire")));
        QCOMPARE(relay.sent().contains("90417"), !tls);
        QCOMPARE(relay.sent().contains("hello over the wire"), !tls);
    }

    void wrongProtocolEndsAtOnce_data() {
        addColumns<bool, bool>("toTlsPort", "http");
        QTest::newRow("plain chat to the TLS chat port") << true << false;
        QTest::newRow("TLS to the plain chat port") << false << false;
        QTest::newRow("plain HTTP to the HTTPS port") << true << true;
        QTest::newRow("TLS to the plain HTTP port") << false << true;
    }

    void wrongProtocolEndsAtOnce() {
        auto [toTlsPort, http] = fetchRow<bool, bool>("toTlsPort", "http");
        TlsTestServer t;
        QTemporaryDir lists;
        QVERIFY(MasterListFolder::fillMissing(lists.path(), nullptr));
        MasterListHttp web(lists.path());
        const quint16 httpPort = web.listen(QHostAddress::LocalHost, 0);
        const quint16 httpsPort = web.listenTls(QHostAddress::LocalHost, 0, t.credentials);
        QVERIFY(httpPort != 0 && httpsPort != 0);
        std::unique_ptr<ServerTestClient> bob = t.server.signOnNew(u"bob"_s, u"22"_s);
        QVERIFY(bob);
        t.server.addAccount(u"carol"_s, u"33"_s);
        const quint16 port =
            http ? (toTlsPort ? httpsPort : httpPort) : (toTlsPort ? t.tlsPort() : t.server.port());

        ServerTestClient client;
        if (toTlsPort) {
            QVERIFY(client.connectTo(port));
            client.sendSegment(http ? u"GET /quorvel/qvllist-kingpin.qvl HTTP/1.0\r\n\r\n"_s
                                    : wire("LOGIN", "carol", "33"));
            // Not read as a request or a sign-on: the connection ends without an answer (at most a
            // TLS alert, which has no line in it).
            QVERIFY(!untilClosed(client).contains("\r\n"));
            QVERIFY(!bob->waitForLine(wire("JOIN", "carol"), 200));
        } else {
            // The handshake fails quickly instead of waiting for an answer that never comes.
            QVERIFY(!client.connectEncrypted(port, certificates().authority.certificate()));
            QVERIFY(client.waitForDisconnect(2000));
        }
    }

    void handshakesCountPerAddressAndExpire() {
        ServerLimits limits = TestServer::testLimits();
        limits.connectionsPerAddress = 2;
        limits.tlsHandshakeMs = 300;
        TlsTestServer t(limits);
        // Two connections that never start their handshake fill the address's share...
        ServerTestClient first, second, third;
        QVERIFY(first.connectTo(t.tlsPort()) && second.connectTo(t.tlsPort()));
        QVERIFY(QTest::qWaitFor([&] { return t.server.server().tlsHandshakesUnderWay() == 2; }, 5000));
        // ...so a third from it is let go before any key exchange...
        QVERIFY(third.connectTo(t.tlsPort()));
        QVERIFY(third.waitForDisconnect());
        // ...and the two are cut off at the deadline, which frees the address again.
        QVERIFY(first.waitForDisconnect() && second.waitForDisconnect());
        ServerTestClient member;
        QVERIFY(member.connectEncrypted(t.tlsPort(), certificates().authority.certificate()));
    }

    void masterListsOverHttps() {
        TlsTestServer t;
        QTemporaryDir lists;
        QVERIFY(MasterListFolder::fillMissing(lists.path(), nullptr));
        MasterListHttp web(lists.path());
        const quint16 port = web.listenTls(QHostAddress::LocalHost, 0, t.credentials);
        QVERIFY(port != 0);
        ServerTestClient client;
        QVERIFY(client.connectEncrypted(port, certificates().authority.certificate()));
        client.sendBytes(
            "GET /quorvel/qvllist-rtcw.qvl HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n\r\n");
        const QByteArray answer = untilClosed(client);
        QVERIFY2(answer.startsWith("HTTP/1.1 200"), answer.left(40).constData());
        QVERIFY(answer.endsWith(readBytes(lists.filePath(u"qvllist-rtcw.qvl"_s))));
    }

    void clientFetchesMasterListOverHttps_data() {
        addColumns<bool, QByteArray>("vouched", "expected");
        QTest::newRow("certificate of a known authority") << true << QByteArray("body");
        QTest::newRow("self-signed: refused, never fetched") << false << QByteArray("unreachable");
    }

    void clientFetchesMasterListOverHttps() {
        auto [vouched, expected] = fetchRow<bool, QByteArray>("vouched", "expected");
        // The test's authority stands for the system's: QNetworkAccessManager trusts the default set.
        QSslConfiguration defaults = QSslConfiguration::defaultConfiguration();
        defaults.addCaCertificate(certificates().authority.certificate());
        QSslConfiguration::setDefaultConfiguration(defaults);
        QTemporaryDir dir;
        QVERIFY(MasterListFolder::fillMissing(dir.path(), nullptr));
        const TestCertificate shown =
            vouched ? certificates().server : TestCertificates::forLocalhost(nullptr);
        QVERIFY(shown.write(dir.filePath(u"c.pem"_s), dir.filePath(u"k.pem"_s)));
        TlsCredentials credentials(dir.filePath(u"c.pem"_s), dir.filePath(u"k.pem"_s));
        QString error;
        QVERIFY2(credentials.load(&error), qPrintable(error));
        MasterListHttp web(dir.path());
        const quint16 port = web.listenTls(QHostAddress::LocalHost, 0, credentials);

        MasterListFetch fetch;
        QSignalSpy body(&fetch, &MasterListFetch::bodyArrived);
        QSignalSpy unreachable(&fetch, &MasterListFetch::unreachable);
        fetch.get(QUrl(u"https://localhost:%1/quorvel/qvllist-kingpin.qvl"_s.arg(port)));
        QVERIFY(QTest::qWaitFor([&] { return body.size() + unreachable.size() > 0; }, 10000));
        if (expected == "body") {
            QCOMPARE(body.size(), 1);
            QCOMPARE(body.first().first().toByteArray(), readBytes(dir.filePath(u"qvllist-kingpin.qvl"_s)));
        } else {
            QCOMPARE(unreachable.size(), 1);
            QVERIFY2(unreachable.first().first().toString().contains(u"SSL"_s),
                     qPrintable(unreachable.first().first().toString()));
        }
    }

    void certificateReloadedOnSighupWithMembersOnline() {
        QTemporaryDir data;
        const QString certFile = data.filePath(u"fullchain.pem"_s), keyFile = data.filePath(u"privkey.pem"_s);
        QVERIFY(certificates().server.write(certFile, keyFile));
        QProcess process;
        process.start(
            QStringLiteral(QUORVEL_SERVER_PATH),
            QStringList{u"--data"_s, data.path(), u"--tls-cert"_s, certFile, u"--tls-key"_s, keyFile} +
                u"--listen 127.0.0.1 --chat-port 0 --http-port 0 --tls-chat-port 0 --https-port 0 "
                u"--hash-iterations 1000 --sign-on-again-ms 0"_s.split(u' '));
        QByteArray output;
        const auto waitForOutput = [&](const QRegularExpression& pattern) {
            QRegularExpressionMatch match;
            [[maybe_unused]] const bool waited = QTest::qWaitFor(
                [&] {
                    output += process.readAllStandardOutput();
                    match = pattern.match(QString::fromLatin1(output));
                    return match.hasMatch();
                },
                10000);
            return match;
        };
        const QRegularExpressionMatch ports = waitForOutput(
            QRegularExpression(u"chat port (\\d+),.*\\n.*TLS chat port (\\d+), https port (\\d+)"_s));
        QVERIFY2(ports.hasMatch(), output.constData());
        const quint16 plainPort = quint16(ports.captured(1).toUInt()),
                      tlsPort = quint16(ports.captured(2).toUInt());
        const QSslCertificate authority = certificates().authority.certificate();

        ServerTestClient alice, bob;
        QVERIFY(alice.connectEncrypted(tlsPort, authority) && bob.connectTo(plainPort));
        for (auto [client, name] : {std::pair{&alice, "alice"}, std::pair{&bob, "bob"}}) {
            client->sendSegment(wire("NEWACCOUNT", name, "7"));
            QVERIFY(client->waitForLine(u"DONER"_s));
            client->sendSegment(wire("LOGIN", name, "7"));
            QVERIFY(client->waitForLine(wire("LIST", name)));
        }
        QCOMPARE(alice.socket().peerCertificate(), certificates().server.certificate());

        // A renewed certificate (new key, same authority) is put in place and the server told.
        const TestCertificate renewed = TestCertificates::forLocalhost(&certificates().authority);
        QVERIFY(renewed.write(certFile, keyFile));
        ::kill(pid_t(process.processId()), SIGHUP);
        QVERIFY2(waitForOutput(QRegularExpression(u"certificate reloaded"_s)).hasMatch(), output.constData());
        ServerTestClient carol;
        QVERIFY(carol.connectEncrypted(tlsPort, authority));
        QCOMPARE(carol.socket().peerCertificate(), renewed.certificate());
        // Nobody was dropped: alice, on the old certificate's session, still talks to bob.
        alice.sendSegment(msg(u"still here"_s));
        QVERIFY(bob.waitForLine(wire("MSG", "<alice> still here")));

        // A key that does not belong to the certificate is refused; the renewed pair stays in force.
        QVERIFY(TestCertificates::forLocalhost(nullptr).write(data.filePath(u"other.pem"_s), keyFile));
        ::kill(pid_t(process.processId()), SIGHUP);
        QVERIFY(waitForOutput(QRegularExpression(u"not reloaded, the one in force stays"_s)).hasMatch());
        ServerTestClient dave;
        QVERIFY(dave.connectEncrypted(tlsPort, authority));
        QCOMPARE(dave.socket().peerCertificate(), renewed.certificate());

        process.terminate();
        QTRY_COMPARE_WITH_TIMEOUT(process.state(), QProcess::NotRunning, 10000);
        QCOMPARE(process.exitCode(), 0);
    }
};

QTEST_GUILESS_MAIN(TestServerTls)
#include "tst_servertls.moc"
