// Sign-on, refusal, the NICK exchange for an account already signed on, and departures.
#include "TestServer.h"

#include "server/AccountStore.h"

#include <QTest>

using ServerWire::S;

class TestServerSignOn : public QObject {
    Q_OBJECT
private slots:
    void newcomerGetsEveryNameAndOthersGetJoin();
    void refusedSignOn_data();
    void refusedSignOn();
    void accountAlreadyOnlineMustChooseAnotherName_data();
    void accountAlreadyOnlineMustChooseAnotherName();
    void departureIsAPartToTheOthers();
    void nothingButSignOnIsHeardBeforeSignOn();
};

void TestServerSignOn::newcomerGetsEveryNameAndOthersGetJoin() {
    TestServer server;
    server.addAccount(QStringLiteral("alice"), QStringLiteral("11"));
    server.addAccount(QStringLiteral("bob"), QStringLiteral("22"));
    auto alice = server.signOn(QStringLiteral("alice"), QStringLiteral("11"));
    QVERIFY(alice);
    QCOMPARE(alice->rawReceived(), QByteArray("LIST|\xBF|alice\r\n"));

    auto bob = server.signOn(QStringLiteral("bob"), QStringLiteral("22"));
    QVERIFY(bob);
    QCOMPARE(bob->rawReceived(), QByteArray("LIST|\xBF|alice\r\nLIST|\xBF|bob\r\n"));
    QVERIFY(alice->waitForLine(QStringLiteral("JOIN") + S + QStringLiteral("bob")));
    QCOMPARE(alice->rawReceived(), QByteArray("LIST|\xBF|alice\r\nJOIN|\xBF|bob\r\n"));
    QCOMPARE(server.server().room().onlineNames(),
             (QStringList{QStringLiteral("alice"), QStringLiteral("bob")}));
}

void TestServerSignOn::refusedSignOn_data() {
    QTest::addColumn<QString>("login");
    QTest::addColumn<QString>("banKind");
    QTest::newRow("unknown account") << QStringLiteral("LOGIN|\u00BF|nobody|\u00BF|22") << QString();
    QTest::newRow("wrong password") << QStringLiteral("LOGIN|\u00BF|bob|\u00BF|23") << QString();
    QTest::newRow("password missing") << QStringLiteral("LOGIN|\u00BF|bob") << QString();
    QTest::newRow("name with a blank") << QStringLiteral("LOGIN|\u00BF|b ob|\u00BF|22") << QString();
    QTest::newRow("name under a timed ban")
        << QStringLiteral("LOGIN|\u00BF|bob|\u00BF|22") << QStringLiteral("timed");
    QTest::newRow("name under a permanent ban")
        << QStringLiteral("LOGIN|\u00BF|bob|\u00BF|22") << QStringLiteral("permanent");
    QTest::newRow("address under a timed ban")
        << QStringLiteral("LOGIN|\u00BF|bob|\u00BF|22") << QStringLiteral("address");
    QTest::newRow("subnet banned") << QStringLiteral("LOGIN|\u00BF|bob|\u00BF|22")
                                   << QStringLiteral("subnet");
}

void TestServerSignOn::refusedSignOn() {
    QFETCH(QString, login);
    QFETCH(QString, banKind);
    TestServer server;
    server.addAccount(QStringLiteral("alice"), QStringLiteral("11"));
    server.addAccount(QStringLiteral("bob"), QStringLiteral("22"));
    // Address bans also cover alice, who comes from the same 127.0.0.1: she signs on first.
    auto alice = server.signOn(QStringLiteral("alice"), QStringLiteral("11"));
    QVERIFY(alice);
    const QDateTime later = server.now().addSecs(3600);
    if (banKind == QLatin1String("timed"))
        server.store().addBan(BanKind::Timed, QStringLiteral("bob"), QStringLiteral("192.0.2.7"), later);
    else if (banKind == QLatin1String("permanent"))
        server.store().addBan(BanKind::Permanent, QStringLiteral("BOB"), QString(), std::nullopt);
    else if (banKind == QLatin1String("address"))
        server.store().addBan(BanKind::Timed, QStringLiteral("someone"), QStringLiteral("127.0.0.1"), later);
    else if (banKind == QLatin1String("subnet"))
        server.store().addBan(BanKind::Subnet, QStringLiteral("someone"), QStringLiteral("127.0.0"),
                              std::nullopt);

    ServerTestClient bob;
    QVERIFY(bob.connectTo(server.port()));
    bob.sendSegment(login);
    QVERIFY(bob.waitForDisconnect());
    QCOMPARE(bob.rawReceived(), QByteArray("INVALID\r\n"));
    QCOMPARE(server.server().room().onlineNames(), QStringList{QStringLiteral("alice")});
    QVERIFY(!alice->chatLines().join(u'\n').contains(QLatin1String("bob")));
}

