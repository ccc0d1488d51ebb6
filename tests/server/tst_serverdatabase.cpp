// The database behind the room, on SQLite and on PostgreSQL alike: accounts, bans, news and
// last-seen times outlive a restart, and a change that meets another connection's lock neither
// stalls the room nor gets lost. PostgreSQL rows skip, saying why, without a cluster to use.
#include "DatabaseProxy.h"
#include "TestServer.h"

#include <QSqlQuery>
#include <QtTest>

using namespace Qt::StringLiterals;
using ServerWire::msg;
using ServerWire::wire;

#define FETCH_BACKEND()                                                                                      \
    QFETCH(int, backend);                                                                                    \
    if (const QString why = TestServer::unavailable(TestServer::Backend(backend)); !why.isEmpty())           \
        QSKIP(qPrintable(why));

class TestServerDatabase : public QObject {
    Q_OBJECT
private slots:
    void accountsBansAndNewsOutliveARestart_data() { backendRows(); }

    void accountsBansAndNewsOutliveARestart() {
        FETCH_BACKEND();
        TestServer server(TestServer::testLimits(), TestServer::Backend(backend));
        server.addAccount(u"alice"_s, u"11"_s, true);
        server.addAccount(u"bob"_s, u"22"_s);
        {
            ServerTestClient creator;
            QVERIFY(creator.connectTo(server.port()));
            creator.sendSegment(wire("NEWACCOUNT", "dave", "44"));
            QVERIFY(creator.waitForLine(u"DONER"_s));

            auto alice = server.signOn(u"alice"_s, u"11"_s);
            auto bob = server.signOn(u"bob"_s, u"22"_s);
            QVERIFY(alice && bob);
            alice->sendSegment(wire("NEWS", "Cup final", "Sunday"));
            QVERIFY(bob->waitForLine(wire("SMSG", "News from alice: Cup final - Sunday")));
            server.advance(90);
            bob->socket().disconnectFromHost();
            QVERIFY(alice->waitForLine(wire("PART", "bob")));
            // bob is away, so the ban is on his name only, not on the address everyone here shares.
            alice->sendSegment(wire("OPS", "BAN", "bob"));
            QVERIFY(alice->waitForLine(msg(u"<Quorvel> bob was banned for 60 minutes."_s)));
        }
        const QDateTime bobLeft = server.now();
        server.restart();

        QVERIFY(server.store().isOperator(u"alice"_s));
        QTRY_COMPARE_WITH_TIMEOUT(server.store().lastSeen(u"bob"_s), bobLeft, 5000);
        // alice was still signed on when the server stopped.
        QCOMPARE(server.store().lastSeen(u"alice"_s), bobLeft);
        auto dave = server.signOn(u"dave"_s, u"44"_s);
        QVERIFY(dave);
        QVERIFY(dave->waitForLine(wire("SMSG", "Latest news (2026-03-01, alice): Cup final - Sunday")));
        ServerTestClient bob;
        QVERIFY(bob.connectTo(server.port()));
        bob.sendSegment(wire("LOGIN", "bob", "22"));
        QVERIFY(bob.waitForDisconnect());
        QCOMPARE(bob.rawReceived(), QByteArray("INVALID\r\n"));

        auto alice = server.signOn(u"alice"_s, u"11"_s);
        QVERIFY(alice);
        alice->sendSegment(wire("OPS", "CRB"));
        QVERIFY(alice->waitForLine(msg(u"<Quorvel> Cleared 1 timed bans."_s)));
        QVERIFY(server.signOn(u"bob"_s, u"22"_s));
    }
    void changesMeetingALockWaitWhileTheRoomGoesOn_data() { backendRows(); }

