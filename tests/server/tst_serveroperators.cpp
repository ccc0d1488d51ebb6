// OPS: kick, the three ban kinds with their expiry and clearing words, suspension,
// and the refusal of operator commands from ordinary members.
#include "TestServer.h"

#include <QTest>

using ServerWire::S;

namespace {
QString ops(const QString& word, const QString& target = QString()) {
    return QStringLiteral("OPS") + S + word + (target.isNull() ? QString() : S + target);
}
QString notice(const QString& text) {
    return QStringLiteral("MSG") + S + QStringLiteral("<Quorvel> ") + text;
}
} // namespace

class TestServerOperators : public QObject {
    Q_OBJECT
private slots:
    void init();
    void cleanup();

    void ordinaryMemberIsRefused_data();
    void ordinaryMemberIsRefused();
    void kickRemovesTheMember();
    void bansAndTheirClearing_data();
    void bansAndTheirClearing();
    void suspendedMemberIsHeardByNobody();
    void sanctionReachesEverySessionOfTheAccount_data();
    void sanctionReachesEverySessionOfTheAccount();
    void nickAnswerIsCheckedAgainstBans();
    void operatorCannotActOnHimself();

private:
    bool bobCanSignOn();

    std::unique_ptr<TestServer> m_server;
    std::unique_ptr<ServerTestClient> m_alice;
    std::unique_ptr<ServerTestClient> m_bob;
};

void TestServerOperators::init() {
    m_server = std::make_unique<TestServer>();
    QVERIFY(m_server->signOnAliceAndBob(m_alice, m_bob));
}

void TestServerOperators::cleanup() {
    m_alice.reset();
    m_bob.reset();
    m_server.reset();
}

bool TestServerOperators::bobCanSignOn() {
    ServerTestClient bob;
    if (!bob.connectTo(m_server->port()))
        return false;
    bob.sendSegment(QStringLiteral("LOGIN") + S + QStringLiteral("bob") + S + QStringLiteral("22"));
    if (!QTest::qWaitFor([&] { return !bob.lines().isEmpty(); }, 5000))
        return false;
    return bob.lines().first() == QStringLiteral("LIST") + S + QStringLiteral("alice");
}

void TestServerOperators::ordinaryMemberIsRefused_data() {
    QTest::addColumn<QString>("command");
    QTest::newRow("KICK") << ops(QStringLiteral("KICK"), QStringLiteral("alice"));
    QTest::newRow("BAN") << ops(QStringLiteral("BAN"), QStringLiteral("alice"));
    QTest::newRow("SUBNET") << ops(QStringLiteral("SUBNET"), QStringLiteral("alice"));
    QTest::newRow("MUZZLE") << ops(QStringLiteral("MUZZLE"), QStringLiteral("alice"));
    QTest::newRow("CSB") << ops(QStringLiteral("CSB"));
    QTest::newRow("CPB") << ops(QStringLiteral("CPB"));
    QTest::newRow("CRB") << ops(QStringLiteral("CRB"));
}

void TestServerOperators::ordinaryMemberIsRefused() {
    QFETCH(QString, command);
    m_server->store().addBan(BanKind::Permanent, QStringLiteral("zed"), QString(), std::nullopt);
    m_bob->sendSegment(command);
    QVERIFY(m_bob->waitForLine(notice(QStringLiteral("Only operators can use operator commands."))));
    QCOMPARE(m_bob->chatLines().size(), 1);
    // Nothing happened: alice is still here and can speak, the ban stands.
    m_alice->sendSegment(QStringLiteral("MSG") + S + QStringLiteral("still here"));
    QVERIFY(m_bob->waitForLine(QStringLiteral("MSG") + S + QStringLiteral("<alice> still here")));
    QCOMPARE(m_alice->chatLines(),
             QStringList{QStringLiteral("MSG") + S + QStringLiteral("<alice> still here")});
    QCOMPARE(m_server->server().room().onlineNames(),
             (QStringList{QStringLiteral("alice"), QStringLiteral("bob")}));
    QVERIFY(m_server->store().isBanned(QStringLiteral("zed"), QString(), QString(), m_server->now()));
}

void TestServerOperators::kickRemovesTheMember() {
    m_alice->sendSegment(ops(QStringLiteral("KICK"), QStringLiteral("bob")));
    QVERIFY(m_bob->waitForDisconnect());
    QCOMPARE(m_bob->chatLines(),
             QStringList{QStringLiteral("SMSG") + S + QStringLiteral("You were kicked by alice.")});
    QVERIFY(m_alice->waitForLine(notice(QStringLiteral("bob was kicked."))));
    QCOMPARE(m_alice->chatLines(), (QStringList{QStringLiteral("PART") + S + QStringLiteral("bob"),
                                                notice(QStringLiteral("bob was kicked."))}));
    // A kick is not a ban.
    QVERIFY(bobCanSignOn());
}

