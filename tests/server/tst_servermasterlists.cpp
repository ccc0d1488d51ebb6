// The master lists over HTTP: GET and HEAD of the six lists, 404 for everything else,
// nothing outside the data folder reachable, and the samples copied in at start.
#include "DataRows.h"
#include "TestFiles.h"

#include "server/MasterListFolder.h"
#include "server/MasterListHttp.h"
#include "server/ServerLimits.h"

#include <QtTest>
#include <QTcpSocket>

#include <memory>
#include <vector>

namespace {

QByteArray header(const QByteArray& response, const QByteArray& name) {
    for (const QByteArray& line : response.left(response.indexOf("\r\n\r\n")).split('\n')) {
        if (line.toLower().startsWith(name.toLower() + ':'))
            return line.mid(name.size() + 1).trimmed();
    }
    return {};
}

// A raw connection that keeps what it receives and notices when the server closes.
struct RawClient {
    QTcpSocket socket;
    QByteArray received;
    explicit RawClient(quint16 port) {
        QObject::connect(&socket, &QTcpSocket::readyRead, [this] { received += socket.readAll(); });
        socket.connectToHost(QHostAddress::LocalHost, port);
    }
    bool closedByServer() const { return socket.state() == QAbstractSocket::UnconnectedState; }
};

// The request bytes as given, then all the server writes until it closes.
QByteArray exchange(quint16 port, const QByteArray& request) {
    RawClient client(port);
    client.socket.write(request);
    [[maybe_unused]] const bool closed = QTest::qWaitFor([&] { return client.closedByServer(); }, 5000);
    return client.received;
}

// One answer, whole, and nothing after it.
bool oneWholeAnswer(const QByteArray& received) {
    const qsizetype body = received.indexOf("\r\n\r\n") + 4;
    return received.count("HTTP/1.1 ") == 1 &&
           received.size() - body == header(received, "Content-Length").toLongLong();
}

ServerLimits quickLimits() {
    ServerLimits limits;
    limits.httpIdleMs = 300;
    limits.httpConnectionsPerAddress = 3;
    return limits;
}

const QByteArray KingpinGet = "GET /quorvel/qvllist-kingpin.qvl HTTP/1.1\r\nHost: localhost\r\n\r\n";

} // namespace

class TestMasterListHttp : public QObject {
    Q_OBJECT
private slots:
    void initTestCase() {
        // A file beside the lists that no request may reach.
        QVERIFY(writeBytes(m_dir.filePath(QStringLiteral("quorvel.sqlite")), "secret"));
        QVERIFY(writeBytes(m_dir.filePath(QStringLiteral("quorvel/qvllist-inner.qvl")), "inner"));
        QVERIFY(MasterListFolder::fillMissing(m_dir.path(), nullptr));
        m_http = std::make_unique<MasterListHttp>(m_dir.path());
        m_port = m_http->listen(QHostAddress::LocalHost, 0);
        QVERIFY(m_port != 0);
    }

    void samplesAreCopiedOnlyWhenMissing() {
        QTemporaryDir dir;
        const QString kingpin = dir.filePath(QStringLiteral("qvllist-kingpin.qvl"));
        QVERIFY(writeBytes(kingpin, "Our own - 10.0.0.1 - 31510\r\n"));
        QVERIFY(MasterListFolder::fillMissing(dir.path(), nullptr));
        QCOMPARE(QDir(dir.path()).entryList(QDir::Files).size(), 6);
        QCOMPARE(readBytes(kingpin), QByteArray("Our own - 10.0.0.1 - 31510\r\n"));
        const QByteArray sample = readBytes(dir.filePath(QStringLiteral("qvllist-rtcw.qvl")));
        QVERIFY(sample.endsWith("\r\n") && sample.contains(" - 127.0.0.1 - 27960\r\n"));
    }

    void getAndHead_data() {
        QTest::addColumn<QString>("name");
        for (const QString& name : MasterListFolder::listNames())
            QTest::newRow(qPrintable(name)) << name;
    }

