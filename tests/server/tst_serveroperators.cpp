// OPS: kick, the three ban kinds with their expiry and clearing words, suspension,
// and the refusal of operator commands from ordinary members.
#include "DataRows.h"
#include "TestServer.h"

#include <QtTest>

using namespace Qt::StringLiterals;
using ServerWire::wire;

namespace {
QString notice(const QString& text) {
    return wire("MSG", "<Quorvel> ") + text;
}
} // namespace

class TestServerOperators : public QObject {
    Q_OBJECT
private slots:
    void init() {
        m_server = std::make_unique<TestServer>();
        QVERIFY(m_server->signOnAliceAndBob(m_alice, m_bob));
    }

    void cleanup() {
        m_alice.reset();
        m_bob.reset();
        m_server.reset();
    }

    void ordinaryMemberIsRefused_data() {
        QTest::addColumn<QString>("command");
        QTest::newRow("KICK") << wire("OPS", "KICK", "alice");
        QTest::newRow("BAN") << wire("OPS", "BAN", "alice");
        QTest::newRow("SUBNET") << wire("OPS", "SUBNET", "alice");
        QTest::newRow("MUZZLE") << wire("OPS", "MUZZLE", "alice");
        QTest::newRow("CSB") << wire("OPS", "CSB");
        QTest::newRow("CPB") << wire("OPS", "CPB");
        QTest::newRow("CRB") << wire("OPS", "CRB");
    }

    void ordinaryMemberIsRefused() {
        QFETCH(QString, command);
        m_server->store().addBan(BanKind::Permanent, u"zed"_s, QString(), std::nullopt);
        m_bob->sendSegment(command);
        QVERIFY(m_bob->waitForLine(notice(u"Only operators can use operator commands."_s)));
        QCOMPARE(m_bob->chatLines().size(), 1);
        // Nothing happened: alice is still here and can speak, the ban stands.
        m_alice->sendSegment(wire("MSG", "still here"));
        QVERIFY(m_bob->waitForLine(wire("MSG", "<alice> still here")));
        QCOMPARE(m_alice->chatLines(), QStringList{wire("MSG", "<alice> still here")});
        QVERIFY(m_server->store().isBanned(u"zed"_s, QString(), QString(), m_server->now()));
    }

    void kickRemovesTheMember() {
        m_alice->sendSegment(wire("OPS", "KICK", "bob"));
        QVERIFY(m_bob->waitForDisconnect());
        QCOMPARE(m_bob->chatLines(), QStringList{wire("SMSG", "You were kicked by alice.")});
        // The notice is an ordinary line and passes the departure, which needs a read of its own.
        QVERIFY(m_alice->waitForLine(wire("PART", "bob")));
        QCOMPARE(m_alice->chatLines(), (QStringList{notice(u"bob was kicked."_s), wire("PART", "bob")}));
        // A kick is not a ban.
        QVERIFY(bobCanSignOn());
    }

    // clang-format off
    void bansAndTheirClearing_data() {
        addColumns<QStringList, qint64, QString, bool>("words", "laterSeconds", "clearWord", "signOnAfter");
        const QString ban = u"BAN"_s, subnet = u"SUBNET"_s;
        QTest::newRow("timed ban holds at 59 minutes") << QStringList{ban} << qint64(59 * 60) << QString() << false;
        QTest::newRow("timed ban ends after 60 minutes") << QStringList{ban} << qint64(60 * 60 + 1) << QString() << true;
        QTest::newRow("CRB clears the timed ban") << QStringList{ban} << qint64(0) << u"CRB"_s << true;
        QTest::newRow("CPB leaves the timed ban") << QStringList{ban} << qint64(0) << u"CPB"_s << false;
        QTest::newRow("second BAN is permanent") << QStringList{ban, ban} << qint64(30 * 24 * 3600) << QString() << false;
        QTest::newRow("CPB clears the permanent ban") << QStringList{ban, ban} << qint64(60 * 60 + 1) << u"CPB"_s << true;
        QTest::newRow("CRB leaves the permanent ban") << QStringList{ban, ban} << qint64(0) << u"CRB"_s << false;
        QTest::newRow("subnet ban does not expire") << QStringList{subnet} << qint64(30 * 24 * 3600) << QString() << false;
        QTest::newRow("CSB clears the subnet ban") << QStringList{subnet} << qint64(0) << u"CSB"_s << true;
        QTest::newRow("CRB leaves the subnet ban") << QStringList{subnet} << qint64(0) << u"CRB"_s << false;
    }
    // clang-format on

