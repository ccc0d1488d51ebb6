// Account creation and its refusals, how passwords are kept, that an acknowledged account outlives
// a server process killed with SIGKILL, and the operator commands of the executable. Restarts in
// process, on both databases, are in tst_serverdatabase.
#include "DataRows.h"
#include "TestServer.h"

#include "server/PasswordHash.h"

#include <QPasswordDigestor>
#include <QtTest>
#include <QSqlDatabase>
#include <QSqlQuery>

using namespace Qt::StringLiterals;
using ServerWire::wire;

namespace {
QString newAccount(const QString& name, const QString& password) {
    return wire("NEWACCOUNT", name, password, "27", "a@example.org", "http://example.org", "darts");
}
} // namespace

class TestServerAccounts : public QObject {
    Q_OBJECT
private slots:
    // clang-format off
    void accountRequest_data() {
        addColumns<QString, QByteArray>("request", "reply");
        QTest::newRow("good") << newAccount(u"dave"_s, u"1234"_s) << QByteArray("DONER\r\n");
        QTest::newRow("Windows-1252 letter") << newAccount(u"Jos\u00E9"_s, u"1"_s) << QByteArray("DONER\r\n");
        QTest::newRow("only the name and password") << wire("NEWACCOUNT", "eve", "5") << QByteArray("DONER\r\n");
        // The name rules themselves are tested on their own; one broken name shows they are applied.
        QTest::newRow("blank inside") << newAccount(u"da ve"_s, u"1"_s) << QByteArray("INUSE\r\n");
        QTest::newRow("taken") << newAccount(u"alice"_s, u"1"_s) << QByteArray("INUSE\r\n");
        QTest::newRow("the server's name") << newAccount(u"quorvel"_s, u"1"_s) << QByteArray("INUSE\r\n");
        QTest::newRow("session mark, kept for display names") << newAccount(u"alice@home"_s, u"1"_s) << QByteArray("INUSE\r\n");
        // The feminine ordinal folds to "a".
        QTest::newRow("taken in compatibility form") << newAccount(u"\u00AAlice"_s, u"1"_s) << QByteArray("INUSE\r\n");
        // Look-alikes of alice are refused, saying why.
        for (const QString& name : {u"aIice"_s, u"a1ice"_s, u"al\u00EDce"_s})
            QTest::newRow(qPrintable(u"looks like alice: "_s + name)) << newAccount(name, u"1"_s) << (wire("SMSG", u"The name "_s + name + u" was not taken: it looks too much like alice, the name of a member. Please choose another."_s).toLatin1() + "\r\nINUSE\r\n");
        QTest::newRow("empty password") << newAccount(u"dave"_s, QString()) << QByteArray("INUSE\r\n");
        // Passwords the sign-on dialog refuses: such an account could never be used.
        QTest::newRow("word password") << newAccount(u"dave"_s, u"secret"_s) << QByteArray("INUSE\r\n");
        QTest::newRow("zero password") << newAccount(u"dave"_s, u"0"_s) << QByteArray("INUSE\r\n");
    }
    // clang-format on

    void accountRequest() {
        auto [request, reply] = fetchRow<QString, QByteArray>("request", "reply");
        TestServer server;
        server.addAccount(u"alice"_s, u"11"_s);
        ServerTestClient client;
        QVERIFY(client.connectTo(server.port()));
        client.sendSegment(request);
        QTRY_COMPARE_WITH_TIMEOUT(client.rawChat(), reply, 5000);
        // The connection stays open and unsigned; the client signs on later on a new connection.
        QVERIFY(client.isConnected());
        QCOMPARE(server.server().room().onlineNames(), QStringList());
    }

    void thirdAccountFromOneAddressIsRefused() {
        TestServer server;
        ServerTestClient client;
        QVERIFY(client.connectTo(server.port()));
        client.sendSegment(newAccount(u"one"_s, u"1"_s));
        QTRY_COMPARE_WITH_TIMEOUT(client.chatLines(), QStringList{u"DONER"_s}, 5000);
        client.sendSegment(newAccount(u"two"_s, u"2"_s));
        QTRY_COMPARE_WITH_TIMEOUT(client.chatLines().size(), 2, 5000);
        client.sendSegment(newAccount(u"three"_s, u"3"_s));
        QTRY_COMPARE_WITH_TIMEOUT(client.chatLines().size(), 3, 5000);
        QCOMPARE(client.chatLines(), (QStringList{u"DONER"_s, u"DONER"_s, u"INUSE"_s}));
        QVERIFY(!server.store().accountExists(u"three"_s));
    }

    void passwordIsKeptOnlyAsASaltedHash() {
        TestServer server;
        server.addAccount(u"alice"_s, u"987654"_s);
        server.addAccount(u"bob"_s, u"987654"_s);
        QSqlDatabase db = server.openSideConnection(u"inspect"_s);
        QVERIFY(db.isOpen());
        {
            QSqlQuery query(db);
            QVERIFY(query.exec(u"SELECT salt, hash FROM accounts ORDER BY name_key"_s));
            QStringList salts, hashes;
            while (query.next()) {
                salts << query.value(0).toString();
                hashes << query.value(1).toString();
            }
            QCOMPARE(hashes.size(), 2);
            // Same password, different salts, so different hashes; the password itself is nowhere.
            QVERIFY(salts.at(0) != salts.at(1) && hashes.at(0) != hashes.at(1));
            QVERIFY(!hashes.join(QString()).contains(u"987654"_s));
        }
        db.close();
        db = QSqlDatabase();
        QSqlDatabase::removeDatabase(u"inspect"_s);
        QCOMPARE(server.store().verify(u"Alice"_s, u"987654"_s), std::optional<QString>(u"alice"_s));
        QCOMPARE(server.store().verify(u"alice"_s, u"98765"_s), std::nullopt);
    }

