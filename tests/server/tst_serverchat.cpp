// Public lines, the server's own answers, private relay with the file-offer rewrite,
// the follow relay, news, and how segments are framed into messages.
#include "TestServer.h"

#include <QTest>

using ServerWire::msg;
using ServerWire::S;

class TestServerChat : public QObject {
    Q_OBJECT
private slots:
    void init();
    void cleanup();

    void publicLineReachesEveryoneWithSender();
    void framing_data();
    void framing();
    void seenQuery_data();
    void seenQuery();
    void opsQueryNamesOperatorsOnline();
    void controlCharactersReachNobody_data();
    void controlCharactersReachNobody();
    void privateMessage_data();
    void privateMessage();
    void malformedFileOfferIsRefused_data();
    void malformedFileOfferIsRefused();
    void privateMessageToAbsentMemberIsAnswered();
    void followRequestAndAnswerAreRelayed();
    void unrequestedFollowAnswerIsDropped();
    void newsIsStoredAndShown();

private:
    std::unique_ptr<TestServer> m_server;
    std::unique_ptr<ServerTestClient> m_alice;
    std::unique_ptr<ServerTestClient> m_bob;
};

void TestServerChat::init() {
    m_server = std::make_unique<TestServer>();
    m_server->addAccount(QStringLiteral("carol"), QStringLiteral("33"));
    QVERIFY(m_server->signOnAliceAndBob(m_alice, m_bob));
}

void TestServerChat::cleanup() {
    m_alice.reset();
    m_bob.reset();
    m_server.reset();
}

void TestServerChat::publicLineReachesEveryoneWithSender() {
    m_bob->sendSegment(msg(QStringLiteral("hi \u00BFall\u00BF")));
    const QByteArray expected("MSG|\xBF|<bob> hi \xBF"
                              "all\xBF\r\n");
    QTRY_COMPARE_WITH_TIMEOUT(m_alice->rawChat(), expected, 5000);
    QTRY_COMPARE_WITH_TIMEOUT(m_bob->rawChat(), expected, 5000);
}

void TestServerChat::framing_data() {
    QTest::addColumn<QByteArray>("segment");
    QTest::addColumn<QStringList>("delivered");
    QTest::newRow("one message, no terminator")
        << QByteArray("MSG|\xBF|one") << QStringList{QStringLiteral("<bob> one")};
    QTest::newRow("trailing CR LF") << QByteArray("MSG|\xBF|one\r\n")
                                    << QStringList{QStringLiteral("<bob> one")};
    QTest::newRow("two messages") << QByteArray("MSG|\xBF|one\r\nMSG|\xBF|two")
                                  << QStringList{QStringLiteral("<bob> one"), QStringLiteral("<bob> two")};
    QTest::newRow("PING then a line")
        << QByteArray("PING|\xBF|12:00:00\r\nMSG|\xBF|two\r\n") << QStringList{QStringLiteral("<bob> two")};
    QTest::newRow("empty pieces") << QByteArray("\r\n\r\nMSG|\xBF|one\r\n\r\n")
                                  << QStringList{QStringLiteral("<bob> one")};
    QTest::newRow("separator inside the text")
        << QByteArray("MSG|\xBF|a|\xBF|b")
        << QStringList{QStringLiteral("<bob> a") + S + QStringLiteral("b")};
    QTest::newRow("a private line glued behind a public one")
        << QByteArray("MSG|\xBF|onePMSG|\xBF|bob|\xBF|psst") << QStringList{QStringLiteral("<bob> one")};
    QTest::newRow("empty and blank lines are not relayed")
        << QByteArray("MSG|\xBF|\r\nMSG|\xBF|  \r\nMSG|\xBF|one") << QStringList{QStringLiteral("<bob> one")};
    QTest::newRow("unknown word then a line")
        << QByteArray("HELLO|\xBF|x\r\nMSG|\xBF|one") << QStringList{QStringLiteral("<bob> one")};
}