    void bansAndTheirClearing() {
        auto [words, laterSeconds, clearWord, signOnAfter] =
            fetchRow<QStringList, qint64, QString, bool>("words", "laterSeconds", "clearWord", "signOnAfter");

        m_alice->sendSegment(wire("OPS", words.first(), "bob"));
        QVERIFY(m_bob->waitForDisconnect() && m_alice->waitForLine(wire("PART", "bob")));
        const QString firstNotice = words.first() == u"BAN"_s
                                        ? notice(u"bob was banned for 60 minutes."_s)
                                        : notice(u"The subnet of bob (127.0.0) was banned."_s);
        QVERIFY(m_alice->waitForLine(firstNotice));
        if (words.size() > 1) {
            m_alice->sendSegment(wire("OPS", words.at(1), "bob"));
            QVERIFY(m_alice->waitForLine(notice(u"bob was permanently banned."_s)));
        }
        QVERIFY(!bobCanSignOn());
        // alice shares bob's address and network here: the ban keeps out others, not the operator.
        QVERIFY(!m_server->store().isBanned(u"alice"_s, u"127.0.0.1"_s, u"127.0.0"_s, m_server->now()));
        QVERIFY(m_server->store().isBanned(u"dave"_s, u"127.0.0.1"_s, u"127.0.0"_s, m_server->now()));
        m_server->advance(laterSeconds);
        if (!clearWord.isEmpty()) {
            m_alice->sendSegment(wire("OPS", clearWord));
            QTRY_VERIFY(m_alice->chatLines().join(u'\n').contains(notice(u"Cleared "_s)));
        }
        QCOMPARE(bobCanSignOn(), signOnAfter);
    }

    void suspendedMemberIsHeardByNobody() {
        m_alice->sendSegment(wire("OPS", "MUZZLE", "bob"));
        QVERIFY(m_alice->waitForLine(notice(u"bob was suspended."_s)));
        QVERIFY(m_bob->waitForLine(wire("SMSG", "You were suspended by alice.")));
        const QString refusal =
            wire("SMSG", "You are suspended by an operator; your lines are not delivered.");
        for (const QString& line :
             {u"MSG|\u00BF|hello"_s, u"PMSG|\u00BF|alice|\u00BF|psst"_s, u"NEWS|\u00BF|a|\u00BF|b"_s}) {
            m_bob->clear();
            m_bob->sendSegment(line);
            QVERIFY(m_bob->waitForLine(refusal));
        }
        m_alice->sendSegment(wire("OPS", "MUZZLE", "bob"));
        QVERIFY(m_alice->waitForLine(notice(u"bob may speak again."_s)));
        m_bob->sendSegment(wire("MSG", "back"));
        QVERIFY(m_alice->waitForLine(wire("MSG", "<bob> back")));
        QCOMPARE(m_alice->chatLines(),
                 (QStringList{notice(u"bob was suspended."_s), notice(u"bob may speak again."_s),
                              wire("MSG", "<bob> back")}));
    }

