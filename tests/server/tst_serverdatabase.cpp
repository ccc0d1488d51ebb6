// The database behind the room, on SQLite and on PostgreSQL alike: accounts, bans, news and
// last-seen times outlive a restart, and a change that meets another connection's lock neither
// stalls the room nor gets lost. PostgreSQL rows skip, saying why, without a cluster to use.
#include "TestServer.h"

#include <QSqlQuery>
#include <QTest>

using ServerWire::msg;
using ServerWire::S;

namespace {

QString newAccount(const QString& name, const QString& password) {
    return QStringLiteral("NEWACCOUNT") + S + name + S + password;
}

QString ops(const QString& word, const QString& target = QString()) {
    return QStringLiteral("OPS") + S + word + (target.isEmpty() ? QString() : S + target);
}

} // namespace

class TestServerDatabase : public QObject {
    Q_OBJECT
private slots:
    void accountsBansAndNewsOutliveARestart_data() { backendRows(); }
    void accountsBansAndNewsOutliveARestart();
    void changesMeetingALockWaitWhileTheRoomGoesOn_data() { backendRows(); }
    void changesMeetingALockWaitWhileTheRoomGoesOn();

private:
    static void backendRows() {
        QTest::addColumn<int>("backend");
        QTest::newRow("SQLite") << int(TestServer::Backend::Sqlite);
        QTest::newRow("PostgreSQL") << int(TestServer::Backend::PostgreSql);
    }
};

#define FETCH_BACKEND()                                                                                      \
    QFETCH(int, backend);                                                                                    \
    if (const QString why = TestServer::unavailable(TestServer::Backend(backend)); !why.isEmpty())           \
        QSKIP(qPrintable(why));

void TestServerDatabase::accountsBansAndNewsOutliveARestart() {
    FETCH_BACKEND();
    TestServer server(TestServer::testLimits(), TestServer::Backend(backend));
    server.addAccount(QStringLiteral("alice"), QStringLiteral("11"), true);
    server.addAccount(QStringLiteral("bob"), QStringLiteral("22"));
    {
        ServerTestClient creator;
        QVERIFY(creator.connectTo(server.port()));
        creator.sendSegment(newAccount(QStringLiteral("dave"), QStringLiteral("44")));
        QVERIFY(creator.waitForLine(QStringLiteral("DONER")));
        creator.sendSegment(newAccount(QStringLiteral("DAVE"), QStringLiteral("45")));
        QVERIFY(creator.waitForLine(QStringLiteral("INUSE")));

        auto alice = server.signOn(QStringLiteral("alice"), QStringLiteral("11"));
        auto bob = server.signOn(QStringLiteral("bob"), QStringLiteral("22"));
        QVERIFY(alice && bob);
        alice->sendSegment(QStringLiteral("NEWS") + S + QStringLiteral("Cup final") + S +
                           QStringLiteral("Sunday"));
        QVERIFY(bob->waitForLine(QStringLiteral("SMSG") + S +
                                 QStringLiteral("News from alice: Cup final - Sunday")));
        server.advance(90);
        bob->socket().disconnectFromHost();
        QVERIFY(alice->waitForLine(QStringLiteral("PART") + S + QStringLiteral("bob")));
        // bob is away, so the ban is on his name only, not on the address everyone here shares.
        alice->sendSegment(ops(QStringLiteral("BAN"), QStringLiteral("bob")));
        QVERIFY(alice->waitForLine(msg(QStringLiteral("<Quorvel> bob was banned for 60 minutes."))));
    }
    const QDateTime bobLeft = server.now();
    server.restart();

    QVERIFY(server.store().isOperator(QStringLiteral("alice")));
    QTRY_COMPARE_WITH_TIMEOUT(server.store().lastSeen(QStringLiteral("bob")), bobLeft, 5000);
    auto dave = server.signOn(QStringLiteral("dave"), QStringLiteral("44"));
    QVERIFY(dave);
    QVERIFY(dave->waitForLine(QStringLiteral("SMSG") + S +
                              QStringLiteral("Latest news (2026-03-01, alice): Cup final - Sunday")));
    ServerTestClient bob;
    QVERIFY(bob.connectTo(server.port()));
    bob.sendSegment(QStringLiteral("LOGIN") + S + QStringLiteral("bob") + S + QStringLiteral("22"));
    QVERIFY(bob.waitForDisconnect());
    QCOMPARE(bob.rawReceived(), QByteArray("INVALID\r\n"));

    auto alice = server.signOn(QStringLiteral("alice"), QStringLiteral("11"));
    QVERIFY(alice);
    alice->sendSegment(ops(QStringLiteral("CRB")));
    QVERIFY(alice->waitForLine(msg(QStringLiteral("<Quorvel> Cleared 1 timed bans."))));
    QVERIFY(server.signOn(QStringLiteral("bob"), QStringLiteral("22")));
}