    void getAndHead() {
        QFETCH(QString, name);
        const QByteArray body = readBytes(m_dir.filePath(name));
        QVERIFY(!body.isEmpty() && body != "<missing>");
        const QByteArray path = "/quorvel/" + name.toLatin1();

        const QByteArray close = " HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n\r\n";
        const QByteArray get = exchange(m_port, "GET " + path + close);
        QVERIFY2(get.startsWith("HTTP/1.1 200"), get.left(40).constData());
        QCOMPARE(header(get, "Content-Length"), QByteArray::number(body.size()));
        QCOMPARE(get.mid(get.indexOf("\r\n\r\n") + 4), body);

        // HEAD then GET on one connection: the GET's status line must follow the HEAD's headers
        // at once, which proves that HEAD sent no body.
        const QByteArray both =
            exchange(m_port, "HEAD " + path + " HTTP/1.1\r\nHost: localhost\r\n\r\nGET " + path + close);
        QVERIFY2(both.startsWith("HTTP/1.1 200"), both.left(40).constData());
        QCOMPARE(header(both, "Content-Length"), QByteArray::number(body.size()));
        const qsizetype headEnd = both.indexOf("\r\n\r\n") + 4;
        QVERIFY2(both.mid(headEnd).startsWith("HTTP/1.1 200"), both.mid(headEnd, 40).constData());
        QVERIFY(both.endsWith(body));
    }

    void everythingElseIsNotFound_data() {
        QTest::addColumn<QByteArray>("request");
        const QByteArray tail = " HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n\r\n";
        QTest::newRow("dot-dot") << ("GET /quorvel/../quorvel.sqlite" + tail);
        QTest::newRow("encoded dot-dot") << ("GET /quorvel/%2e%2e/quorvel.sqlite" + tail);
        QTest::newRow("encoded slash") << ("GET /quorvel/..%2fquorvel.sqlite" + tail);
        QTest::newRow("list then dot-dot")
            << ("GET /quorvel/qvllist-kingpin.qvl/../../quorvel.sqlite" + tail);
        QTest::newRow("database at the root") << ("GET /quorvel.sqlite" + tail);
        QTest::newRow("sub-folder") << ("GET /quorvel/quorvel/qvllist-inner.qvl" + tail);
        QTest::newRow("unknown list") << ("GET /quorvel/qvllist-quake.qvl" + tail);
        QTest::newRow("HEAD of a missing list") << ("HEAD /quorvel/qvllist-quake.qvl" + tail);
        QTest::newRow("DELETE") << ("DELETE /quorvel/qvllist-kingpin.qvl" + tail);
    }

    void everythingElseIsNotFound() {
        QFETCH(QByteArray, request);
        const QByteArray response = exchange(m_port, request);
        QVERIFY2(response.startsWith("HTTP/1.1 404") && oneWholeAnswer(response),
                 response.left(60).constData());
        QVERIFY(!response.contains("secret"));
        QVERIFY(!response.contains("inner"));
    }