    // clang-format off
    void sanctionReachesEverySessionOfTheAccount_data() {
        addColumns<QString, QString, bool>("word", "target", "secondSignedOn");
        for (const char* word : {"KICK", "BAN", "SUBNET", "MUZZLE"}) {
            QTest::addRow("%s the first session, second signed on", word) << QString::fromLatin1(word) << u"bob"_s << true;
            QTest::addRow("%s the second session", word) << QString::fromLatin1(word) << u"bob@laptop"_s << true;
            QTest::addRow("%s while the second chooses its name", word) << QString::fromLatin1(word) << u"bob"_s << false;
        }
    }
    // clang-format on

    void sanctionReachesEverySessionOfTheAccount() {
        auto [word, target, secondSignedOn] =
            fetchRow<QString, QString, bool>("word", "target", "secondSignedOn");
        ServerTestClient second;
        QVERIFY(second.connectTo(m_server->port()));
        second.sendSegment(wire("LOGIN", "bob", "22"));
        QVERIFY(second.waitForLine(u"NICK"_s));
        if (secondSignedOn) {
            second.sendSegment(wire("NICK", "bob@laptop"));
            QVERIFY(m_alice->waitForLine(wire("JOIN", "bob@laptop")));
        }
        m_alice->sendSegment(wire("OPS", word, target));
        if (word == u"MUZZLE"_s) {
            const QString told = wire("SMSG", "You were suspended by alice.");
            QVERIFY(m_bob->waitForLine(told) && second.waitForLine(told));
            if (secondSignedOn) {
                second.sendSegment(wire("\r\nMSG", "hello"));
                QVERIFY(second.waitForLine(
                    wire("SMSG", "You are suspended by an operator; your lines are not delivered.")));
            }
            return;
        }
        QVERIFY(m_bob->waitForDisconnect() && second.waitForDisconnect());
        QVERIFY(m_alice->waitForLine(wire("PART", "bob")));
        QTRY_COMPARE_WITH_TIMEOUT(m_server->server().room().onlineNames(), QStringList{u"alice"_s}, 5000);
        QTRY_COMPARE_WITH_TIMEOUT(m_server->server().connectionCount(), 1, 5000);
        QCOMPARE(bobCanSignOn(), word == u"KICK"_s);
    }

    void nickAnswerIsCheckedAgainstBans() {
        ServerTestClient second;
        QVERIFY(second.connectTo(m_server->port()));
        second.sendSegment(wire("LOGIN", "bob", "22"));
        QVERIFY(second.waitForLine(u"NICK"_s));
        // A ban that reaches the store while bob chooses (another server process, a later tool).
        QVERIFY(m_server->store().addBan(BanKind::Permanent, u"bob"_s, QString(), std::nullopt));
        second.clear();
        second.sendSegment(wire("NICK", "bob@laptop"));
        QVERIFY(second.waitForDisconnect());
        QCOMPARE(second.chatLines(), QStringList{u"INVALID"_s});
        QVERIFY(!m_alice->lines().contains(wire("JOIN", "bob@laptop")));
    }

    void operatorCannotActOnHimself() {
        m_alice->sendSegment(wire("OPS", "BAN", "alice"));
        QVERIFY(m_alice->waitForLine(notice(u"Operator commands do not act on yourself."_s)));
        QVERIFY(!m_server->store().isBanned(u"alice"_s, u"127.0.0.1"_s, u"127.0.0"_s, m_server->now()));
    }

private:
    bool bobCanSignOn() {
        ServerTestClient bob;
        if (!bob.connectTo(m_server->port()))
            return false;
        bob.sendSegment(wire("LOGIN", "bob", "22"));
        if (!QTest::qWaitFor([&] { return !bob.lines().isEmpty(); }, 5000))
            return false;
        return bob.lines().first() == wire("LIST", "alice");
    }

    std::unique_ptr<TestServer> m_server;
    std::unique_ptr<ServerTestClient> m_alice;
    std::unique_ptr<ServerTestClient> m_bob;
};

QTEST_GUILESS_MAIN(TestServerOperators)
#include "tst_serveroperators.moc"