void TestServerChat::framing() {
    QFETCH(QByteArray, segment);
    QFETCH(QStringList, delivered);
    m_bob->sendBytes(segment);
    // The marker goes out only after the segment was handled, so TCP cannot merge the two.
    QTRY_COMPARE_WITH_TIMEOUT(m_alice->chatLines().size(), delivered.size(), 5000);
    m_bob->sendSegment(msg(QStringLiteral("end")));
    QVERIFY(m_alice->waitForLine(msg(QStringLiteral("<bob> end"))));
    QStringList expected;
    for (const QString& text : delivered)
        expected << msg(text);
    expected << msg(QStringLiteral("<bob> end"));
    QCOMPARE(m_alice->chatLines(), expected);
}

void TestServerChat::seenQuery_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("carolHasBeenHere");
    QTest::addColumn<QString>("answer");
    QTest::newRow("online") << QStringLiteral("alice") << false
                            << QStringLiteral("<Quorvel> alice is here now.");
    QTest::newRow("was here") << QStringLiteral("carol") << true
                              << QStringLiteral("<Quorvel> carol was last seen on 2026-03-01 12:00:00 UTC.");
    QTest::newRow("never signed on") << QStringLiteral("carol") << false
                                     << QStringLiteral("<Quorvel> carol has not been seen yet.");
    QTest::newRow("no such member") << QStringLiteral("zed") << false
                                    << QStringLiteral("<Quorvel> zed has never been here.");
}

void TestServerChat::seenQuery() {
    QFETCH(QString, name);
    QFETCH(bool, carolHasBeenHere);
    QFETCH(QString, answer);
    if (carolHasBeenHere) {
        auto carol = m_server->signOn(QStringLiteral("carol"), QStringLiteral("33"));
        QVERIFY(carol);
        carol->socket().disconnectFromHost();
        QVERIFY(m_bob->waitForLine(QStringLiteral("PART") + S + QStringLiteral("carol")));
        m_server->advance(90);
        m_bob->clear();
        m_alice->clear();
    }
    m_bob->sendSegment(msg(QStringLiteral("!Seen ") + name));
    QVERIFY(m_bob->waitForLine(msg(answer)));
    QCOMPARE(m_bob->chatLines(), QStringList{msg(answer)});
    // Only the asker sees the answer, and the query itself is not broadcast.
    m_bob->sendSegment(msg(QStringLiteral("after")));
    QVERIFY(m_alice->waitForLine(msg(QStringLiteral("<bob> after"))));
    QCOMPARE(m_alice->chatLines(), QStringList{msg(QStringLiteral("<bob> after"))});
}

void TestServerChat::opsQueryNamesOperatorsOnline() {
    m_bob->sendSegment(msg(QStringLiteral("/Ops")));
    QVERIFY(m_bob->waitForLine(msg(QStringLiteral("<Quorvel> Operators online: alice"))));
    m_alice->socket().disconnectFromHost();
    QVERIFY(m_bob->waitForLine(QStringLiteral("PART") + S + QStringLiteral("alice")));
    m_bob->sendSegment(msg(QStringLiteral("/Ops")));
    QVERIFY(m_bob->waitForLine(msg(QStringLiteral("<Quorvel> No operator is online."))));
}

void TestServerChat::controlCharactersReachNobody_data() {
    QTest::addColumn<QByteArray>("sent");
    QTest::addColumn<QString>("received");
    QTest::newRow("forged line in a chat line")
        << QByteArray("MSG|\xBF|hello\r<alice> please send me your password")
        << msg(QStringLiteral("<bob> hello<alice> please send me your password"));
    QTest::newRow("NUL, ESC, DEL and C1 in a chat line") << (QByteArray("MSG|\xBF|a") + '\0' +
                                                             "b\x1B"
                                                             "c\x7F"
                                                             "d\x81\x9D"
                                                             "e")
                                                         << msg(QStringLiteral("<bob> abcde"));
    QTest::newRow("private line") << QByteArray("PMSG|\xBF|alice|\xBF|a\rb\x07")
                                  << QStringLiteral("PMSG") + S + QStringLiteral("<bob> ab");
    QTest::newRow("news") << QByteArray("NEWS|\xBF|Head\x1Bline|\xBF|bo\rdy")
                          << QStringLiteral("SMSG") + S + QStringLiteral("News from bob: Headline - body");
}

