// What an operator does with a running quorvel-server, on the real executable: a service
// manager's reload signal, /metrics read after real sign-ons, and a backup taken while the
// server writes, restored and signed on to.
#include "DataRows.h"
#include "ServerTestClient.h"
#include "TestFiles.h"
#include "TestServer.h"

#include <QSqlDatabase>
#include <QSqlQuery>
#include <QtTest>

#include <algorithm>

#include <csignal>

using namespace Qt::StringLiterals;
using ServerWire::wire;

namespace {

// The real executable on 127.0.0.1, ports chosen by the system and read from its start line.
class ServerProcess {
public:
    bool start(const QString& data, const QStringList& extra = {}) {
        m_process.start(QStringLiteral(QUORVEL_SERVER_PATH),
                        QStringList{u"--data"_s, data, u"--listen"_s, u"127.0.0.1"_s, u"--chat-port"_s,
                                    u"0"_s, u"--http-port"_s, u"0"_s, u"--hash-iterations"_s, u"1000"_s,
                                    u"--sign-on-again-ms"_s, u"0"_s, u"--accounts-per-address"_s, u"0"_s} +
                            extra);
        static const QRegularExpression startLine(u"chat port (\\d+), http port (\\d+)"_s);
        QByteArray output;
        QRegularExpressionMatch match;
        [[maybe_unused]] const bool ended = QTest::qWaitFor(
            [&] {
                output += m_process.readAllStandardOutput();
                match = startLine.match(QString::fromLatin1(output));
                return match.hasMatch() || m_process.state() == QProcess::NotRunning;
            },
            15000);
        chatPort = quint16(match.captured(1).toUInt());
        httpPort = quint16(match.captured(2).toUInt());
        return match.hasMatch();
    }
    bool stop() {
        m_process.terminate();
        return m_process.waitForFinished(15000) && m_process.exitStatus() == QProcess::NormalExit &&
               m_process.exitCode() == 0;
    }
    QProcess& process() { return m_process; }

    quint16 chatPort = 0;
    quint16 httpPort = 0;

private:
    QProcess m_process;
};

QString newAccount(const QString& name, const QString& password) {
    return wire("NEWACCOUNT", name, password, "20", "a@b.c", "-", "-");
}

// One HTTP/1.0 GET from the given loopback address; the whole answer, head and body.
QByteArray httpGet(quint16 port, const QByteArray& path, const QString& from = u"127.0.0.1"_s) {
    QTcpSocket socket;
    socket.bind(QHostAddress(from));
    socket.connectToHost(QHostAddress::LocalHost, port);
    if (!socket.waitForConnected(5000))
        return {};
    socket.write("GET " + path + " HTTP/1.0\r\n\r\n");
    QByteArray answer;
    [[maybe_unused]] const bool closed = QTest::qWaitFor(
        [&] {
            answer += socket.readAll();
            return socket.state() == QAbstractSocket::UnconnectedState;
        },
        5000);
    return answer + socket.readAll();
}

// The value of one sample line ("name{labels} value") of a Prometheus text page; -1 when absent.
double sample(const QByteArray& page, const QByteArray& series) {
    for (const QByteArray& line : page.split('\n')) {
        if (line.startsWith(series + ' '))
            return line.mid(series.size() + 1).toDouble();
    }
    return -1;
}

int runServer(const QStringList& arguments, QByteArray* output = nullptr) {
    QProcess process;
    process.start(QStringLiteral(QUORVEL_SERVER_PATH), arguments);
    if (!process.waitForFinished(30000))
        return -1;
    if (output)
        *output = process.readAllStandardOutput() + process.readAllStandardError();
    return process.exitCode();
}

} // namespace

class TestServerService : public QObject {
    Q_OBJECT
private slots:
    void reloadSignalKeepsServing() {
        QTemporaryDir data;
        ServerProcess server;
        QVERIFY(server.start(data.path()));
        ServerTestClient member;
        QVERIFY(member.connectTo(server.chatPort));
        ::kill(pid_t(server.process().processId()), SIGHUP);
        member.sendSegment(newAccount(u"dave"_s, u"4"_s));
        QVERIFY(member.waitForLine(u"DONER"_s));
        QCOMPARE(server.process().state(), QProcess::Running);
        QVERIFY(server.stop());
    }