void TestServerOperators::bansAndTheirClearing_data() {
    QTest::addColumn<QStringList>("words");
    QTest::addColumn<qint64>("laterSeconds");
    QTest::addColumn<QString>("clearWord");
    QTest::addColumn<bool>("signOnAfter");
    const QString ban = QStringLiteral("BAN"), subnet = QStringLiteral("SUBNET");
    QTest::newRow("timed ban holds at 59 minutes")
        << QStringList{ban} << qint64(59 * 60) << QString() << false;
    QTest::newRow("timed ban ends after 60 minutes")
        << QStringList{ban} << qint64(60 * 60 + 1) << QString() << true;
    QTest::newRow("CRB clears the timed ban")
        << QStringList{ban} << qint64(0) << QStringLiteral("CRB") << true;
    QTest::newRow("CPB leaves the timed ban")
        << QStringList{ban} << qint64(0) << QStringLiteral("CPB") << false;
    QTest::newRow("second BAN is permanent")
        << QStringList{ban, ban} << qint64(30 * 24 * 3600) << QString() << false;
    QTest::newRow("CPB clears the permanent ban")
        << QStringList{ban, ban} << qint64(60 * 60 + 1) << QStringLiteral("CPB") << true;
    QTest::newRow("CRB leaves the permanent ban")
        << QStringList{ban, ban} << qint64(0) << QStringLiteral("CRB") << false;
    QTest::newRow("subnet ban does not expire")
        << QStringList{subnet} << qint64(30 * 24 * 3600) << QString() << false;
    QTest::newRow("CSB clears the subnet ban")
        << QStringList{subnet} << qint64(0) << QStringLiteral("CSB") << true;
    QTest::newRow("CRB leaves the subnet ban")
        << QStringList{subnet} << qint64(0) << QStringLiteral("CRB") << false;
}

void TestServerOperators::bansAndTheirClearing() {
    QFETCH(QStringList, words);
    QFETCH(qint64, laterSeconds);
    QFETCH(QString, clearWord);
    QFETCH(bool, signOnAfter);

    m_alice->sendSegment(ops(words.first(), QStringLiteral("bob")));
    QVERIFY(m_bob->waitForDisconnect());
    QVERIFY(m_alice->waitForLine(QStringLiteral("PART") + S + QStringLiteral("bob")));
    const QString firstNotice = words.first() == QLatin1String("BAN")
                                    ? notice(QStringLiteral("bob was banned for 60 minutes."))
                                    : notice(QStringLiteral("The subnet of bob (127.0.0) was banned."));
    QVERIFY(m_alice->waitForLine(firstNotice));
    if (words.size() > 1) {
        m_alice->sendSegment(ops(words.at(1), QStringLiteral("bob")));
        QVERIFY(m_alice->waitForLine(notice(QStringLiteral("bob was permanently banned."))));
    }
    QVERIFY(!bobCanSignOn());
    m_server->advance(laterSeconds);
    if (!clearWord.isEmpty()) {
        m_alice->sendSegment(ops(clearWord));
        QVERIFY(!m_alice->waitForLineStartingWith(notice(QStringLiteral("Cleared "))).isEmpty());
    }
    QCOMPARE(bobCanSignOn(), signOnAfter);
}

void TestServerOperators::suspendedMemberIsHeardByNobody() {
    m_alice->sendSegment(ops(QStringLiteral("MUZZLE"), QStringLiteral("bob")));
    QVERIFY(m_alice->waitForLine(notice(QStringLiteral("bob was suspended."))));
    QVERIFY(m_bob->waitForLine(QStringLiteral("SMSG") + S + QStringLiteral("You were suspended by alice.")));
    const QString refusal = QStringLiteral("SMSG") + S +
                            QStringLiteral("You are suspended by an operator; your lines are not delivered.");
    for (const QString& line :
         {QStringLiteral("MSG|\u00BF|hello"), QStringLiteral("PMSG|\u00BF|alice|\u00BF|psst"),
          QStringLiteral("NEWS|\u00BF|a|\u00BF|b")}) {
        m_bob->clear();
        m_bob->sendSegment(line);
        QVERIFY(m_bob->waitForLine(refusal));
    }
    m_alice->sendSegment(ops(QStringLiteral("MUZZLE"), QStringLiteral("bob")));
    QVERIFY(m_alice->waitForLine(notice(QStringLiteral("bob may speak again."))));
    m_bob->sendSegment(QStringLiteral("MSG") + S + QStringLiteral("back"));
    QVERIFY(m_alice->waitForLine(QStringLiteral("MSG") + S + QStringLiteral("<bob> back")));
    QCOMPARE(m_alice->chatLines(), (QStringList{notice(QStringLiteral("bob was suspended.")),
                                                notice(QStringLiteral("bob may speak again.")),
                                                QStringLiteral("MSG") + S + QStringLiteral("<bob> back")}));
}

