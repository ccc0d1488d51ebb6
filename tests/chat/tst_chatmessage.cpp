#include "DataRows.h"
#include "ScriptedChatServer.h"

#include "chat/ChatAddress.h"
#include "chat/ChatMessage.h"
#include "chat/ChatProtocol.h"
#include "common/Windows1252.h"

#include <QtTest>

using namespace ChatProtocol;
using namespace Qt::StringLiterals;

class ChatMessageTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    // clang-format off
    void build_data() {
        addColumns<QString, QStringList, QByteArray>("word", "args", "wire");
        const auto s = [](const char* t) { return QString::fromLatin1(t); };
        // Every message the program sends is checked byte for byte where it is sent; these are the framing rules.
        QTest::newRow("fields in order") << s("LOGIN") << QStringList{s("ann"), s("1234")} << QByteArray("LOGIN|\xbf|ann|\xbf|1234");
        QTest::newRow("nothing escaped") << s("PMSG") << QStringList{s("bob"), s("/WHOYOU a|@|b|\xbf|")} << QByteArray("PMSG|\xbf|bob|\xbf|/WHOYOU a|@|b|\xbf|");
        QTest::newRow("8-bit text") << s("MSG") << QStringList{QString::fromUtf8("caf\xc3\xa9 \xe2\x82\xac")} << QByteArray("MSG|\xbf|caf\xe9 \x80");
        QTest::newRow("no Windows-1252 byte") << s("MSG") << QStringList{QString::fromUtf8("\xe4\xbd\xa0")} << QByteArray("MSG|\xbf|?");
    }
    // clang-format on

    void build() {
        auto [word, args, wire] = fetchRow<QString, QStringList, QByteArray>("word", "args", "wire");
        QCOMPARE(Windows1252::encode(ChatMessage::build(word, args)), wire);
    }

    // clang-format off
    void splitRead_data() {
        addColumns<QByteArray, QList<QStringList>>("wire", "pieces");
        const auto s = [](const char* t) { return QString::fromLatin1(t); };
        QTest::newRow("two joins in one read") << QByteArray("JOIN|\xbf|ann\r\nJOIN|\xbf|bob\r\n") << QList<QStringList>{QStringList{s("JOIN"), s("ann")}, QStringList{s("JOIN"), s("bob")}, QStringList{s("")}};
        // Reads cut across messages and separators inside chat text are tested where the room shows them.
        QTest::newRow("lone LF is not a break") << QByteArray("MSG|\xbf|a\nb") << QList<QStringList>{QStringList{s("MSG"), s("a\nb")}};
        QTest::newRow("high bytes decode") << QByteArray("MSG|\xbf|\x80\xe9") << QList<QStringList>{QStringList{s("MSG"), QString::fromUtf8("\xe2\x82\xac\xc3\xa9")}};
    }
    // clang-format on

    void splitRead() {
        auto [wire, pieces] = fetchRow<QByteArray, QList<QStringList>>("wire", "pieces");
        QCOMPARE(ChatMessage::splitRead(Windows1252::decode(wire)), pieces);
    }

    // clang-format off
    void serverBox_data() {
        addColumns<QString, QString, int, bool>("box", "host", "port", "tls");
        QTest::newRow("a host: in clear, on the settings' port") << u"chat.example.org"_s << u"chat.example.org"_s << 27800 << false;
        QTest::newRow("tls://host: the TLS port") << u"tls://chat.example.org"_s << u"chat.example.org"_s << 27802 << true;
        QTest::newRow("tls://host:port, any case") << u" TLS://Chat.Example.org:7000/"_s << u"chat.example.org"_s << 7000 << true;
        QTest::newRow("IPv6 in brackets") << u"tls://[::1]:7001"_s << u"::1"_s << 7001 << true;
    }
    // clang-format on

    void serverBox() {
        auto [box, host, port, tls] = fetchRow<QString, QString, int, bool>("box", "host", "port", "tls");
        const ChatAddress address = ChatAddress::parse(box, DefaultChatPort);
        QCOMPARE(address.host, host);
        QCOMPARE(int(address.port), port);
        QCOMPARE(address.tls, tls);
    }

    void sendWritesOneSegmentOnlyWhenConnected() {
        QTcpSocket socket;
        QVERIFY(!ChatMessage::send(socket, QStringLiteral("MSG|\u00BF|lost")));

        ScriptedChatServer server;
        socket.connectToHost(QHostAddress::LocalHost, server.port());
        QVERIFY(socket.waitForConnected(5000));
        QVERIFY(ChatMessage::send(socket, ChatMessage::build(Msg, {QStringLiteral("hi")})));
        QCOMPARE(socket.socketOption(QAbstractSocket::LowDelayOption).toInt(), 1);
        QCOMPARE(socket.bytesToWrite(), 0);
        QTRY_COMPARE_WITH_TIMEOUT(server.received(), QByteArray("MSG|\xbf|hi"), 5000);
    }
};

QTEST_GUILESS_MAIN(ChatMessageTest)
#include "tst_chatmessage.moc"
