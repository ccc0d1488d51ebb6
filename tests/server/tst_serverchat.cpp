// Public lines, the server's own answers, private relay with the file-offer rewrite,
// the follow relay, news, and how segments are framed into messages.
#include "DataRows.h"
#include "TestServer.h"

#include <QtTest>

using namespace Qt::StringLiterals;
using ServerWire::msg;
using ServerWire::wire;

class TestServerChat : public QObject {
    Q_OBJECT
private slots:
    void init() {
        m_server = std::make_unique<TestServer>();
        m_server->addAccount(u"carol"_s, u"33"_s);
        QVERIFY(m_server->signOnAliceAndBob(m_alice, m_bob));
    }

    void cleanup() {
        m_alice.reset();
        m_bob.reset();
        m_server.reset();
    }

    void publicLineReachesEveryoneWithSender() {
        m_bob->sendSegment(msg(u"hi \u00BFall\u00BF"_s));
        const QByteArray expected("MSG|\xBF|<bob> hi \xBF"
                                  "all\xBF\r\n");
        QTRY_COMPARE_WITH_TIMEOUT(m_alice->rawChat(), expected, 5000);
        QTRY_COMPARE_WITH_TIMEOUT(m_bob->rawChat(), expected, 5000);
    }

    // clang-format off
    void framing_data() {
        addColumns<QByteArray, QStringList>("segment", "delivered");
        QTest::newRow("two messages") << QByteArray("MSG|\xBF|one\r\nMSG|\xBF|two") << QStringList{u"<bob> one"_s, u"<bob> two"_s};
        QTest::newRow("PING then a line") << QByteArray("PING|\xBF|12:00:00\r\nMSG|\xBF|two\r\n") << QStringList{u"<bob> two"_s};
        QTest::newRow("separator inside the text") << QByteArray("MSG|\xBF|a|\xBF|b") << QStringList{wire("<bob> a", "b")};
        QTest::newRow("a private line glued behind a public one") << QByteArray("MSG|\xBF|onePMSG|\xBF|bob|\xBF|psst") << QStringList{u"<bob> one"_s};
        QTest::newRow("empty and blank lines are not relayed") << QByteArray("MSG|\xBF|\r\nMSG|\xBF|  \r\nMSG|\xBF|one") << QStringList{u"<bob> one"_s};
        QTest::newRow("unknown word then a line") << QByteArray("HELLO|\xBF|x\r\nMSG|\xBF|one") << QStringList{u"<bob> one"_s};
    }
    // clang-format on

    void framing() {
        auto [segment, delivered] = fetchRow<QByteArray, QStringList>("segment", "delivered");
        m_bob->sendBytes(segment);
        // The marker goes out only after the segment was handled, so TCP cannot merge the two.
        QTRY_COMPARE_WITH_TIMEOUT(m_alice->chatLines().size(), delivered.size(), 5000);
        m_bob->sendSegment(msg(u"end"_s));
        QVERIFY(m_alice->waitForLine(msg(u"<bob> end"_s)));
        QStringList expected;
        for (const QString& text : delivered)
            expected << msg(text);
        expected << msg(u"<bob> end"_s);
        QCOMPARE(m_alice->chatLines(), expected);
    }

    void messagesCutAcrossReads_data() {
        addColumns<QList<QByteArray>, QStringList>("parts", "delivered");
        const QByteArray longText(3000, 'x');
        const QByteArray longLine = "MSG|\xBF|" + longText;
        // A long line crosses the internet in segments that may arrive apart.
        QTest::newRow("a long line in two segments")
            << QList{longLine.first(1448), longLine.sliced(1448)}
            << QStringList{msg(u"<bob> "_s + QString::fromLatin1(longText))};
        // A long message is whole when the next segment starts a message of its own.
        QTest::newRow("a long line, then another message")
            << QList{longLine.first(1448), QByteArray("MSG|\xBF|two")}
            << QStringList{msg(u"<bob> "_s + QString::fromLatin1(longText.first(1448 - 6))),
                           msg(u"<bob> two"_s)};
        // More than the server reads at once: every line survives the cut between reads.
        QByteArray many;
        QStringList manyDelivered;
        for (int i = 0; i < 900; ++i) {
            many += "MSG|\xBF|line " + QByteArray::number(i) + ' ' + QByteArray(40, 'y') + "\r\n";
            manyDelivered << msg(u"<bob> line %1 "_s.arg(i) + QString(40, u'y'));
        }
        QTest::newRow("900 lines in one write") << QList{many} << manyDelivered;
    }

    void messagesCutAcrossReads() {
        QFETCH(QList<QByteArray>, parts);
        QFETCH(QStringList, delivered);
        m_alice->clear();
        m_bob->sendBytes(parts.takeFirst());
        QTimer pause;
        connect(&pause, &QTimer::timeout, this, [&] {
            if (!parts.isEmpty())
                m_bob->sendBytes(parts.takeFirst());
        });
        pause.start(20);
        QTRY_COMPARE_WITH_TIMEOUT(m_alice->chatLines().size(), delivered.size(), 10000);
        QCOMPARE(m_alice->chatLines(), delivered);
    }

