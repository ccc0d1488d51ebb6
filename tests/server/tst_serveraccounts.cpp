// Account creation and its refusals, how passwords are kept, and that accounts outlive the
// server: an in-process restart, and a real server process killed with SIGKILL.
#include "TestServer.h"

#include "server/PasswordHash.h"

#include <QPasswordDigestor>
#include <QProcess>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTest>

using ServerWire::S;

namespace {
QString newAccount(const QString& name, const QString& password) {
    return QStringList{QStringLiteral("NEWACCOUNT"),
                       name,
                       password,
                       QStringLiteral("27"),
                       QStringLiteral("a@example.org"),
                       QStringLiteral("http://example.org"),
                       QStringLiteral("darts")}
        .join(S);
}
} // namespace

class TestServerAccounts : public QObject {
    Q_OBJECT
private slots:
    void accountRequest_data();
    void accountRequest();
    void thirdAccountFromOneAddressIsRefused();
    void newAccountSignsOnFromANewConnection();
    void passwordIsKeptOnlyAsASaltedHash();
    void derivationIsStandardPbkdf2_data();
    void derivationIsStandardPbkdf2();
    void accountsSurviveARestart();
    void acknowledgedAccountSurvivesSigkill();
    void adminCommandsGrantOperators();
};

void TestServerAccounts::accountRequest_data() {
    QTest::addColumn<QString>("request");
    QTest::addColumn<QByteArray>("reply");
    QTest::newRow("good") << newAccount(QStringLiteral("dave"), QStringLiteral("1234"))
                          << QByteArray("DONER\r\n");
    QTest::newRow("20 characters") << newAccount(QStringLiteral("d").repeated(20), QStringLiteral("1"))
                                   << QByteArray("DONER\r\n");
    QTest::newRow("Windows-1252 letter")
        << newAccount(QStringLiteral("Jos\u00E9"), QStringLiteral("1")) << QByteArray("DONER\r\n");
    QTest::newRow("only the name and password")
        << (QStringLiteral("NEWACCOUNT") + S + QStringLiteral("eve") + S + QStringLiteral("5"))
        << QByteArray("DONER\r\n");
    QTest::newRow("empty name") << newAccount(QString(), QStringLiteral("1")) << QByteArray("INUSE\r\n");
    // The name rules themselves are tested on their own; one broken name shows they are applied.
    QTest::newRow("blank inside") << newAccount(QStringLiteral("da ve"), QStringLiteral("1"))
                                  << QByteArray("INUSE\r\n");
    QTest::newRow("taken") << newAccount(QStringLiteral("alice"), QStringLiteral("1"))
                           << QByteArray("INUSE\r\n");
    QTest::newRow("taken in other case")
        << newAccount(QStringLiteral("ALICE"), QStringLiteral("1")) << QByteArray("INUSE\r\n");
    QTest::newRow("the server's name")
        << newAccount(QStringLiteral("quorvel"), QStringLiteral("1")) << QByteArray("INUSE\r\n");
    QTest::newRow("soft hyphen") << newAccount(QStringLiteral("Quorvel\u00AD"), QStringLiteral("1"))
                                 << QByteArray("INUSE\r\n");
    QTest::newRow("no-break space") << newAccount(QStringLiteral("da\u00A0ve"), QStringLiteral("1"))
                                    << QByteArray("INUSE\r\n");
    QTest::newRow("C1 control") << newAccount(QStringLiteral("da\u0081ve"), QStringLiteral("1"))
                                << QByteArray("INUSE\r\n");
    QTest::newRow("session mark, kept for display names")
        << newAccount(QStringLiteral("alice@home"), QStringLiteral("1")) << QByteArray("INUSE\r\n");
    QTest::newRow("taken in compatibility form") // the feminine ordinal folds to "a"
        << newAccount(QStringLiteral("\u00AAlice"), QStringLiteral("1")) << QByteArray("INUSE\r\n");
    QTest::newRow("empty password") << newAccount(QStringLiteral("dave"), QString())
                                    << QByteArray("INUSE\r\n");
    // Passwords the sign-on dialog refuses: such an account could never be used.
    QTest::newRow("word password") << newAccount(QStringLiteral("dave"), QStringLiteral("secret"))
                                   << QByteArray("INUSE\r\n");
    QTest::newRow("zero password") << newAccount(QStringLiteral("dave"), QStringLiteral("0"))
                                   << QByteArray("INUSE\r\n");
}

void TestServerAccounts::accountRequest() {
    QFETCH(QString, request);
    QFETCH(QByteArray, reply);
    TestServer server;
    server.addAccount(QStringLiteral("alice"), QStringLiteral("11"));
    ServerTestClient client;
    QVERIFY(client.connectTo(server.port()));
    client.sendSegment(request);
    QTRY_COMPARE_WITH_TIMEOUT(client.rawChat(), reply, 5000);
    // The connection stays open and unsigned; the client signs on later on a new connection.
    QVERIFY(client.isConnected());
    QCOMPARE(server.server().room().onlineNames(), QStringList());
}