    void metricsAfterSignOns() {
        QTemporaryDir data;
        ServerProcess server;
        QVERIFY(server.start(data.path(), {u"--metrics-from"_s, u"127.0.0.1"_s}));
        ServerTestClient maker;
        QVERIFY(maker.connectTo(server.chatPort));
        for (const QString& name : {u"alice"_s, u"bob"_s}) {
            maker.sendSegment(newAccount(name, u"1"_s));
            QVERIFY(maker.waitForLine(u"DONER"_s));
            maker.clear();
        }
        ServerTestClient alice, bob, stranger;
        QVERIFY(alice.connectTo(server.chatPort) && bob.connectTo(server.chatPort));
        alice.sendSegment(wire("LOGIN", "alice", "1"));
        QVERIFY(alice.waitForLine(wire("LIST", "alice")));
        bob.sendSegment(wire("LOGIN", "bob", "1"));
        QVERIFY(alice.waitForLine(wire("JOIN", "bob")));
        QVERIFY(stranger.connectTo(server.chatPort));
        stranger.sendSegment(wire("LOGIN", "alice", "2"));
        QVERIFY(stranger.waitForLine(u"INVALID"_s));
        bob.sendSegment(wire("MSG", "hello"));
        QVERIFY(alice.waitForLine(wire("MSG", "<bob> hello")));
        bob.sendSegment(wire("PMSG", "alice", "psst"));
        QVERIFY(alice.waitForLine(wire("PMSG", "<bob> psst")));
        QVERIFY(httpGet(server.httpPort, "/quorvel/qvllist-none.qvl").startsWith("HTTP/1.1 404"));

        const QByteArray answer = httpGet(server.httpPort, "/metrics");
        QVERIFY2(answer.startsWith("HTTP/1.1 200 OK\r\n"), answer.constData());
        QVERIFY(answer.contains("\r\nContent-Type: text/plain; version=0.0.4; charset=utf-8\r\n"));
        const QByteArray page = answer.mid(answer.indexOf("\r\n\r\n") + 4);
        QCOMPARE(sample(page, "quorvel_members_online"), 2.0);
        QCOMPARE(sample(page, "quorvel_sign_ons_total"), 2.0);
        QCOMPARE(sample(page, "quorvel_sign_on_refusals_total{reason=\"invalid\"}"), 1.0);
        QCOMPARE(sample(page, "quorvel_sign_on_refusals_total{reason=\"throttled\"}"), 0.0);
        QCOMPARE(sample(page, "quorvel_messages_relayed_total{kind=\"public\"}"), 1.0);
        QCOMPARE(sample(page, "quorvel_messages_relayed_total{kind=\"private\"}"), 1.0);
        QCOMPARE(sample(page, "quorvel_web_requests_total{code=\"404\"}"), 1.0);
        // Two accounts written; three sign-on reads (the stranger's too) and the news at start.
        QCOMPARE(sample(page, "quorvel_database_seconds_count{lane=\"writer\"}"), 2.0);
        QVERIFY(sample(page, "quorvel_database_seconds_count{lane=\"reader\"}") >= 3);
        QCOMPARE(sample(page, "quorvel_database_seconds_bucket{lane=\"writer\",le=\"+Inf\"}"), 2.0);
        QVERIFY(sample(page, "quorvel_delivery_wait_seconds_count") > 0);
        QCOMPARE(sample(page, "quorvel_database_given_up_total"), 0.0);
        // The text format: each sample is "name{labels} value", each name declared by a TYPE line.
        static const QRegularExpression sampleLine(
            u"^([a-z_]+)(\\{[a-z_]+=\"[^\"]*\"(,[a-z_]+=\"[^\"]*\")*\\})? "
            u"[0-9.e+-]+$"_s);
        for (const QByteArray& line : page.split('\n')) {
            if (line.isEmpty() || line.startsWith('#'))
                continue;
            const QRegularExpressionMatch match = sampleLine.match(QString::fromLatin1(line));
            QVERIFY2(match.hasMatch(), line.constData());
            const QByteArray family =
                match.captured(1).remove(QRegularExpression(u"_(bucket|sum|count)$"_s)).toLatin1();
            QVERIFY2(page.contains("# TYPE " + family + ' '), line.constData());
        }

        // Only the address named may read them.
        QVERIFY(httpGet(server.httpPort, "/metrics", u"127.0.0.2"_s).startsWith("HTTP/1.1 404"));
        QVERIFY(server.stop());
    }