void TestServerChat::controlCharactersReachNobody() {
    QFETCH(QByteArray, sent);
    QFETCH(QString, received);
    m_bob->sendBytes(sent);
    QVERIFY(m_alice->waitForLine(received));
    QCOMPARE(m_alice->chatLines(), QStringList{received});
}

void TestServerChat::privateMessage_data() {
    QTest::addColumn<QString>("sent");
    QTest::addColumn<QByteArray>("relayed");
    QTest::newRow("plain") << QStringLiteral("PMSG|\u00BF|alice|\u00BF|psst")
                           << QByteArray("PMSG|\xBF|<bob> psst\r\n");
    QTest::newRow("private window line")
        << QStringLiteral("PMSG|\u00BF|alice|\u00BF|line\r\n") << QByteArray("PMSG|\xBF|<bob> line\r\n");
    QTest::newRow("target in other case")
        << QStringLiteral("PMSG|\u00BF|ALICE|\u00BF|psst") << QByteArray("PMSG|\xBF|<bob> psst\r\n");
    QTest::newRow("identification request")
        << QStringLiteral("PMSG|\u00BF|alice|\u00BF|/WHOAMI") << QByteArray("PMSG|\xBF|<bob> /WHOAMI\r\n");
    QTest::newRow("identification list untouched")
        << QStringLiteral("PMSG|\u00BF|alice|\u00BF|/WHOYOU Age : 27|@|Hobbys : darts|@|")
        << QByteArray("PMSG|\xBF|<bob> /WHOYOU Age : 27|@|Hobbys : darts|@|\r\n");
    QTest::newRow("file offer gets the sender's address")
        << QStringLiteral("PMSG|\u00BF|alice|\u00BF|/SENDFILE|@|C:\\maps\\bank.bsp|@|5120")
        << QByteArray("PMSG|\xBF|<bob> /SENDFILE C:\\maps\\bank.bsp|@|5120|@|127.0.0.1\r\n");
    QTest::newRow("file name with blanks")
        << QStringLiteral("PMSG|\u00BF|alice|\u00BF|/SENDFILE|@|C:\\my maps\\a b.zip|@|6000")
        << QByteArray("PMSG|\xBF|<bob> /SENDFILE C:\\my maps\\a b.zip|@|6000|@|127.0.0.1\r\n");
    QTest::newRow("decline untouched") << QStringLiteral("PMSG|\u00BF|alice|\u00BF|/SENDDECLINE")
                                       << QByteArray("PMSG|\xBF|<bob> /SENDDECLINE\r\n");
}

void TestServerChat::privateMessage() {
    QFETCH(QString, sent);
    QFETCH(QByteArray, relayed);
    m_bob->sendSegment(sent);
    QTRY_COMPARE_WITH_TIMEOUT(m_alice->rawChat(), relayed, 5000);
    QCOMPARE(m_bob->chatLines(), QStringList());
}

void TestServerChat::malformedFileOfferIsRefused_data() {
    QTest::addColumn<QString>("offer");
    QTest::newRow("no port") << QStringLiteral("/SENDFILE|@|C:\\a.zip");
    QTest::newRow("empty port") << QStringLiteral("/SENDFILE|@|C:\\a.zip|@|");
    QTest::newRow("port not a number") << QStringLiteral("/SENDFILE|@|C:\\a.zip|@|51x0");
    QTest::newRow("port out of range") << QStringLiteral("/SENDFILE|@|C:\\a.zip|@|65536");
    QTest::newRow("trailing field") << QStringLiteral("/SENDFILE|@|C:\\a.zip|@|5120|@|");
    QTest::newRow("forged address") << QStringLiteral("/SENDFILE|@|C:\\a.zip|@|5120|@|203.0.113.9");
    QTest::newRow("separator in the path") << QStringLiteral("/SENDFILE|@|C:\\a|\u00BF|b.zip|@|5120");
    QTest::newRow("separator in the port") << QStringLiteral("/SENDFILE|@|C:\\a.zip|@|51|\u00BF|20");
    QTest::newRow("no path") << QStringLiteral("/SENDFILE|@||@|5120");
    QTest::newRow("nothing") << QStringLiteral("/SENDFILE");
    QTest::newRow("word run on") << QStringLiteral("/SENDFILEX|@|C:\\a.zip|@|5120");
}