void TestServerAccounts::thirdAccountFromOneAddressIsRefused() {
    TestServer server;
    ServerTestClient client;
    QVERIFY(client.connectTo(server.port()));
    client.sendSegment(newAccount(QStringLiteral("one"), QStringLiteral("1")));
    QTRY_COMPARE_WITH_TIMEOUT(client.chatLines(), QStringList{QStringLiteral("DONER")}, 5000);
    client.sendSegment(newAccount(QStringLiteral("two"), QStringLiteral("2")));
    QTRY_COMPARE_WITH_TIMEOUT(client.chatLines().size(), 2, 5000);
    client.sendSegment(newAccount(QStringLiteral("three"), QStringLiteral("3")));
    QTRY_COMPARE_WITH_TIMEOUT(client.chatLines().size(), 3, 5000);
    QCOMPARE(client.chatLines(),
             (QStringList{QStringLiteral("DONER"), QStringLiteral("DONER"), QStringLiteral("INUSE")}));
    QVERIFY(!server.store().accountExists(QStringLiteral("three")));
}

void TestServerAccounts::newAccountSignsOnFromANewConnection() {
    TestServer server;
    ServerTestClient creator;
    QVERIFY(creator.connectTo(server.port()));
    creator.sendSegment(newAccount(QStringLiteral("dave"), QStringLiteral("1234")));
    QVERIFY(creator.waitForLine(QStringLiteral("DONER")));
    QVERIFY(server.signOn(QStringLiteral("dave"), QStringLiteral("1234")));
}

void TestServerAccounts::passwordIsKeptOnlyAsASaltedHash() {
    TestServer server;
    server.addAccount(QStringLiteral("alice"), QStringLiteral("987654"));
    server.addAccount(QStringLiteral("bob"), QStringLiteral("987654"));
    QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("inspect"));
    db.setDatabaseName(server.databasePath());
    QVERIFY(db.open());
    {
        QSqlQuery query(db);
        QVERIFY(query.exec(QStringLiteral("SELECT salt, hash FROM accounts ORDER BY name_key")));
        QStringList salts, hashes;
        while (query.next()) {
            salts << query.value(0).toString();
            hashes << query.value(1).toString();
        }
        QCOMPARE(hashes.size(), 2);
        // Same password, different salts, so different hashes; the password itself is nowhere.
        QVERIFY(salts.at(0) != salts.at(1));
        QVERIFY(hashes.at(0) != hashes.at(1));
        QVERIFY(!hashes.join(QString()).contains(QLatin1String("987654")));
        QVERIFY(query.exec(QStringLiteral("SELECT version FROM schema_version")) && query.next());
        QCOMPARE(query.value(0).toInt(), 1);
    }
    db.close();
    db = QSqlDatabase();
    QSqlDatabase::removeDatabase(QStringLiteral("inspect"));
    QCOMPARE(server.store().verify(QStringLiteral("Alice"), QStringLiteral("987654")),
             std::optional<QString>(QStringLiteral("alice")));
    QCOMPARE(server.store().verify(QStringLiteral("alice"), QStringLiteral("98765")), std::nullopt);
}

void TestServerAccounts::derivationIsStandardPbkdf2_data() {
    QTest::addColumn<QString>("password");
    QTest::addColumn<QByteArray>("salt");
    QTest::addColumn<int>("iterations");
    QTest::addColumn<QByteArray>("expected");
    // RFC 7914, section 11: PBKDF2-HMAC-SHA256, the first 32 bytes.
    QTest::newRow("published vector") << QStringLiteral("passwd") << QByteArray("salt") << 1
                                      << QByteArray::fromHex("55ac046e56e3089fec1691c22544b605"
                                                             "f94185216dde0465e68b9d57c20dacbc");
    // Hashes stored by earlier versions, which derived with QPasswordDigestor, still match.
    const QByteArray salt = QByteArray::fromHex("00112233445566778899aabbccddeeff");
    for (const QString& password : {QStringLiteral("987654"), QStringLiteral("Jos\u00E9 \u00FC\u20AC")}) {
        QTest::newRow(qPrintable(QStringLiteral("as before: ") + password))
            << password << salt << 1000
            << QPasswordDigestor::deriveKeyPbkdf2(QCryptographicHash::Sha256, password.toUtf8(), salt, 1000,
                                                  32);
    }
}

void TestServerAccounts::derivationIsStandardPbkdf2() {
    QFETCH(QString, password);
    QFETCH(QByteArray, salt);
    QFETCH(int, iterations);
    QFETCH(QByteArray, expected);
    QCOMPARE(PasswordHash::derive(password, salt, iterations).toHex(), expected.toHex());
}