void TestServerOperators::sanctionReachesEverySessionOfTheAccount_data() {
    QTest::addColumn<QString>("word");
    QTest::addColumn<QString>("target");
    QTest::addColumn<bool>("secondSignedOn");
    for (const char* word : {"KICK", "BAN", "SUBNET", "MUZZLE"}) {
        QTest::addRow("%s the first session, second signed on", word)
            << QString::fromLatin1(word) << QStringLiteral("bob") << true;
        QTest::addRow("%s the second session", word)
            << QString::fromLatin1(word) << QStringLiteral("bob@laptop") << true;
        QTest::addRow("%s while the second chooses its name", word)
            << QString::fromLatin1(word) << QStringLiteral("bob") << false;
    }
}

void TestServerOperators::sanctionReachesEverySessionOfTheAccount() {
    QFETCH(QString, word);
    QFETCH(QString, target);
    QFETCH(bool, secondSignedOn);
    ServerTestClient second;
    QVERIFY(second.connectTo(m_server->port()));
    second.sendSegment(QStringLiteral("LOGIN") + S + QStringLiteral("bob") + S + QStringLiteral("22"));
    QVERIFY(second.waitForLine(QStringLiteral("NICK")));
    if (secondSignedOn) {
        second.sendSegment(QStringLiteral("NICK") + S + QStringLiteral("bob@laptop"));
        QVERIFY(m_alice->waitForLine(QStringLiteral("JOIN") + S + QStringLiteral("bob@laptop")));
    }
    m_alice->sendSegment(ops(word, target));
    if (word == QLatin1String("MUZZLE")) {
        const QString told = QStringLiteral("SMSG") + S + QStringLiteral("You were suspended by alice.");
        QVERIFY(m_bob->waitForLine(told));
        QVERIFY(second.waitForLine(told));
        if (secondSignedOn) {
            second.sendSegment(QStringLiteral("\r\nMSG") + S + QStringLiteral("hello"));
            QVERIFY(second.waitForLine(
                QStringLiteral("SMSG") + S +
                QStringLiteral("You are suspended by an operator; your lines are not delivered.")));
        }
        return;
    }
    QVERIFY(m_bob->waitForDisconnect());
    QVERIFY(second.waitForDisconnect());
    QVERIFY(m_alice->waitForLine(QStringLiteral("PART") + S + QStringLiteral("bob")));
    QTRY_COMPARE_WITH_TIMEOUT(m_server->server().room().onlineNames(), QStringList{QStringLiteral("alice")},
                              5000);
    QTRY_COMPARE_WITH_TIMEOUT(m_server->server().connectionCount(), 1, 5000);
    QCOMPARE(bobCanSignOn(), word == QLatin1String("KICK"));
}

void TestServerOperators::nickAnswerIsCheckedAgainstBans() {
    ServerTestClient second;
    QVERIFY(second.connectTo(m_server->port()));
    second.sendSegment(QStringLiteral("LOGIN") + S + QStringLiteral("bob") + S + QStringLiteral("22"));
    QVERIFY(second.waitForLine(QStringLiteral("NICK")));
    // A ban that reaches the store while bob chooses (another server process, a later tool).
    QVERIFY(m_server->store().addBan(BanKind::Permanent, QStringLiteral("bob"), QString(), std::nullopt));
    second.clear();
    second.sendSegment(QStringLiteral("NICK") + S + QStringLiteral("bob@laptop"));
    QVERIFY(second.waitForDisconnect());
    QCOMPARE(second.chatLines(), QStringList{QStringLiteral("INVALID")});
    QVERIFY(!m_alice->lines().contains(QStringLiteral("JOIN") + S + QStringLiteral("bob@laptop")));
}

void TestServerOperators::operatorCannotActOnHimself() {
    m_alice->sendSegment(ops(QStringLiteral("BAN"), QStringLiteral("alice")));
    QVERIFY(m_alice->waitForLine(notice(QStringLiteral("Operator commands do not act on yourself."))));
    QVERIFY(!m_server->store().isBanned(QStringLiteral("alice"), QStringLiteral("127.0.0.1"),
                                        QStringLiteral("127.0.0"), m_server->now()));
}

QTEST_GUILESS_MAIN(TestServerOperators)
#include "tst_serveroperators.moc"