    // clang-format off
    void refusedRequestIsAnsweredAndClosed_data() {
        addColumns<QByteArray, QByteArray>("request", "status");
        const QByteArray get = "GET /quorvel/qvllist-kingpin.qvl ";
        // Far more than is read: closing on unread bytes would reset the connection, answer and all.
        QTest::newRow("header that never ends") << (get + "HTTP/1.1\r\nHost: localhost\r\nX-Long: " + QByteArray(1024 * 1024, 'a')) << QByteArray("431");
        QTest::newRow("head just over 8 KB") << (get + "HTTP/1.1\r\nHost: localhost\r\nX-Long: " + QByteArray(8 * 1024, 'a') + "\r\n\r\n") << QByteArray("431");
        QTest::newRow("TLS hello") << QByteArray("\x16\x03\x01\x02\x00\x01\x00\x01\xfc\x03\x03", 11) << QByteArray("400");
        QTest::newRow("bare line feeds") << (get + "HTTP/1.1\nHost: localhost\n\n") << QByteArray("400");
        QTest::newRow("HTTP/2.0") << (get + "HTTP/2.0\r\nHost: localhost\r\n\r\n") << QByteArray("505");
        QTest::newRow("version not a version") << (get + "HTTP/1.1x\r\nHost: localhost\r\n\r\n") << QByteArray("400");
        QTest::newRow("no Host") << (get + "HTTP/1.1\r\n\r\n") << QByteArray("400");
        QTest::newRow("two Hosts") << (get + "HTTP/1.1\r\nHost: a\r\nHost: b\r\n\r\n") << QByteArray("400");
        QTest::newRow("folded header") << (get + "HTTP/1.1\r\nHost: a\r\n  folded\r\n\r\n") << QByteArray("400");
        QTest::newRow("control byte in a value") << (get + "HTTP/1.1\r\nHost: a\x01\r\n\r\n") << QByteArray("400");
        QTest::newRow("no version (HTTP/0.9)") << QByteArray("GET /quorvel/qvllist-kingpin.qvl\r\n") << QByteArray("400");
        QTest::newRow("absolute-form target") << QByteArray("GET http://localhost:27801/quorvel/qvllist-kingpin.qvl HTTP/1.1\r\nHost: localhost:27801\r\nConnection: close\r\n\r\n") << QByteArray("200");
        QTest::newRow("blank in the path") << QByteArray("GET /quorvel/a b HTTP/1.1\r\nHost: a\r\n\r\n") << QByteArray("400");
        QTest::newRow("HTTP/1.0 ends after the answer") << (get + "HTTP/1.0\r\n\r\n") << QByteArray("200");
        QTest::newRow("nothing after a closing answer") << (get + "HTTP/1.0\r\n\r\n" + get + "HTTP/1.1\r\nHost: a\r\n\r\n") << QByteArray("200");
        QTest::newRow("Connection: close") << (get + "HTTP/1.1\r\nHost: a\r\nConnection: close\r\n\r\n") << QByteArray("200");
        QTest::newRow("a body, never read") << QByteArray( "POST /quorvel/qvllist-kingpin.qvl HTTP/1.1\r\nHost: a\r\nContent-Length: 5\r\n\r\nGET /") << QByteArray("404");
    }
    // clang-format on

    void refusedRequestIsAnsweredAndClosed() {
        auto [request, status] = fetchRow<QByteArray, QByteArray>("request", "status");
        RawClient client(m_port);
        QVERIFY(client.socket.waitForConnected(5000));
        client.socket.write(request);
        QTRY_VERIFY_WITH_TIMEOUT(client.closedByServer(), 5000);
        QVERIFY2(client.received.startsWith("HTTP/1.1 " + status + ' '),
                 client.received.left(60).constData());
        QVERIFY(oneWholeAnswer(client.received));
    }

    void idleAndSlowConnectionsAreClosed_data() {
        addColumns<QByteArray, QByteArray, QByteArray>("first", "trickle", "answers");
        QTest::newRow("silent") << QByteArray() << QByteArray() << QByteArray();
        QTest::newRow("half a request")
            << QByteArray("GET /quorvel/qvllist-kingpin.qvl HT") << QByteArray() << QByteArray("408");
        // A byte every 50 ms never completes a head; the deadline does not move for it.
        QTest::newRow("trickling header")
            << QByteArray("GET / HTTP/1.1\r\nX: ") << QByteArray("a") << QByteArray("408");
        QTest::newRow("idle after an answer") << KingpinGet << QByteArray() << QByteArray("200");
    }

