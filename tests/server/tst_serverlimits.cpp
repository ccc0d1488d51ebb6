// What one member can cost the others: silence, over-long lines, junk, floods, many
// connections, and not reading. In every case the others keep being served.
#include "DataRows.h"
#include "TestServer.h"
#include "server/MemberSession.h"

#include <QtTest>
#include <QTcpSocket>

#include <algorithm>
#include <vector>

using namespace Qt::StringLiterals;
using ServerWire::msg;
using ServerWire::wire;

namespace {

// bob (password "1") signs on and then never reads: Qt stops taking data off the kernel at 1 KiB.
bool signOnNonReader(QTcpSocket& bob, TestServer& server, ServerTestClient& witness) {
    bob.setReadBufferSize(1024);
    bob.connectToHost(QHostAddress::LocalHost, server.port());
    if (!bob.waitForConnected(5000))
        return false;
    bob.write("LOGIN|\xBF|bob|\xBF|1");
    bob.flush();
    return witness.waitForLine(wire("JOIN", "bob"));
}

} // namespace

class TestServerLimits : public QObject {
    Q_OBJECT
private slots:
    void silentMemberIsDroppedAfterThreeIntervals() {
        ServerLimits limits = TestServer::testLimits();
        limits.keepAliveMs = 50;
        TestServer server(limits);
        auto alice = server.signOnNew(u"alice"_s);
        auto bob = server.signOnNew(u"bob"_s);
        QVERIFY(alice && bob);
        bob->setAnswerPings(false);
        QVERIFY(bob->waitForDisconnect(3000) && alice->waitForLine(wire("PART", "bob")));
        // bob heard PINGs (as "PING|¿|HH:mm:ss") and said nothing; alice answered hers and stays.
        QVERIFY(bob->lines().count(wire("PING", "12:00:00")) >= 2 && alice->isConnected());
    }

    void hostileSegmentDropsOnlyItsSender_data() {
        addColumns<QByteArray, bool, bool>("junk", "senderDropped", "toldWhy");
        // A sender still writing when its connection ends may lose the notice to the reset.
        QTest::newRow("10 MB line") << QByteArray(10 * 1024 * 1024, 'x') << true << false;
        QTest::newRow("line just over 8 KiB")
            << (QByteArray("MSG|\xBF|") + QByteArray(8 * 1024, 'y') + "\r\n") << true << true;
        QRandomGenerator random(20260301);
        QByteArray noise(6000, '\0');
        for (char& byte : noise)
            byte = static_cast<char>(random.bounded(256));
        QTest::newRow("random bytes") << noise << false << false;
        QTest::newRow("unknown words")
            << QByteArray("HELLO\r\nLIST|\xBF|x\r\nINVALID\r\nDONER\r\n\x00\x01\x02", 36) << false << false;
    }

    void hostileSegmentDropsOnlyItsSender() {
        auto [junk, senderDropped, toldWhy] = fetchRow<QByteArray, bool, bool>("junk", "senderDropped", "toldWhy");
        TestServer server;
        auto alice = server.signOnNew(u"alice"_s);
        auto bob = server.signOnNew(u"bob"_s);
        auto carol = server.signOnNew(u"carol"_s);
        QVERIFY(alice && bob && carol);
        ServerTestClient stranger; // the same junk from a connection that never signed on
        QVERIFY(stranger.connectTo(server.port()) && alice->waitForLine(wire("JOIN", "carol")));
        alice->clear();

        bob->sendBytes(junk);
        stranger.sendBytes(junk);
        if (senderDropped) {
            QVERIFY(bob->waitForDisconnect() && stranger.waitForDisconnect());
            QVERIFY(alice->waitForLine(wire("PART", "bob")));
        }
        if (toldWhy) {
            const QString notice = wire("SMSG", "Line too long; disconnected.");
            QVERIFY(bob->lines().contains(notice) && stranger.lines().contains(notice));
        }
        carol->sendSegment(u"\r\n"_s + msg(u"still fine"_s));
        QVERIFY(alice->waitForLine(msg(u"<carol> still fine"_s)));
        for (const QString& line : alice->chatLines()) {
            QVERIFY2(line.startsWith(msg(u"<carol> "_s)) || line.startsWith(msg(u"<bob> "_s)) ||
                         line == wire("PART", "bob"),
                     qPrintable(line.left(80)));
        }
        QCOMPARE(bob->isConnected(), !senderDropped);
    }

