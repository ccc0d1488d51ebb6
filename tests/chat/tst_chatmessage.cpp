#include "chat/ChatMessage.h"
#include "chat/ChatProtocol.h"
#include "common/Windows1252.h"

#include <QTcpServer>
#include <QTcpSocket>
#include <QtTest>

using namespace ChatProtocol;

class ChatMessageTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void build_data();
    void build();
    void splitRead_data();
    void splitRead();
    void shortPieceFieldsReadEmpty();
    void sendWritesOneSegmentOnlyWhenConnected();
};

void ChatMessageTest::build_data() {
    QTest::addColumn<QString>("word");
    QTest::addColumn<QStringList>("args");
    QTest::addColumn<QByteArray>("wire");
    const auto s = [](const char* t) { return QString::fromLatin1(t); };
    QTest::newRow("LOGIN") << s("LOGIN") << QStringList{s("ann"), s("1234")} << QByteArray("LOGIN|\xbf|ann|\xbf|1234");
    QTest::newRow("NICK") << s("NICK") << QStringList{s("ann2")} << QByteArray("NICK|\xbf|ann2");
    QTest::newRow("PING with CR LF") << s("PING") << QStringList{s("14:05:09\r\n")}
                                     << QByteArray("PING|\xbf|14:05:09\r\n");
    QTest::newRow("MSG") << s("MSG") << QStringList{s("hello there")} << QByteArray("MSG|\xbf|hello there");
    QTest::newRow("MSG seen") << s("MSG") << QStringList{s("!Seen bob")} << QByteArray("MSG|\xbf|!Seen bob");
    QTest::newRow("PMSG") << s("PMSG") << QStringList{s("bob"), s("hi")} << QByteArray("PMSG|\xbf|bob|\xbf|hi");
    QTest::newRow("PMSG whoami") << s("PMSG") << QStringList{s("bob"), s("/WHOAMI")}
                                 << QByteArray("PMSG|\xbf|bob|\xbf|/WHOAMI");
    QTest::newRow("PMSG whoyou") << s("PMSG") << QStringList{s("bob"), s("/WHOYOU a|@|b|@|")}
                                 << QByteArray("PMSG|\xbf|bob|\xbf|/WHOYOU a|@|b|@|");
    QTest::newRow("PMSG decline") << s("PMSG") << QStringList{s("bob"), s("/SENDDECLINE")}
                                  << QByteArray("PMSG|\xbf|bob|\xbf|/SENDDECLINE");
    QTest::newRow("PMSG ignored") << s("PMSG") << QStringList{s("bob"), s("User has ignored you")}
                                  << QByteArray("PMSG|\xbf|bob|\xbf|User has ignored you");
    QTest::newRow("PMSG ignoring all") << s("PMSG") << QStringList{s("bob"), s("is ignoring all PM msg's")}
                                       << QByteArray("PMSG|\xbf|bob|\xbf|is ignoring all PM msg's");
    QTest::newRow("FOLLOWUSER") << s("FOLLOWUSER") << QStringList{s("bob"), s("ann")}
                                << QByteArray("FOLLOWUSER|\xbf|bob|\xbf|ann");
    QTest::newRow("FOLLOWUSERBACK")
        << s("FOLLOWUSERBACK") << QStringList{s("ann"), s("Fred's Bar"), s("10.0.0.5"), s("31510"), s("Kingpin")}
        << QByteArray("FOLLOWUSERBACK|\xbf|ann|\xbf|Fred's Bar|\xbf|10.0.0.5|\xbf|31510|\xbf|Kingpin");
    QTest::newRow("NEWS") << s("NEWS") << QStringList{s("Title"), s("Body text")}
                          << QByteArray("NEWS|\xbf|Title|\xbf|Body text");
    QTest::newRow("OPS KICK") << s("OPS") << QStringList{s("KICK"), s("bob")} << QByteArray("OPS|\xbf|KICK|\xbf|bob");
    QTest::newRow("OPS BAN") << s("OPS") << QStringList{s("BAN"), s("bob")} << QByteArray("OPS|\xbf|BAN|\xbf|bob");
    QTest::newRow("OPS SUBNET") << s("OPS") << QStringList{s("SUBNET"), s("bob")}
                                << QByteArray("OPS|\xbf|SUBNET|\xbf|bob");
    QTest::newRow("OPS MUZZLE") << s("OPS") << QStringList{s("MUZZLE"), s("bob")}
                                << QByteArray("OPS|\xbf|MUZZLE|\xbf|bob");
    QTest::newRow("OPS CSB") << s("OPS") << QStringList{s("CSB")} << QByteArray("OPS|\xbf|CSB");
    QTest::newRow("OPS CPB") << s("OPS") << QStringList{s("CPB")} << QByteArray("OPS|\xbf|CPB");
    QTest::newRow("OPS CRB") << s("OPS") << QStringList{s("CRB")} << QByteArray("OPS|\xbf|CRB");
    QTest::newRow("8-bit text") << s("MSG") << QStringList{QString::fromUtf8("caf\xc3\xa9 \xe2\x82\xac")}
                                << QByteArray("MSG|\xbf|caf\xe9 \x80");
    QTest::newRow("no Windows-1252 byte") << s("MSG") << QStringList{QString::fromUtf8("\xe4\xbd\xa0")}
                                          << QByteArray("MSG|\xbf|?");
}