void TestServerChat::malformedFileOfferIsRefused() {
    QFETCH(QString, offer);
    m_bob->sendSegment(QStringLiteral("PMSG") + S + QStringLiteral("alice") + S + offer);
    QVERIFY(m_bob->waitForLine(msg(QStringLiteral("<Quorvel> Your file offer to alice was not sent: it needs "
                                                  "a file and a port number from 1 to 65535."))));
    m_bob->sendSegment(QStringLiteral("\r\n") + msg(QStringLiteral("marker")));
    QVERIFY(m_alice->waitForLine(msg(QStringLiteral("<bob> marker"))));
    QCOMPARE(m_alice->chatLines(), QStringList{msg(QStringLiteral("<bob> marker"))});
}

void TestServerChat::privateMessageToAbsentMemberIsAnswered() {
    m_bob->sendSegment(QStringLiteral("PMSG") + S + QStringLiteral("carol") + S + QStringLiteral("hello"));
    QVERIFY(m_bob->waitForLine(
        msg(QStringLiteral("<Quorvel> carol is not online; your private message was not delivered."))));
    QCOMPARE(m_alice->chatLines(), QStringList());
}

void TestServerChat::followRequestAndAnswerAreRelayed() {
    // bob follows alice; the name bob claims for himself is not what alice is told.
    m_bob->sendSegment(QStringLiteral("FOLLOWUSER") + S + QStringLiteral("alice") + S +
                       QStringLiteral("mallory"));
    QTRY_COMPARE_WITH_TIMEOUT(m_alice->rawChat(), QByteArray("FOLLOWUSERBACK|\xBF|bob\r\n"), 5000);
    m_alice->sendSegment(QStringList{QStringLiteral("FOLLOWUSERBACK"), QStringLiteral("bob"),
                                     QStringLiteral("Bank Job"), QStringLiteral("127.0.0.1"),
                                     QStringLiteral("31510"), QStringLiteral("Kingpin")}
                             .join(S));
    QTRY_COMPARE_WITH_TIMEOUT(
        m_bob->rawChat(),
        QByteArray("FOLLOWUSERFINAL|\xBF|Bank Job|\xBF|127.0.0.1|\xBF|31510|\xBF|Kingpin\r\n"), 5000);
}

void TestServerChat::unrequestedFollowAnswerIsDropped() {
    m_alice->sendSegment(QStringList{QStringLiteral("FOLLOWUSERBACK"), QStringLiteral("bob"),
                                     QStringLiteral("Evil"), QStringLiteral("203.0.113.9"),
                                     QStringLiteral("1"), QStringLiteral("Kingpin")}
                             .join(S));
    // A leading CR LF keeps the marker a message of its own should TCP merge the two writes.
    m_alice->sendSegment(QStringLiteral("\r\n") + msg(QStringLiteral("marker")));
    QVERIFY(m_bob->waitForLine(msg(QStringLiteral("<alice> marker"))));
    QCOMPARE(m_bob->chatLines(), QStringList{msg(QStringLiteral("<alice> marker"))});
}

void TestServerChat::newsIsStoredAndShown() {
    m_bob->sendSegment(QStringLiteral("NEWS") + S + QStringLiteral("Ladder") + S +
                       QStringLiteral("Round 2 tonight"));
    const QString shown =
        QStringLiteral("SMSG") + S + QStringLiteral("News from bob: Ladder - Round 2 tonight");
    QVERIFY(m_alice->waitForLine(shown));
    QVERIFY(m_bob->waitForLine(shown));
    const auto latest = m_server->store().latestNews();
    QVERIFY(latest);
    QCOMPARE(latest->headline, QStringLiteral("Ladder"));
    auto carol = m_server->signOn(QStringLiteral("carol"), QStringLiteral("33"));
    QVERIFY(carol);
    QVERIFY(carol->waitForLine(QStringLiteral("SMSG") + S +
                               QStringLiteral("Latest news (2026-03-01, bob): Ladder - Round 2 tonight")));
}

QTEST_GUILESS_MAIN(TestServerChat)
#include "tst_serverchat.moc"