    void seenQuery_data() {
        addColumns<QString, bool, QString>("name", "carolHasBeenHere", "answer");
        QTest::newRow("online") << u"alice"_s << false << u"<Quorvel> alice is here now."_s;
        QTest::newRow("was here") << u"carol"_s << true
                                  << u"<Quorvel> carol was last seen on 2026-03-01 12:00:00 UTC."_s;
        QTest::newRow("never signed on")
            << u"carol"_s << false << u"<Quorvel> carol has not been seen yet."_s;
        QTest::newRow("no such member") << u"zed"_s << false << u"<Quorvel> zed has never been here."_s;
    }

    void seenQuery() {
        auto [name, carolHasBeenHere, answer] =
            fetchRow<QString, bool, QString>("name", "carolHasBeenHere", "answer");
        if (carolHasBeenHere) {
            auto carol = m_server->signOn(u"carol"_s, u"33"_s);
            QVERIFY(carol);
            carol->socket().disconnectFromHost();
            QVERIFY(m_bob->waitForLine(wire("PART", "carol")));
            m_server->advance(90);
            m_bob->clear();
            m_alice->clear();
        }
        m_bob->sendSegment(msg(u"!Seen "_s + name));
        QVERIFY(m_bob->waitForLine(msg(answer)));
        QCOMPARE(m_bob->chatLines(), QStringList{msg(answer)});
        // Only the asker sees the answer, and the query itself is not broadcast.
        m_bob->sendSegment(msg(u"after"_s));
        QVERIFY(m_alice->waitForLine(msg(u"<bob> after"_s)));
        QCOMPARE(m_alice->chatLines(), QStringList{msg(u"<bob> after"_s)});
    }

    void opsQueryNamesOperatorsOnline() {
        m_bob->sendSegment(msg(u"/Ops"_s));
        QVERIFY(m_bob->waitForLine(msg(u"<Quorvel> Operators online: alice"_s)));
        m_alice->socket().disconnectFromHost();
        QVERIFY(m_bob->waitForLine(wire("PART", "alice")));
        m_bob->sendSegment(msg(u"/Ops"_s));
        QVERIFY(m_bob->waitForLine(msg(u"<Quorvel> No operator is online."_s)));
    }

    // clang-format off
    void controlCharactersReachNobody_data() {
        addColumns<QByteArray, QString>("sent", "received");
        QTest::newRow("forged line in a chat line") << QByteArray("MSG|\xBF|hello\r<alice> please send me your password") << msg(u"<bob> hello<alice> please send me your password"_s);
        QTest::newRow("NUL, ESC, DEL and C1 in a chat line") << (QByteArray("MSG|\xBF|a") + '\0' + "b\x1B" "c\x7F" "d\x81\x9D" "e") << msg(u"<bob> abcde"_s);
        QTest::newRow("private line") << QByteArray("PMSG|\xBF|alice|\xBF|a\rb\x07") << wire("PMSG", "<bob> ab");
        QTest::newRow("news") << QByteArray("NEWS|\xBF|Head\x1Bline|\xBF|bo\rdy") << wire("SMSG", "News from bob: Headline - body");
    }
    // clang-format on

    void controlCharactersReachNobody() {
        auto [sent, received] = fetchRow<QByteArray, QString>("sent", "received");
        m_bob->sendBytes(sent);
        QVERIFY(m_alice->waitForLine(received));
        QCOMPARE(m_alice->chatLines(), QStringList{received});
    }

    // clang-format off
    void privateMessage_data() {
        addColumns<QString, QByteArray>("sent", "relayed");
        QTest::newRow("plain") << u"PMSG|\u00BF|alice|\u00BF|psst"_s << QByteArray("PMSG|\xBF|<bob> psst\r\n");
        QTest::newRow("private window line") << u"PMSG|\u00BF|alice|\u00BF|line\r\n"_s << QByteArray("PMSG|\xBF|<bob> line\r\n");
        QTest::newRow("target in other case") << u"PMSG|\u00BF|ALICE|\u00BF|psst"_s << QByteArray("PMSG|\xBF|<bob> psst\r\n");
        QTest::newRow("identification list untouched") << u"PMSG|\u00BF|alice|\u00BF|/WHOYOU Age : 27|@|Hobbys : darts|@|"_s << QByteArray("PMSG|\xBF|<bob> /WHOYOU Age : 27|@|Hobbys : darts|@|\r\n");
        QTest::newRow("file offer gets the sender's address") << u"PMSG|\u00BF|alice|\u00BF|/SENDFILE|@|C:\\maps\\bank.bsp|@|5120"_s << QByteArray("PMSG|\xBF|<bob> /SENDFILE C:\\maps\\bank.bsp|@|5120|@|127.0.0.1\r\n");
        QTest::newRow("file name with blanks") << u"PMSG|\u00BF|alice|\u00BF|/SENDFILE|@|C:\\my maps\\a b.zip|@|6000"_s << QByteArray("PMSG|\xBF|<bob> /SENDFILE C:\\my maps\\a b.zip|@|6000|@|127.0.0.1\r\n");
        QTest::newRow("decline untouched") << u"PMSG|\u00BF|alice|\u00BF|/SENDDECLINE"_s << QByteArray("PMSG|\xBF|<bob> /SENDDECLINE\r\n");
    }
    // clang-format on