    void changesMeetingALockWaitWhileTheRoomGoesOn() {
        FETCH_BACKEND();
        // A lock met while a statement is prepared is reported as such, not as a broken statement.
        QTest::failOnWarning(QRegularExpression(u"syntax error"_s));
        TestServer server(TestServer::testLimits(), TestServer::Backend(backend));
        const QStringList names{u"alice"_s, u"bob"_s, u"carol"_s, u"dave"_s, u"erin"_s};
        std::vector<std::unique_ptr<ServerTestClient>> members;
        for (const QString& name : names) {
            server.addAccount(name, u"1"_s);
            members.push_back(server.signOn(name, u"1"_s));
            QVERIFY(members.back());
        }
        ServerTestClient& alice = *members[0];
        ServerTestClient& bob = *members[1];

        // Another program holds a write lock; readers still get through.
        QSqlDatabase locker = server.openSideConnection(u"locker"_s);
        QVERIFY(locker.isOpen());
        if (TestServer::Backend(backend) == TestServer::Backend::Sqlite)
            QVERIFY(QSqlQuery(locker).exec(u"BEGIN IMMEDIATE"_s));
        else
            QVERIFY(QSqlQuery(locker).exec(u"BEGIN"_s) &&
                    QSqlQuery(locker).exec(u"LOCK TABLE accounts, news IN EXCLUSIVE MODE"_s));
        server.advance(60);
        const QDateTime departure = server.now();
        for (int i = 2; i < 5; ++i)
            members[i]->socket().disconnectFromHost();
        QVERIFY(alice.waitForLine(wire("PART", "erin")));

        // The room keeps answering while the three last-seen times wait for the lock.
        alice.sendSegment(msg(u"still here?"_s));
        QVERIFY(bob.waitForLine(wire("MSG", "<alice> still here?")));
        bob.sendSegment(msg(u"!Seen carol"_s));
        QVERIFY(bob.waitForLine(msg(u"<Quorvel> carol was last seen on 2026-03-01 12:01:00 UTC."_s)));

        // A request that is answered gets a notice saying what happened, not a false "name in use".
        ServerTestClient creator;
        QVERIFY(creator.connectTo(server.port()));
        creator.sendSegment(wire("NEWACCOUNT", "frank", "6"));
        const QString trouble =
            wire("SMSG", "The server's database is not answering, so your account was not created. "
                         "Please try again in a minute.");
        QVERIFY(creator.waitForLine(trouble, 15000));
        QCOMPARE(creator.lines(), QStringList{trouble});
        alice.sendSegment(wire("NEWS", "Locked", "out"));
        QVERIFY(alice.waitForLine(wire("SMSG", "The server's database is not answering, so your news was not "
                                               "posted. Please try again in a minute."),
                                  15000));
        QCOMPARE(server.store().lastSeen(u"carol"_s), std::nullopt);

        QVERIFY(QSqlQuery(locker).exec(u"ROLLBACK"_s));
        locker.close();
        locker = QSqlDatabase();
        QSqlDatabase::removeDatabase(u"locker"_s);

        for (const QString& name : names.mid(2))
            QTRY_COMPARE_WITH_TIMEOUT(server.store().lastSeen(name), departure, 10000);
        creator.clear();
        creator.sendSegment(wire("NEWACCOUNT", "frank", "6"));
        QVERIFY(creator.waitForLine(u"DONER"_s));
    }

    void theRoomOutlivesADatabaseThatGoesAwayOrHangs_data() {
        QTest::addColumn<bool>("hangs");
        QTest::newRow("restarting") << false;
        QTest::newRow("stopped") << true;
    }

    void theRoomOutlivesADatabaseThatGoesAwayOrHangs() {
        QFETCH(bool, hangs);
        if (const QString why = TestServer::unavailable(TestServer::Backend::PostgreSql); !why.isEmpty())
            QSKIP(qPrintable(why));
        DatabaseProxy proxy(TestServer::postgresPort());
        TestServer server(TestServer::testLimits(), TestServer::Backend::PostgreSql, proxy.port());
        std::unique_ptr<ServerTestClient> alice, bob;
        QVERIFY(server.signOnAliceAndBob(alice, bob));
        server.addAccount(u"dave"_s, u"4"_s);
        auto carol = server.signOnNew(u"carol"_s);
        QVERIFY(carol);
        if (hangs)
            proxy.hang();
        else
            proxy.goAway();

        server.advance(60);
        carol->socket().disconnectFromHost();
        QVERIFY(alice->waitForLine(wire("PART", "carol")));
        // A departure of this run is known without the database; a lookup waits for it off the
        // room's thread, and the room goes on meanwhile.
        bob->sendSegment(msg(u"!Seen carol"_s));
        QVERIFY(bob->waitForLine(msg(u"<Quorvel> carol was last seen on 2026-03-01 12:01:00 UTC."_s)));
        bob->sendSegment(msg(u"!Seen dave"_s));
        alice->sendSegment(msg(u"still here"_s));
        QVERIFY(bob->waitForLine(wire("MSG", "<alice> still here")));
        const QString unanswered = msg(u"<Quorvel> The server's database is not answering, so dave cannot be "
                                       "looked up. Please try again in a minute."_s);
        QVERIFY(!bob->lines().contains(unanswered));
        QVERIFY(bob->waitForLine(unanswered));
        ServerTestClient early;
        QVERIFY(early.connectTo(server.port()));
        early.sendSegment(wire("LOGIN", "dave", "4"));
        QVERIFY(
            early.waitForLine(wire("SMSG", "The server's database is not answering, so you cannot sign on "
                                           "now. Please try again in a minute.")));

        // What was due is written once the database is back; sign-on, accounts and news work at once.
        proxy.comeBack();
        QTRY_COMPARE_WITH_TIMEOUT(server.store().lastSeen(u"carol"_s), server.now(), 10000);
        auto dave = server.signOn(u"dave"_s, u"4"_s);
        QVERIFY(dave);
        alice->sendSegment(wire("NEWS", "Back", "again"));
        QVERIFY(dave->waitForLine(wire("SMSG", "News from alice: Back - again")));
        ServerTestClient creator;
        QVERIFY(creator.connectTo(server.port()));
        creator.sendSegment(wire("NEWACCOUNT", "erin", "5"));
        QVERIFY(creator.waitForLine(u"DONER"_s));
    }

private:
    static void backendRows() {
        QTest::addColumn<int>("backend");
        QTest::newRow("SQLite") << int(TestServer::Backend::Sqlite);
        QTest::newRow("PostgreSQL") << int(TestServer::Backend::PostgreSql);
    }
};

QTEST_GUILESS_MAIN(TestServerDatabase)
#include "tst_serverdatabase.moc"