    void floodIsRefusedWithOneNotice() {
        ServerLimits limits = TestServer::testLimits();
        limits.floodLines = 3;
        limits.floodWindowMs = 1000;
        TestServer server(limits);
        auto alice = server.signOnNew(u"alice"_s);
        auto bob = server.signOnNew(u"bob"_s);
        QVERIFY(alice && bob);
        bob->clear();
        // The sign-on used one message of bob's window; two more lines pass.
        bob->sendSegment(
            u"MSG|\u00BF|1\r\nMSG|\u00BF|2\r\nMSG|\u00BF|3\r\nMSG|\u00BF|4\r\nMSG|\u00BF|5\r\n"_s);
        const QString warning = wire("SMSG", "You are sending too fast; some of your lines were dropped.");
        QVERIFY(bob->waitForLine(warning));
        QCOMPARE(bob->chatLines(), (QStringList{msg(u"<bob> 1"_s), msg(u"<bob> 2"_s), warning}));
        server.advance(2);
        bob->sendSegment(msg(u"6"_s));
        QVERIFY(alice->waitForLine(msg(u"<bob> 6"_s)));
        QVERIFY(!alice->lines().contains(msg(u"<bob> 3"_s)));
    }

    void pingsNobodyAskedForAreLimited() {
        ServerLimits limits = TestServer::testLimits();
        limits.floodLines = 3;
        TestServer server(limits);
        auto bob = server.signOnNew(u"bob"_s);
        QVERIFY(bob);
        const QByteArray pings = QByteArray("PING|\xBF|12:00:00\r\n").repeated(50);
        // Before sign-on a connection has a few messages, then it is closed, saying why.
        ServerTestClient stranger;
        QVERIFY(stranger.connectTo(server.port()));
        stranger.sendBytes(pings);
        QVERIFY2(stranger.waitForDisconnect(), qPrintable(stranger.lines().join(u'/')));
        QCOMPARE(stranger.lines(),
                 QStringList{wire("SMSG", "Too many messages before sign-on; disconnected.")});
        // After sign-on a PING that answers none of ours counts like a line.
        bob->clear();
        bob->sendBytes(pings);
        QVERIFY(bob->waitForLine(wire("SMSG", "You are sending too fast; some of your lines were dropped.")));
        QVERIFY(bob->isConnected());
    }

    void manyConnectionsOpenedAndDropped_data() {
        addColumns<int, int, int>("cap", "rounds", "perRound");
        // 5 rounds of 200 keep the test within a default descriptor limit of 1024.
        QTest::newRow("1000 connections, no cap") << 0 << 5 << 200;
        QTest::newRow("cap of 8, 12 at once") << 8 << 1 << 12;
    }

    void manyConnectionsOpenedAndDropped() {
        auto [cap, rounds, perRound] = fetchRow<int, int, int>("cap", "rounds", "perRound");
        ServerLimits limits = TestServer::testLimits();
        limits.connectionsPerAddress = cap;
        TestServer server(limits);
        auto alice = server.signOnNew(u"alice"_s);
        QVERIFY(alice);
        const int membersBefore = server.server().connectionCount();
        for (int round = 0; round < rounds; ++round) {
            std::vector<std::unique_ptr<ServerTestClient>> clients;
            for (int i = 0; i < perRound; ++i) {
                clients.push_back(std::make_unique<ServerTestClient>());
                clients.back()->startConnect(server.port());
            }
            const auto connected = [&] {
                return std::count_if(clients.begin(), clients.end(), [](const auto& c) {
                    return c->socket().state() == QAbstractSocket::ConnectedState || !c->lines().isEmpty();
                });
            };
            QTRY_COMPARE_WITH_TIMEOUT(connected(), qsizetype(perRound), 10000);
            if (cap > 0) {
                const int expectedRefused = perRound - (cap - membersBefore);
                const QStringList refusal{wire("SMSG", "Too many connections from your address.")};
                const auto refused = [&] {
                    return std::count_if(clients.begin(), clients.end(),
                                         [&](const auto& c) { return c->lines() == refusal; });
                };
                QTRY_COMPARE_WITH_TIMEOUT(refused(), qsizetype(expectedRefused), 5000);
                QTRY_COMPARE_WITH_TIMEOUT(server.server().connectionCount(), cap, 5000);
            } else {
                QTRY_COMPARE_WITH_TIMEOUT(server.server().connectionCount(), membersBefore + perRound, 10000);
            }
            for (auto& client : clients)
                client->socket().abort();
            QTRY_COMPARE_WITH_TIMEOUT(server.server().connectionCount(), membersBefore, 10000);
        }
        // The room is unharmed and takes a newcomer.
        auto bob = server.signOnNew(u"bob"_s);
        QVERIFY(bob && alice->waitForLine(wire("JOIN", "bob")));
    }