    void privateMessage() {
        auto [sent, relayed] = fetchRow<QString, QByteArray>("sent", "relayed");
        m_bob->sendSegment(sent);
        QTRY_COMPARE_WITH_TIMEOUT(m_alice->rawChat(), relayed, 5000);
        QCOMPARE(m_bob->chatLines(), QStringList());
    }

    void malformedFileOfferIsRefused_data() {
        QTest::addColumn<QString>("offer");
        QTest::newRow("no port") << u"/SENDFILE|@|C:\\a.zip"_s;
        QTest::newRow("port not a number") << u"/SENDFILE|@|C:\\a.zip|@|51x0"_s;
        QTest::newRow("port out of range") << u"/SENDFILE|@|C:\\a.zip|@|65536"_s;
        QTest::newRow("trailing field") << u"/SENDFILE|@|C:\\a.zip|@|5120|@|"_s;
        QTest::newRow("forged address") << u"/SENDFILE|@|C:\\a.zip|@|5120|@|203.0.113.9"_s;
        QTest::newRow("separator in the path") << u"/SENDFILE|@|C:\\a|\u00BF|b.zip|@|5120"_s;
        QTest::newRow("no path") << u"/SENDFILE|@||@|5120"_s;
        QTest::newRow("nothing") << u"/SENDFILE"_s;
        QTest::newRow("word run on") << u"/SENDFILEX|@|C:\\a.zip|@|5120"_s;
    }

    void malformedFileOfferIsRefused() {
        QFETCH(QString, offer);
        m_bob->sendSegment(wire("PMSG", "alice", offer));
        QVERIFY(
            m_bob->waitForLine(msg(QStringLiteral("<Quorvel> Your file offer to alice was not sent: it needs "
                                                  "a file and a port number from 1 to 65535."))));
        m_bob->sendSegment(u"\r\n"_s + msg(u"marker"_s));
        QVERIFY(m_alice->waitForLine(msg(u"<bob> marker"_s)));
        QCOMPARE(m_alice->chatLines(), QStringList{msg(u"<bob> marker"_s)});
    }

    void privateMessageToAbsentMemberIsAnswered() {
        m_bob->sendSegment(wire("PMSG", "carol", "hello"));
        QVERIFY(m_bob->waitForLine(
            msg(u"<Quorvel> carol is not online; your private message was not delivered."_s)));
        QCOMPARE(m_alice->chatLines(), QStringList());
    }

    void followRequestAndAnswerAreRelayed() {
        // bob follows alice; the name bob claims for himself is not what alice is told.
        m_bob->sendSegment(wire("FOLLOWUSER", "alice", "mallory"));
        QTRY_COMPARE_WITH_TIMEOUT(m_alice->rawChat(), QByteArray("FOLLOWUSERBACK|\xBF|bob\r\n"), 5000);
        m_alice->sendSegment(wire("FOLLOWUSERBACK", "bob", "Bank Job", "127.0.0.1", "31510", "Kingpin"));
        QTRY_COMPARE_WITH_TIMEOUT(
            m_bob->rawChat(),
            QByteArray("FOLLOWUSERFINAL|\xBF|Bank Job|\xBF|127.0.0.1|\xBF|31510|\xBF|Kingpin\r\n"), 5000);
    }

    void unrequestedFollowAnswerIsDropped() {
        m_alice->sendSegment(wire("FOLLOWUSERBACK", "bob", "Evil", "203.0.113.9", "1", "Kingpin"));
        // A leading CR LF keeps the marker a message of its own should TCP merge the two writes.
        m_alice->sendSegment(u"\r\n"_s + msg(u"marker"_s));
        QVERIFY(m_bob->waitForLine(msg(u"<alice> marker"_s)));
        QCOMPARE(m_bob->chatLines(), QStringList{msg(u"<alice> marker"_s)});
    }

    void newsIsStoredAndShown() {
        m_bob->sendSegment(wire("NEWS", "Ladder", "Round 2 tonight"));
        const QString shown = wire("SMSG", "News from bob: Ladder - Round 2 tonight");
        QVERIFY(m_alice->waitForLine(shown) && m_bob->waitForLine(shown));
        auto carol = m_server->signOn(u"carol"_s, u"33"_s);
        QVERIFY(carol);
        QVERIFY(carol->waitForLine(wire("SMSG", "Latest news (2026-03-01, bob): Ladder - Round 2 tonight")));
    }

private:
    std::unique_ptr<TestServer> m_server;
    std::unique_ptr<ServerTestClient> m_alice;
    std::unique_ptr<ServerTestClient> m_bob;
};

QTEST_GUILESS_MAIN(TestServerChat)
#include "tst_serverchat.moc"