void ChatMessageTest::build() {
    QFETCH(QString, word);
    QFETCH(QStringList, args);
    QFETCH(QByteArray, wire);
    QCOMPARE(Windows1252::encode(ChatMessage::build(word, args)), wire);
}

void ChatMessageTest::splitRead_data() {
    QTest::addColumn<QByteArray>("wire");
    QTest::addColumn<QList<QStringList>>("pieces");
    const auto s = [](const char* t) { return QString::fromLatin1(t); };
    QTest::newRow("two joins in one read")
        << QByteArray("JOIN|\xbf|ann\r\nJOIN|\xbf|bob\r\n")
        << QList<QStringList>{QStringList{s("JOIN"), s("ann")}, QStringList{s("JOIN"), s("bob")}, QStringList{s("")}};
    QTest::newRow("cut across reads: first half")
        << QByteArray("JOIN|\xbf|an") << QList<QStringList>{QStringList{s("JOIN"), s("an")}};
    QTest::newRow("cut across reads: second half")
        << QByteArray("n\r\n") << QList<QStringList>{QStringList{s("n")}, QStringList{s("")}};
    QTest::newRow("separator inside chat text")
        << QByteArray("MSG|\xbf|<ann> a|\xbf|b") << QList<QStringList>{QStringList{s("MSG"), s("<ann> a"), s("b")}};
    QTest::newRow("no terminator") << QByteArray("PING") << QList<QStringList>{QStringList{s("PING")}};
    QTest::newRow("lone LF is not a break")
        << QByteArray("MSG|\xbf|a\nb") << QList<QStringList>{QStringList{s("MSG"), s("a\nb")}};
    QTest::newRow("high bytes decode") << QByteArray("MSG|\xbf|\x80\xe9")
                                       << QList<QStringList>{QStringList{s("MSG"), QString::fromUtf8("\xe2\x82\xac\xc3\xa9")}};
}

void ChatMessageTest::splitRead() {
    QFETCH(QByteArray, wire);
    QFETCH(QList<QStringList>, pieces);
    QCOMPARE(ChatMessage::splitRead(Windows1252::decode(wire)), pieces);
}

void ChatMessageTest::shortPieceFieldsReadEmpty() {
    const QStringList fields = ChatMessage::splitFields(QStringLiteral("JOIN"));
    QCOMPARE(ChatMessage::field(fields, 0), QStringLiteral("JOIN"));
    QCOMPARE(ChatMessage::field(fields, 1), QString());
    QCOMPARE(ChatMessage::field(fields, 99), QString());
}

void ChatMessageTest::sendWritesOneSegmentOnlyWhenConnected() {
    QTcpSocket socket;
    QVERIFY(!ChatMessage::send(socket, QStringLiteral("MSG|\u00BF|lost")));

    QTcpServer server;
    QVERIFY(server.listen(QHostAddress::LocalHost, 0));
    socket.connectToHost(QHostAddress::LocalHost, server.serverPort());
    QVERIFY(socket.waitForConnected(5000));
    QTRY_VERIFY(server.hasPendingConnections());
    QTcpSocket* peer = server.nextPendingConnection();

    QVERIFY(ChatMessage::send(socket, ChatMessage::build(Msg, {QStringLiteral("hi")})));
    QCOMPARE(socket.socketOption(QAbstractSocket::LowDelayOption).toInt(), 1);
    QCOMPARE(socket.bytesToWrite(), 0);
    QByteArray got;
    QTRY_COMPARE_WITH_TIMEOUT((got += peer->readAll(), got), QByteArray("MSG|\xbf|hi"), 5000);
}

QTEST_GUILESS_MAIN(ChatMessageTest)
#include "tst_chatmessage.moc"