    void memberThatDoesNotReadIsDropped() {
        ServerLimits limits = TestServer::testLimits();
        limits.floodLines = 1'000'000;
        // Room for a round of alice's lines, which she and carol read only after it is sent.
        limits.maxPendingOutputBytes = 1024 * 1024;
        TestServer server(limits);
        server.addAccount(u"bob"_s, u"1"_s);
        auto alice = server.signOnNew(u"alice"_s);
        auto carol = server.signOnNew(u"carol"_s);
        QVERIFY(alice && carol);

        QTcpSocket bob;
        QVERIFY(signOnNonReader(bob, server, *alice));
        carol->clear();

        // Lines of 7 KiB until the kernel buffers and bob's allowance are full; bounded at 40 MiB.
        const QString payload(7 * 1024, u'z');
        const QString bobLeft = wire("PART", "bob");
        int sent = 0;
        while (!carol->lines().contains(bobLeft) && sent < 6000) {
            for (int i = 0; i < 50; ++i)
                alice->sendSegment(msg(payload) + u"\r\n"_s);
            sent += 50;
            // Wait until carol has had every line so far: she is served all along.
            QTRY_VERIFY_WITH_TIMEOUT(carol->lines().size() >= sent || carol->lines().contains(bobLeft),
                                     10000);
        }
        QVERIFY(carol->waitForLine(bobLeft));
        QTRY_COMPARE_WITH_TIMEOUT(server.server().room().onlineNames(), (QStringList{u"alice"_s, u"carol"_s}),
                                  5000);
        alice->sendSegment(u"\r\n"_s + msg(u"after"_s));
        QVERIFY(carol->waitForLine(msg(u"<alice> after"_s)));
    }

    void kickedMemberThatDoesNotReadIsReleased() {
        ServerLimits limits = TestServer::testLimits();
        limits.floodLines = 1'000'000;
        limits.maxPendingOutputBytes = qint64(1) << 30; // never dropped for not reading
        limits.closeGraceMs = 2000;
        TestServer server(limits);
        server.addAccount(u"bob"_s, u"1"_s);
        auto alice = server.signOnNew(u"alice"_s, u"1"_s, true);
        QVERIFY(alice);
        QTcpSocket bob;
        QVERIFY(signOnNonReader(bob, server, *alice));

        // What the server holds for bob beyond what the kernel took.
        const auto queuedForBob = [&] {
            for (const MemberSession* session : server.server().findChildren<MemberSession*>()) {
                if (session->peerPort() == bob.localPort())
                    return session->pendingOutputBytes();
            }
            return qint64(-1);
        };
        // 14 MB for bob, more than the kernel's buffers take; he reads none of it.
        const QString payload(7 * 1024, u'z');
        for (int round = 0; round < 100; ++round) {
            const qsizetype before = alice->lines().size();
            for (int i = 0; i < 20; ++i)
                alice->sendSegment(msg(payload) + u"\r\n"_s);
            QTRY_VERIFY_WITH_TIMEOUT(alice->lines().size() >= before + 20, 10000);
        }
        alice->sendSegment(wire("OPS", "KICK", "bob"));
        QVERIFY(alice->waitForLine(msg(u"<Quorvel> bob was kicked."_s)));
        // The kick left the server holding data for bob that he will never read...
        QVERIFY(queuedForBob() >= 1024 * 1024);
        // ...and after the grace the connection is let go all the same.
        QTRY_COMPARE_WITH_TIMEOUT(server.server().connectionCount(), 1, 10000);
    }
};

QTEST_GUILESS_MAIN(TestServerLimits)
#include "tst_serverlimits.moc"