    // clang-format off
    void derivationIsStandardPbkdf2_data() {
        addColumns<QString, QByteArray, int, QByteArray>("password", "salt", "iterations", "expected");
        // RFC 7914, section 11: PBKDF2-HMAC-SHA256, the first 32 bytes.
        QTest::newRow("published vector") << u"passwd"_s << QByteArray("salt") << 1 << QByteArray::fromHex("55ac046e56e3089fec1691c22544b605f94185216dde0465e68b9d57c20dacbc");
        // Hashes stored by earlier versions, which derived with QPasswordDigestor, still match.
        const QByteArray salt = QByteArray::fromHex("00112233445566778899aabbccddeeff");
        for (const QString& password : {u"987654"_s, u"Jos\u00E9 \u00FC\u20AC"_s}) {
            QTest::newRow(qPrintable(u"as before: "_s + password)) << password << salt << 1000 << QPasswordDigestor::deriveKeyPbkdf2(QCryptographicHash::Sha256, password.toUtf8(), salt, 1000, 32);
        }
    }
    // clang-format on

    void derivationIsStandardPbkdf2() {
        auto [password, salt, iterations, expected] =
            fetchRow<QString, QByteArray, int, QByteArray>("password", "salt", "iterations", "expected");
        QCOMPARE(PasswordHash::derive(password, salt, iterations).toHex(), expected.toHex());
    }

    void acknowledgedAccountSurvivesSigkill() {
        QTemporaryDir data;
        const QStringList arguments =
            QStringList{u"--data"_s, data.path()} +
            u"--listen 127.0.0.1 --chat-port 0 --http-port 0 --hash-iterations 1000"_s.split(u' ');
        const auto startServer = [&](QProcess& process) -> quint16 {
            process.start(QStringLiteral(QUORVEL_SERVER_PATH), arguments);
            static const QRegularExpression portLine(u"chat port (\\d+)"_s);
            QByteArray output;
            [[maybe_unused]] const bool started = QTest::qWaitFor(
                [&] {
                    output += process.readAllStandardOutput();
                    return portLine.match(QString::fromLatin1(output)).hasMatch();
                },
                10000);
            return static_cast<quint16>(portLine.match(QString::fromLatin1(output)).captured(1).toUInt());
        };

        QProcess first;
        const quint16 firstPort = startServer(first);
        QVERIFY(firstPort != 0);
        {
            ServerTestClient creator;
            QVERIFY(creator.connectTo(firstPort));
            creator.sendSegment(newAccount(u"dave"_s, u"44"_s));
            QVERIFY(creator.waitForLine(u"DONER"_s));
        }
        first.kill(); // SIGKILL: no chance to flush anything after the acknowledgement
        QTRY_COMPARE_WITH_TIMEOUT(first.state(), QProcess::NotRunning, 10000);

        QProcess second;
        const quint16 secondPort = startServer(second);
        QVERIFY(secondPort != 0);
        ServerTestClient dave;
        QVERIFY(dave.connectTo(secondPort));
        dave.sendSegment(wire("LOGIN", "dave", "44"));
        QVERIFY(dave.waitForLine(wire("LIST", "dave")));
        second.terminate(); // SIGTERM: the server stops cleanly
        QTRY_COMPARE_WITH_TIMEOUT(second.state(), QProcess::NotRunning, 10000);
        QCOMPARE(second.exitStatus(), QProcess::NormalExit);
        QCOMPARE(second.exitCode(), 0);
    }

    void adminCommandsGrantOperators() {
        TestServer server; // its database, with alice in it, is the one the commands change
        server.addAccount(u"alice"_s, u"1"_s);
        const auto run = [&](const QStringList& command, QByteArray* out) {
            QProcess process;
            QSignalSpy finished(&process, &QProcess::finished);
            process.start(QStringLiteral(QUORVEL_SERVER_PATH),
                          QStringList{u"--data"_s, server.folder()} + command);
            if (!finished.wait(10000))
                return -1;
            *out = process.readAllStandardOutput();
            return process.exitCode();
        };
        QByteArray out;
        QCOMPARE(run({"op", "add", "alice"}, &out), 0);
        QCOMPARE(run({"op", "list"}, &out), 0);
        QCOMPARE(out, QByteArray("alice\n"));
        QCOMPARE(run({"op", "add", "nobody"}, &out), 1);
        QCOMPARE(run({"op", "remove", "alice"}, &out), 0);
        QCOMPARE(run({"op", "list"}, &out), 0);
        QCOMPARE(out, QByteArray());
        QCOMPARE(run({"op", "frobnicate"}, &out), 2);
    }
};

QTEST_GUILESS_MAIN(TestServerAccounts)
#include "tst_serveraccounts.moc"