    void backupWhileWritingThenRestore() {
        QTemporaryDir data, backups;
        ServerProcess server;
        QVERIFY(server.start(data.path(), {u"--flood-lines"_s, u"1000000"_s}));
        // News posted one item after another, each once the last is committed (its broadcast
        // comes after the commit), for as long as the backup runs and a few more after it.
        ServerTestClient writer;
        QVERIFY(writer.connectTo(server.chatPort));
        writer.sendSegment(newAccount(u"writer"_s, u"7"_s));
        QVERIFY(writer.waitForLine(u"DONER"_s));
        writer.sendSegment(wire("LOGIN", "writer", "7"));
        QVERIFY(writer.waitForLine(wire("LIST", "writer")));
        const QString posted = wire("SMSG", "News from writer: ");
        int made = 0;
        connect(&writer.socket(), &QTcpSocket::readyRead, this, [&] {
            const int now = int(writer.lines().filter(posted).size());
            if (now == made)
                return;
            made = now;
            writer.sendSegment(wire("NEWS", u"h%1"_s.arg(made + 1), "body"));
        });
        writer.sendSegment(wire("NEWS", "h1", "body"));
        QTRY_VERIFY_WITH_TIMEOUT(made >= 5, 15000);

        const QString copy = backups.filePath(u"copy.sqlite"_s);
        QByteArray output;
        QCOMPARE(runServer({u"--data"_s, data.path(), u"backup"_s, copy}, &output), 0);
        QVERIFY2(output.contains("copied to " + copy.toLocal8Bit()), output.constData());
        const int madeWhenDone = made;
        QTRY_VERIFY_WITH_TIMEOUT(made >= madeWhenDone + 3, 15000);
        writer.socket().disconnect(this);
        QVERIFY(server.stop());
        QVERIFY(!QFile::exists(copy + u".part"_s));

        // Consistent: whole, and holding the news committed before some moment, every item.
        QStringList headlines;
        {
            QSqlDatabase db = QSqlDatabase::addDatabase(u"QSQLITE"_s, u"copy"_s);
            db.setDatabaseName(copy);
            QVERIFY(db.open());
            QSqlQuery query(db);
            QVERIFY(query.exec(u"PRAGMA integrity_check"_s) && query.next());
            QCOMPARE(query.value(0).toString(), u"ok"_s);
            QVERIFY(query.exec(u"SELECT headline FROM news"_s));
            while (query.next())
                headlines.append(query.value(0).toString());
        }
        QSqlDatabase::removeDatabase(u"copy"_s);
        const int inCopy = int(headlines.size());
        QVERIFY2(inCopy >= 5 && inCopy < made, qPrintable(u"%1 of %2"_s.arg(inCopy).arg(made)));
        for (int i = 1; i <= inCopy; ++i)
            QVERIFY(headlines.contains(u"h%1"_s.arg(i)));

        // Restored as docs/server.md says: the copy in place of the database, its WAL files gone.
        const QString database = data.filePath(u"quorvel.sqlite"_s);
        for (const QString& file : {database, database + u"-wal"_s, database + u"-shm"_s})
            QFile::remove(file);
        QVERIFY(QFile::copy(copy, database));
        ServerProcess restored;
        QVERIFY(restored.start(data.path()));
        ServerTestClient member;
        QVERIFY(member.connectTo(restored.chatPort));
        member.sendSegment(wire("LOGIN", "writer", "7"));
        QVERIFY(member.waitForLine(wire("LIST", "writer")));
        // The latest news of the copy, not of the database it was taken from.
        QTRY_VERIFY(std::any_of(member.lines().cbegin(), member.lines().cend(), [&](const QString& line) {
            return line.startsWith(wire("SMSG", "Latest news (")) &&
                   line.endsWith(u", writer): h%1 - body"_s.arg(inCopy));
        }));
        QVERIFY(restored.stop());
    }

    // clang-format off
    void backupRefusals_data() {
        addColumns<QStringList, int, QByteArray>("arguments", "exitCode", "message");
        QTest::newRow("no file") << QStringList{u"backup"_s} << 2 << QByteArray("usage: backup FILE");
        QTest::newRow("PostgreSQL") << QStringList{u"--database-driver"_s, u"QPSQL"_s, u"backup"_s, u"x"_s} << 2 << QByteArray("pg_dump");
        QTest::newRow("onto the database") << QStringList{u"backup"_s, u"DATA/quorvel.sqlite"_s} << 2 << QByteArray("is the database itself");
        QTest::newRow("no database yet") << QStringList{u"backup"_s, u"x"_s} << 1 << QByteArray("there is no database");
    }
    // clang-format on

    void backupRefusals() {
        auto [arguments, exitCode, message] =
            fetchRow<QStringList, int, QByteArray>("arguments", "exitCode", "message");
        QTemporaryDir data;
        const QString database = data.filePath(u"quorvel.sqlite"_s);
        // A database in place, for the row that names it as the copy.
        if (arguments.last().startsWith(u"DATA/"_s))
            QVERIFY(writeBytes(database, "members"));
        arguments.replaceInStrings(u"DATA/"_s, data.path() + u'/');
        const QByteArray before = readBytes(database);
        QByteArray output;
        QCOMPARE(runServer(QStringList{u"--data"_s, data.path()} + arguments, &output), exitCode);
        QVERIFY2(output.contains(message), output.constData());
        QCOMPARE(readBytes(database), before); // nothing made or changed
    }
};

QTEST_GUILESS_MAIN(TestServerService)
#include "tst_serverservice.moc"