void TestServerDatabase::changesMeetingALockWaitWhileTheRoomGoesOn() {
    FETCH_BACKEND();
    TestServer server(TestServer::testLimits(), TestServer::Backend(backend));
    const QStringList names{QStringLiteral("alice"), QStringLiteral("bob"), QStringLiteral("carol"),
                            QStringLiteral("dave"), QStringLiteral("erin")};
    std::vector<std::unique_ptr<ServerTestClient>> members;
    for (const QString& name : names) {
        server.addAccount(name, QStringLiteral("1"));
        members.push_back(server.signOn(name, QStringLiteral("1")));
        QVERIFY(members.back());
    }
    ServerTestClient& alice = *members[0];
    ServerTestClient& bob = *members[1];

    // Another program holds a write lock; readers still get through.
    QSqlDatabase locker = server.openSideConnection(QStringLiteral("locker"));
    QVERIFY(locker.isOpen());
    {
        QSqlQuery lock(locker);
        if (TestServer::Backend(backend) == TestServer::Backend::Sqlite) {
            QVERIFY(lock.exec(QStringLiteral("BEGIN IMMEDIATE")));
        } else {
            QVERIFY(lock.exec(QStringLiteral("BEGIN")));
            QVERIFY(lock.exec(QStringLiteral("LOCK TABLE accounts, news IN EXCLUSIVE MODE")));
        }
    }
    server.advance(60);
    const QDateTime departure = server.now();
    for (int i = 2; i < 5; ++i)
        members[i]->socket().disconnectFromHost();
    QVERIFY(alice.waitForLine(QStringLiteral("PART") + S + QStringLiteral("erin")));

    // The room keeps answering while the three last-seen times wait for the lock.
    alice.sendSegment(msg(QStringLiteral("still here?")));
    QVERIFY(bob.waitForLine(QStringLiteral("MSG") + S + QStringLiteral("<alice> still here?")));
    bob.sendSegment(msg(QStringLiteral("!Seen carol")));
    QVERIFY(
        bob.waitForLine(msg(QStringLiteral("<Quorvel> carol was last seen on 2026-03-01 12:01:00 UTC."))));

    // A request that is answered gets a notice saying what happened, not a false "name in use".
    ServerTestClient creator;
    QVERIFY(creator.connectTo(server.port()));
    creator.sendSegment(newAccount(QStringLiteral("frank"), QStringLiteral("6")));
    const QString trouble =
        QStringLiteral("SMSG") + S +
        QStringLiteral("The server's database is not answering, so your account was not created. "
                       "Please try again in a minute.");
    QVERIFY(creator.waitForLine(trouble, 15000));
    QCOMPARE(creator.lines(), QStringList{trouble});
    alice.sendSegment(QStringLiteral("NEWS") + S + QStringLiteral("Locked") + S + QStringLiteral("out"));
    QVERIFY(
        alice.waitForLine(QStringLiteral("SMSG") + S +
                              QStringLiteral("The server's database is not answering, so your news was not "
                                             "posted. Please try again in a minute."),
                          15000));
    QCOMPARE(server.store().lastSeen(QStringLiteral("carol")), std::nullopt);

    {
        QSqlQuery unlock(locker);
        QVERIFY(unlock.exec(QStringLiteral("ROLLBACK")));
    }
    locker.close();
    locker = QSqlDatabase();
    QSqlDatabase::removeDatabase(QStringLiteral("locker"));

    for (const QString& name : names.mid(2))
        QTRY_COMPARE_WITH_TIMEOUT(server.store().lastSeen(name), departure, 10000);
    creator.clear();
    creator.sendSegment(newAccount(QStringLiteral("frank"), QStringLiteral("6")));
    QVERIFY(creator.waitForLine(QStringLiteral("DONER")));
}

QTEST_GUILESS_MAIN(TestServerDatabase)
#include "tst_serverdatabase.moc"