void TestServerAccounts::accountsSurviveARestart() {
    TestServer server;
    server.addAccount(QStringLiteral("alice"), QStringLiteral("11"), true);
    {
        ServerTestClient creator;
        QVERIFY(creator.connectTo(server.port()));
        creator.sendSegment(newAccount(QStringLiteral("dave"), QStringLiteral("44")));
        QVERIFY(creator.waitForLine(QStringLiteral("DONER")));
        auto alice = server.signOn(QStringLiteral("alice"), QStringLiteral("11"));
        QVERIFY(alice);
        alice->sendSegment(QStringLiteral("NEWS") + S + QStringLiteral("Cup final") + S +
                           QStringLiteral("Sunday 8pm"));
        QVERIFY(alice->waitForLine(QStringLiteral("SMSG") + S +
                                   QStringLiteral("News from alice: Cup final - Sunday 8pm")));
    }
    server.restart();
    QVERIFY(server.store().isOperator(QStringLiteral("alice")));
    auto dave = server.signOn(QStringLiteral("dave"), QStringLiteral("44"));
    QVERIFY(dave);
    QVERIFY(dave->waitForLine(QStringLiteral("SMSG") + S +
                              QStringLiteral("Latest news (2026-03-01, alice): Cup final - Sunday 8pm")));
}

void TestServerAccounts::acknowledgedAccountSurvivesSigkill() {
    QTemporaryDir data;
    const QStringList arguments{QStringLiteral("--data"),
                                data.path(),
                                QStringLiteral("--listen"),
                                QStringLiteral("127.0.0.1"),
                                QStringLiteral("--chat-port"),
                                QStringLiteral("0"),
                                QStringLiteral("--http-port"),
                                QStringLiteral("0"),
                                QStringLiteral("--hash-iterations"),
                                QStringLiteral("1000")};
    const auto startServer = [&](QProcess& process) -> quint16 {
        process.start(QStringLiteral(QUORVEL_SERVER_PATH), arguments);
        static const QRegularExpression portLine(QStringLiteral("chat port (\\d+)"));
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
        creator.sendSegment(newAccount(QStringLiteral("dave"), QStringLiteral("44")));
        QVERIFY(creator.waitForLine(QStringLiteral("DONER")));
    }
    first.kill(); // SIGKILL: no chance to flush anything after the acknowledgement
    QTRY_COMPARE_WITH_TIMEOUT(first.state(), QProcess::NotRunning, 10000);

    QProcess second;
    const quint16 secondPort = startServer(second);
    QVERIFY(secondPort != 0);
    ServerTestClient dave;
    QVERIFY(dave.connectTo(secondPort));
    dave.sendSegment(QStringLiteral("LOGIN") + S + QStringLiteral("dave") + S + QStringLiteral("44"));
    QVERIFY(dave.waitForLine(QStringLiteral("LIST") + S + QStringLiteral("dave")));
    second.terminate(); // SIGTERM: the server stops cleanly
    QTRY_COMPARE_WITH_TIMEOUT(second.state(), QProcess::NotRunning, 10000);
    QCOMPARE(second.exitStatus(), QProcess::NormalExit);
    QCOMPARE(second.exitCode(), 0);
}

void TestServerAccounts::adminCommandsGrantOperators() {
    QTemporaryDir data;
    const auto run = [&](const QStringList& command, QByteArray* out) {
        QProcess process;
        QSignalSpy finished(&process, &QProcess::finished);
        process.start(QStringLiteral(QUORVEL_SERVER_PATH),
                      QStringList{QStringLiteral("--data"), data.path()} + command);
        if (!finished.wait(10000))
            return -1;
        *out = process.readAllStandardOutput();
        return process.exitCode();
    };
    {
        AccountStore::Config config;
        config.databaseName = data.filePath(QStringLiteral("quorvel.sqlite"));
        config.hashIterations = 1000;
        AccountStore store(config);
        QVERIFY(store.open(nullptr));
        AccountStore::NewAccount account;
        account.name = QStringLiteral("alice");
        account.password = QStringLiteral("1");
        QCOMPARE(store.createAccount(account, 0, QDateTime::currentDateTimeUtc()),
                 AccountStore::CreateResult::Created);
    }
    QByteArray out;
    QCOMPARE(run({QStringLiteral("op"), QStringLiteral("add"), QStringLiteral("alice")}, &out), 0);
    QCOMPARE(run({QStringLiteral("op"), QStringLiteral("list")}, &out), 0);
    QCOMPARE(out, QByteArray("alice\n"));
    QCOMPARE(run({QStringLiteral("op"), QStringLiteral("add"), QStringLiteral("nobody")}, &out), 1);
    QCOMPARE(run({QStringLiteral("op"), QStringLiteral("remove"), QStringLiteral("alice")}, &out), 0);
    QCOMPARE(run({QStringLiteral("op"), QStringLiteral("list")}, &out), 0);
    QCOMPARE(out, QByteArray());
    QCOMPARE(run({QStringLiteral("op"), QStringLiteral("frobnicate")}, &out), 2);
}

QTEST_GUILESS_MAIN(TestServerAccounts)
#include "tst_serveraccounts.moc"