void TestServerSignOn::accountAlreadyOnlineMustChooseAnotherName_data() {
    QTest::addColumn<QString>("answer");
    QTest::addColumn<bool>("accepted");
    QTest::newRow("the name already online") << QStringLiteral("alice") << false;
    QTest::newRow("the same name in other case") << QStringLiteral("ALICE") << false;
    QTest::newRow("another member's account name") << QStringLiteral("carol") << false;
    QTest::newRow("the server's own name") << QStringLiteral("Quorvel") << false;
    QTest::newRow("a blank inside") << QStringLiteral("al ice") << false;
    QTest::newRow("angle bracket") << QStringLiteral("<alice>") << false;
    QTest::newRow("empty") << QString() << false;
    QTest::newRow("21 characters") << QStringLiteral("a").repeated(21) << false;
    QTest::newRow("a free name") << QStringLiteral("alice_2") << true;
}

void TestServerSignOn::accountAlreadyOnlineMustChooseAnotherName() {
    QFETCH(QString, answer);
    QFETCH(bool, accepted);
    TestServer server;
    server.addAccount(QStringLiteral("alice"), QStringLiteral("11"));
    server.addAccount(QStringLiteral("carol"), QStringLiteral("33"));
    auto first = server.signOn(QStringLiteral("alice"), QStringLiteral("11"));
    QVERIFY(first);

    ServerTestClient second;
    QVERIFY(second.connectTo(server.port()));
    second.sendSegment(QStringLiteral("LOGIN") + S + QStringLiteral("alice") + S + QStringLiteral("11"));
    QVERIFY(second.waitForLine(QStringLiteral("NICK")));
    second.clear();
    second.sendSegment(QStringLiteral("NICK") + S + answer);
    if (accepted) {
        QVERIFY(second.waitForLine(QStringLiteral("LIST") + S + answer));
        QCOMPARE(second.lines(), (QStringList{QStringLiteral("LIST") + S + QStringLiteral("alice"),
                                              QStringLiteral("LIST") + S + answer}));
        QVERIFY(first->waitForLine(QStringLiteral("JOIN") + S + answer));
    } else {
        QVERIFY(second.waitForLine(QStringLiteral("NICK")));
        QCOMPARE(second.rawReceived(), QByteArray("NICK\r\n"));
        QVERIFY(second.isConnected());
        QCOMPARE(server.server().room().onlineNames(), QStringList{QStringLiteral("alice")});
    }
}

void TestServerSignOn::departureIsAPartToTheOthers() {
    TestServer server;
    server.addAccount(QStringLiteral("alice"), QStringLiteral("11"));
    server.addAccount(QStringLiteral("bob"), QStringLiteral("22"));
    auto alice = server.signOn(QStringLiteral("alice"), QStringLiteral("11"));
    auto bob = server.signOn(QStringLiteral("bob"), QStringLiteral("22"));
    QVERIFY(alice && bob);
    bob->socket().disconnectFromHost();
    QVERIFY(alice->waitForLine(QStringLiteral("PART") + S + QStringLiteral("bob")));
    QCOMPARE(server.server().room().onlineNames(), QStringList{QStringLiteral("alice")});
    QTRY_COMPARE_WITH_TIMEOUT(server.store().lastSeen(QStringLiteral("bob")), server.now(), 5000);
}

void TestServerSignOn::nothingButSignOnIsHeardBeforeSignOn() {
    TestServer server;
    server.addAccount(QStringLiteral("alice"), QStringLiteral("11"));
    auto alice = server.signOn(QStringLiteral("alice"), QStringLiteral("11"));
    QVERIFY(alice);
    ServerTestClient stranger;
    QVERIFY(stranger.connectTo(server.port()));
    // CR LF ended, so that they stay separate messages however TCP groups them.
    stranger.sendSegment(QStringLiteral("MSG") + S + QStringLiteral("hello\r\n"));
    stranger.sendSegment(QStringLiteral("OPS") + S + QStringLiteral("CPB\r\n"));
    // A sign-on after the ignored lines shows that they were read and passed over.
    server.addAccount(QStringLiteral("bob"), QStringLiteral("22"));
    stranger.sendSegment(QStringLiteral("LOGIN") + S + QStringLiteral("bob") + S + QStringLiteral("22"));
    QVERIFY(alice->waitForLine(QStringLiteral("JOIN") + S + QStringLiteral("bob")));
    QCOMPARE(alice->chatLines(), (QStringList{QStringLiteral("LIST") + S + QStringLiteral("alice"),
                                              QStringLiteral("JOIN") + S + QStringLiteral("bob")}));
}

QTEST_GUILESS_MAIN(TestServerSignOn)
#include "tst_serversignon.moc"