    void idleAndSlowConnectionsAreClosed() {
        auto [first, trickle, answers] =
            fetchRow<QByteArray, QByteArray, QByteArray>("first", "trickle", "answers");
        MasterListHttp http(m_dir.path(), quickLimits());
        const quint16 port = http.listen(QHostAddress::LocalHost, 0);
        RawClient client(port);
        QVERIFY(client.socket.waitForConnected(5000));
        client.socket.write(first);
        QTimer trickler;
        QObject::connect(&trickler, &QTimer::timeout, [&, &bytes = trickle] { client.socket.write(bytes); });
        if (!trickle.isEmpty())
            trickler.start(50);
        QTRY_VERIFY_WITH_TIMEOUT(client.closedByServer(), 5000);
        QTRY_COMPARE_WITH_TIMEOUT(http.connectionCount(), 0, 5000);
        if (answers.isEmpty())
            QCOMPARE(client.received, QByteArray());
        else
            QVERIFY2(client.received.startsWith("HTTP/1.1 " + answers + ' '),
                     client.received.left(60).constData());
    }

    void bigListToClientsThatDoNotReadCostsLittleMemory() {
        QTemporaryDir dir;
        QByteArray list;
        for (int i = 0; list.size() < 32 * 1024 * 1024; ++i)
            list += "Server " + QByteArray::number(i) + " - 10.0.0.1 - 27910\r\n";
        QVERIFY(writeBytes(dir.filePath(QStringLiteral("qvllist-big.qvl")), list));
        MasterListHttp http(dir.path());
        const quint16 port = http.listen(QHostAddress::LocalHost, 0);
        std::vector<std::unique_ptr<RawClient>> clients;
        for (int i = 0; i < 4; ++i) {
            clients.push_back(std::make_unique<RawClient>(port));
            // The client takes the first bytes and then nothing: the rest waits in the server.
            clients.back()->socket.setReadBufferSize(4096);
            clients.back()->socket.write("GET /quorvel/qvllist-big.qvl HTTP/1.1\r\nHost: a\r\n\r\n");
        }
        QTRY_VERIFY_WITH_TIMEOUT(std::all_of(clients.begin(), clients.end(),
                                             [](const auto& client) { return !client->received.isEmpty(); }),
                                 5000);
        QVERIFY2(http.queuedBytes() <= 4 * 128 * 1024, QByteArray::number(http.queuedBytes()).constData());
        // A client that reads gets the whole list, piece after piece.
        RawClient& reader = *clients.front();
        reader.socket.setReadBufferSize(0);
        reader.received += reader.socket.readAll();
        QTRY_VERIFY_WITH_TIMEOUT(reader.received.size() >= list.size(), 20000);
        QCOMPARE(reader.received.mid(reader.received.indexOf("\r\n\r\n") + 4), list);
    }

    void connectionsPerAddressAreCapped() {
        MasterListHttp http(m_dir.path(), quickLimits());
        const quint16 port = http.listen(QHostAddress::LocalHost, 0);
        std::vector<std::unique_ptr<RawClient>> held;
        for (int i = 0; i < 3; ++i) {
            held.push_back(std::make_unique<RawClient>(port));
            QVERIFY(held.back()->socket.waitForConnected(5000));
        }
        QTRY_COMPARE_WITH_TIMEOUT(http.connectionCount(), 3, 5000);
        RawClient fourth(port);
        QTRY_VERIFY_WITH_TIMEOUT(fourth.closedByServer(), 5000);
        QVERIFY2(fourth.received.startsWith("HTTP/1.1 503 "), fourth.received.left(60).constData());
        // One of the three leaves: the next is served.
        held.front()->socket.abort();
        QTRY_COMPARE_WITH_TIMEOUT(http.connectionCount(), 2, 5000);
        RawClient next(port);
        next.socket.write(KingpinGet);
        QTRY_VERIFY_WITH_TIMEOUT(next.received.startsWith("HTTP/1.1 200 ") && oneWholeAnswer(next.received),
                                 5000);
    }

private:
    QTemporaryDir m_dir;
    std::unique_ptr<MasterListHttp> m_http;
    quint16 m_port = 0;
};

QTEST_GUILESS_MAIN(TestMasterListHttp)
#include "tst_servermasterlists.moc"
