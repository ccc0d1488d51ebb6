// Sign-on, refusal, the NICK exchange for an account already signed on, the work behind each
// answer, the spacing of failed attempts, and the room's pace while a flood of sign-ons is checked.
#include "DataRows.h"
#include "TestServer.h"

#include "server/AccountStore.h"
#include "server/PasswordHash.h"
#include "server/SignOnThrottle.h"

#include <QtTest>

#include <algorithm>

using namespace Qt::StringLiterals;
using ServerWire::wire;

namespace {

// An account whose password check costs five times the production default.
bool addSlowAccount(TestServer& server, const QString& name, const QString& password) {
    AccountStore::NewAccount account;
    account.name = name;
    return server.store().createAccount(account, PasswordHash::make(password, 100000), 0, server.now()) ==
           AccountStore::CreateResult::Created;
}

// Connections that sign on with a wrong password, again and again, as fast as they are answered.
class LoginFlood : public QObject {
public:
    LoginFlood(quint16 port, const QString& name, int connections) {
        const QByteArray login = "LOGIN|\xBF|" + name.toLatin1() + "|\xBF|wrong";
        for (int i = 0; i < connections; ++i) {
            auto* socket = new QTcpSocket(this);
            connect(socket, &QTcpSocket::connected, socket, [socket, login] { socket->write(login); });
            connect(socket, &QTcpSocket::readyRead, socket,
                    [this, socket] { m_answers += int(socket->readAll().count("INVALID")); });
            // Queued: the socket is still closing while it reports.
            connect(
                socket, &QTcpSocket::disconnected, socket,
                [socket, port] { socket->connectToHost(QHostAddress::LocalHost, port); }, Qt::QueuedConnection);
            socket->connectToHost(QHostAddress::LocalHost, port);
        }
    }
    int answers() const { return m_answers; }

private:
    int m_answers = 0;
};

// Median round trip of a public line from bob back to bob, over `count` lines sent a line every
// 20 ms (or at once when the last took longer), so that they fall at times that have nothing to
// do with what the server is busy with.
double medianRoundTripMs(ServerTestClient& bob, int count) {
    QList<double> times;
    QElapsedTimer clock;
    QString awaited;
    QEventLoop loop;
    QTimer pace;
    const auto sendNext = [&] {
        if (!awaited.isEmpty())
            return;
        bob.clear();
        const QString text = u"ping %1"_s.arg(times.size());
        awaited = wire("MSG", "<bob> " + text);
        clock.start();
        bob.sendSegment(wire("MSG", text + "\r\n"));
    };
    QObject::connect(&pace, &QTimer::timeout, &loop, sendNext);
    QObject::connect(&bob.socket(), &QTcpSocket::readyRead, &loop, [&] {
        // Queued behind the client's own reading of the line.
        QMetaObject::invokeMethod(
            &loop,
            [&] {
                if (awaited.isEmpty() || !bob.lines().contains(awaited))
                    return;
                times << clock.nsecsElapsed() / 1e6;
                awaited.clear();
                if (times.size() == count)
                    loop.quit();
            },
            Qt::QueuedConnection);
    });
    QTimer::singleShot(60000, &loop, &QEventLoop::quit);
    pace.start(20);
    sendNext();
    loop.exec();
    if (times.size() < count)
        return -1;
    std::sort(times.begin(), times.end());
    return times.at(times.size() / 2);
}

// Connects from the given loopback address and sends LOGIN; false when it could not connect.
bool sendLogin(ServerTestClient& client, TestServer& server, const QString& from, const QString& name,
               const QString& password) {
    if (!client.connectFrom(from, server.port()))
        return false;
    client.sendSegment(wire("LOGIN", name, password));
    return true;
}

} // namespace

class TestServerSignOn : public QObject {
    Q_OBJECT
private slots:
    void newcomerGetsEveryNameAndOthersGetJoin() {
        TestServer server;
        auto alice = server.signOnNew(u"alice"_s);
        QVERIFY(alice);
        QCOMPARE(alice->rawChat(), QByteArray("LIST|\xBF|alice\r\n"));
        auto bob = server.signOnNew(u"bob"_s);
        QVERIFY(bob);
        QCOMPARE(bob->rawChat(), QByteArray("LIST|\xBF|alice\r\nLIST|\xBF|bob\r\n"));
        QVERIFY(alice->waitForLine(wire("JOIN", "bob")));
        QCOMPARE(alice->rawChat(), QByteArray("LIST|\xBF|alice\r\nJOIN|\xBF|bob\r\n"));
    }

    void refusedSignOn_data() {
        addColumns<QString, QString>("login", "banKind");
        QTest::newRow("unknown account") << wire("LOGIN", "nobody", "22") << QString();
        QTest::newRow("wrong password") << wire("LOGIN", "bob", "23") << QString();
        QTest::newRow("password missing") << wire("LOGIN", "bob") << QString();
        QTest::newRow("name with a blank") << wire("LOGIN", "b ob", "22") << QString();
        QTest::newRow("name under a timed ban") << wire("LOGIN", "bob", "22") << u"timed"_s;
        QTest::newRow("name under a permanent ban") << wire("LOGIN", "bob", "22") << u"permanent"_s;
        QTest::newRow("address under a timed ban") << wire("LOGIN", "bob", "22") << u"address"_s;
        QTest::newRow("subnet banned") << wire("LOGIN", "bob", "22") << u"subnet"_s;
    }

    void refusedSignOn() {
        auto [login, banKind] = fetchRow<QString, QString>("login", "banKind");
        TestServer server;
        server.addAccount(u"bob"_s, u"22"_s);
        // Address bans also cover alice, who comes from the same 127.0.0.1: she signs on first.
        auto alice = server.signOnNew(u"alice"_s);
        QVERIFY(alice);
        const QDateTime later = server.now().addSecs(3600);
        if (banKind == u"timed")
            server.store().addBan(BanKind::Timed, u"bob"_s, u"192.0.2.7"_s, later);
        else if (banKind == u"permanent")
            server.store().addBan(BanKind::Permanent, u"BOB"_s, QString(), std::nullopt);
        else if (banKind == u"address")
            server.store().addBan(BanKind::Timed, u"someone"_s, u"127.0.0.1"_s, later);
        else if (banKind == u"subnet")
            server.store().addBan(BanKind::Subnet, u"someone"_s, u"127.0.0"_s, std::nullopt);

        ServerTestClient bob;
        QVERIFY(bob.connectTo(server.port()));
        const quint64 before = PasswordHash::derivationCount();
        bob.sendSegment(login);
        QVERIFY(bob.waitForDisconnect());
        QCOMPARE(bob.rawChat(), QByteArray("INVALID\r\n"));
        // Counted, not timed: every refusal costs what checking a real password costs.
        QCOMPARE(PasswordHash::derivationCount() - before, quint64(1));
        QVERIFY(!alice->chatLines().join(u'\n').contains(u"bob"));
    }

    void accountAlreadyOnlineMustChooseAnotherName_data() {
        addColumns<QString, bool>("answer", "accepted");
        // What a name may hold at all is in tst_serverrules; these are the rules of the second session.
        QTest::newRow("the name already online") << u"alice"_s << false;
        QTest::newRow("the same name in other case") << u"ALICE"_s << false;
        QTest::newRow("another member's account name") << u"carol"_s << false;
        QTest::newRow("the server's own name") << u"Quorvel"_s << false;

        QTest::newRow("a free name that a future account could want") << u"alice_2"_s << false;
        QTest::newRow("another account's session form") << u"carol@home"_s << false;
        QTest::newRow("no tag") << u"alice@"_s << false;
        QTest::newRow("session name") << u"alice@home"_s << true;
        QTest::newRow("session name in other case") << u"ALICE@Home"_s << true;
    }

    void accountAlreadyOnlineMustChooseAnotherName() {
        auto [answer, accepted] = fetchRow<QString, bool>("answer", "accepted");
        TestServer server;
        server.addAccount(u"carol"_s, u"33"_s);
        auto first = server.signOnNew(u"alice"_s, u"11"_s);
        QVERIFY(first);

        ServerTestClient second;
        QVERIFY(second.connectTo(server.port()));
        second.sendSegment(wire("LOGIN", "alice", "11"));
        QVERIFY(second.waitForLine(u"NICK"_s));
        second.clear();
        second.sendSegment(wire("NICK", answer));
        if (accepted) {
            QVERIFY(second.waitForLine(wire("LIST", answer)));
            QCOMPARE(second.chatLines(), (QStringList{wire("LIST", "alice"), wire("LIST", answer)}));
            QVERIFY(first->waitForLine(wire("JOIN", answer)));
        } else {
            QVERIFY(second.waitForLine(u"NICK"_s));
            QCOMPARE(second.rawChat(),
                     QByteArray("SMSG|\xBF|alice is already signed on. Choose a name of the form alice@place, at "
                                "most 20 characters, for example alice@home.\r\nNICK\r\n"));
            QVERIFY(second.isConnected());
            QCOMPARE(server.server().room().onlineNames(), QStringList{u"alice"_s});
        }
    }

    void nothingButSignOnIsHeardBeforeSignOn() {
        TestServer server;
        auto alice = server.signOnNew(u"alice"_s);
        QVERIFY(alice);
        ServerTestClient stranger;
        QVERIFY(stranger.connectTo(server.port()));
        // CR LF ended, so that they stay separate messages however TCP groups them.
        stranger.sendSegment(wire("MSG", "hello\r\n"));
        stranger.sendSegment(wire("OPS", "CPB\r\n"));
        // A sign-on after the ignored lines shows that they were read and passed over.
        server.addAccount(u"bob"_s, u"22"_s);
        stranger.sendSegment(wire("LOGIN", "bob", "22"));
        QVERIFY(alice->waitForLine(wire("JOIN", "bob")));
        QCOMPARE(alice->chatLines(), (QStringList{wire("LIST", "alice"), wire("JOIN", "bob")}));
    }

    void leavingWhileBeingCheckedHarmsNobody_data() {
        addColumns<QString, bool>("request", "serverStops");
        QTest::newRow("LOGIN, member leaves") << wire("LOGIN", "bob", "22") << false;
        QTest::newRow("NEWACCOUNT, member leaves") << wire("NEWACCOUNT", "dave", "44") << false;
        QTest::newRow("LOGIN, server stops") << wire("LOGIN", "bob", "22") << true;
        QTest::newRow("NEWACCOUNT, server stops") << wire("NEWACCOUNT", "dave", "44") << true;
    }

    void leavingWhileBeingCheckedHarmsNobody() {
        auto [request, serverStops] = fetchRow<QString, bool>("request", "serverStops");
        auto server = std::make_unique<TestServer>();
        // Slow, so that the check is still running when the member leaves.
        QVERIFY(addSlowAccount(*server, u"bob"_s, u"22"_s));
        auto alice = server->signOnNew(u"alice"_s);
        QVERIFY(alice);
        const quint64 before = PasswordHash::derivationCount();
        {
            ServerTestClient leaver;
            QVERIFY(leaver.connectTo(server->port()));
            leaver.sendSegment(request);
            QTRY_VERIFY_WITH_TIMEOUT(PasswordHash::derivationCount() > before, 5000);
            if (serverStops) {
                server.reset(); // with the derivation or the change possibly still under way
                return;
            }
            leaver.socket().abort();
        }
        QTRY_COMPARE_WITH_TIMEOUT(server->server().connectionCount(), 1, 5000);
        // The answer to nobody was dropped; the room is whole and the next sign-on works.
        QVERIFY(server->signOn(u"bob"_s, u"22"_s) && alice->waitForLine(wire("JOIN", "bob")));
    }

    // clang-format off
    void throttleSpacesOutFailedAttempts_data() {
        // Steps: "try ADDRESS NAME" (its wait is recorded), "leave" (the last try gives its turn
        // back), "ok ADDRESS NAME", "pass MS", and "N*ADDRESS NAME" for N tries that each fail when
        // their turn comes. Three free failures, then 1 s doubling to at most 4 s, forgotten after 60 s.
        addColumns<QString, QList<qint64>>("steps", "waits");
        QTest::newRow("spacing doubles up to the ceiling") << u"8*A x"_s << QList<qint64>{0, 0, 0, 0, 1000, 2000, 4000, 4000};
        QTest::newRow("the address waits whatever the name") << u"1*A x, 1*A y, 1*A z, 1*A v, try A w"_s << QList<qint64>{0, 0, 0, 0, 1000};
        QTest::newRow("the name waits whatever the address") << u"1*B x, 1*C x, 1*D x, 1*E x, try F x"_s << QList<qint64>{0, 0, 0, 0, 1000};
        QTest::newRow("an address the member signed on from does not wait for the name") << u"ok H x, 4*B x, try F x, try H x"_s << QList<qint64>{0, 0, 0, 0, 1000, 0};
        QTest::newRow("a quiet spell forgets") << u"5*A x, pass 70000, try A x, try A x"_s << QList<qint64>{0, 0, 0, 0, 1000, 0, 0};
        QTest::newRow("an address has one attempt waiting at most") << u"4*A x, try A x, try A y, try B x"_s << QList<qint64>{0, 0, 0, 0, 1000, -1, 3000};
        QTest::newRow("a turn given back is free again") << u"4*A x, try B x, leave, try B x, try C x"_s << QList<qint64>{0, 0, 0, 0, 1000, 1000, 3000};
        QTest::newRow("success clears the name, not the address") << u"4*A x, ok A x, try A y, try G x"_s << QList<qint64>{0, 0, 0, 0, 1000, 0};
    }
    // clang-format on

    void throttleSpacesOutFailedAttempts() {
        auto [steps, waits] = fetchRow<QString, QList<qint64>>("steps", "waits");
        qint64 now = 0;
        SignOnThrottle throttle(
            {.freeFailures = 3, .firstDelayMs = 1000, .longestDelayMs = 4000, .forgetAfterMs = 60000},
            [&now] { return now; });
        QList<qint64> seen;
        QList<std::pair<QStringList, qint64>> tries;
        for (const QString& step : steps.split(u", "_s)) {
            const QStringList words = step.split(u' ');
            if (words[0].contains(u'*')) {
                for (int i = words[0].section(u'*', 0, 0).toInt(); i > 0; --i) {
                    seen << throttle.admit(words[0].section(u'*', 1), words[1]).waitMs;
                    now += seen.last();
                    throttle.failed(words[0].section(u'*', 1), words[1]);
                }
            } else if (words[0] == u"try") {
                const SignOnThrottle::Ticket ticket = throttle.admit(words[1], words[2]);
                seen << ticket.waitMs;
                tries.append({words, ticket.id});
            } else if (words[0] == u"leave") {
                const auto [tried, id] = tries.takeLast();
                throttle.giveBack(tried[1], tried[2], id);
            } else if (words[0] == u"ok") {
                throttle.succeeded(words[1], words[2]);
            } else {
                now += words[1].toLongLong();
            }
        }
        QCOMPARE(seen, waits);
    }

    void strangerIsSlowedWhileTheMemberGetsIn() {
        ServerLimits limits = TestServer::testLimits();
        limits.signOnDelayMs = 3000;
        TestServer server(limits);
        server.addAccount(u"alice"_s, u"11"_s);
        const auto attempt = [&](ServerTestClient& client, const QString& from, const QString& password) {
            return sendLogin(client, server, from, u"alice"_s, password);
        };
        {
            ServerTestClient earlier; // alice signed on from home before
            QVERIFY(attempt(earlier, u"127.0.0.2"_s, u"11"_s) && earlier.waitForLine(wire("LIST", "alice")));
        }
        for (int i = 0; i < 4; ++i) {
            ServerTestClient guess;
            QVERIFY(attempt(guess, u"127.0.0.3"_s, QString::number(i)) && guess.waitForLine(u"INVALID"_s));
        }
        // The stranger's next guess waits its turn; alice from home does not wait behind it.
        ServerTestClient guess;
        QElapsedTimer guessClock;
        guessClock.start();
        QVERIFY(attempt(guess, u"127.0.0.3"_s, u"5"_s));
        ServerTestClient alice;
        QTRY_COMPARE_WITH_TIMEOUT(server.server().room().onlineNames(), QStringList(), 5000);
        QVERIFY(attempt(alice, u"127.0.0.2"_s, u"11"_s) && alice.waitForLine(wire("LIST", "alice"), 2500));
        QCOMPARE(guess.lines(), QStringList());
        QVERIFY(guess.waitForLine(u"INVALID"_s, 15000));
        // Its turn was set 3 s after the previous guess was let through, a moment before this clock began.
        QVERIFY(guessClock.elapsed() >= 2500);
    }

    void connectionsLeavingBeforeTheirTurnHoldNobodyUp() {
        ServerLimits limits = TestServer::testLimits();
        limits.signOnDelayMs = 300;
        TestServer server(limits);
        server.addAccount(u"alice"_s, u"11"_s);
        for (int i = 0; i < 5; ++i) {
            ServerTestClient guess;
            QVERIFY(sendLogin(guess, server, u"127.0.0.3"_s, u"alice"_s, u"9"_s) &&
                    guess.waitForLine(u"INVALID"_s, 10000));
        }
        // While one attempt from the address waits its turn, another one is refused, saying why.
        {
            ServerTestClient waiting;
            ServerTestClient another;
            QVERIFY(sendLogin(waiting, server, u"127.0.0.3"_s, u"alice"_s, u"9"_s));
            QTRY_COMPARE_WITH_TIMEOUT(server.server().connectionCount(), 1, 5000);
            QVERIFY(sendLogin(another, server, u"127.0.0.3"_s, u"alice"_s, u"9"_s));
            QVERIFY(
                another.waitForLine(wire("SMSG", "A sign-on from your address is already waiting its turn; "
                                                 "please try again once it is answered.")));
        }
        QTRY_COMPARE_WITH_TIMEOUT(server.server().connectionCount(), 0, 5000);
        // Eight attempts that each take a turn 1.2 s after the one before, and leave at once.
        for (int i = 0; i < 8; ++i) {
            ServerTestClient gone;
            QVERIFY(sendLogin(gone, server, u"127.0.0.3"_s, u"alice"_s, u"9"_s));
            QTRY_COMPARE_WITH_TIMEOUT(server.server().connectionCount(), 1, 5000);
            gone.socket().abort();
            QTRY_COMPARE_WITH_TIMEOUT(server.server().connectionCount(), 0, 5000);
        }
        // alice, from a new address, waits for one spacing, not behind eight given-up turns.
        ServerTestClient alice;
        QVERIFY(sendLogin(alice, server, u"127.0.0.4"_s, u"alice"_s, u"11"_s) &&
                alice.waitForLine(wire("LIST", "alice"), 4000));
    }

    void signingOnAgainIsPaced() {
        ServerLimits limits = TestServer::testLimits();
        limits.signOnAgainMs = 60000;
        limits.signOnsPerAddressPerMinute = 2;
        TestServer server(limits);
        for (const QString& name : {u"alice"_s, u"bob"_s, u"carol"_s})
            server.addAccount(name, u"1"_s);
        const auto signOn = [&](const QString& name) {
            auto client = std::make_unique<ServerTestClient>();
            sendLogin(*client, server, u"127.0.0.2"_s, name, u"1"_s);
            return client;
        };
        const auto refusal = [](ServerTestClient& client) {
            return client.waitForDisconnect() && client.lines().size() == 1 ? client.lines().first()
                                                                            : QString();
        };
        QVERIFY(signOn(u"alice"_s)->waitForLine(wire("LIST", "alice")));
        QTRY_COMPARE_WITH_TIMEOUT(server.server().connectionCount(), 0, 5000);
        // The same account again at once: refused, saying how long to wait; nothing was checked.
        QVERIFY(
            refusal(*signOn(u"alice"_s)).startsWith(wire("SMSG", "You signed on moments ago; please wait ")));
        QVERIFY(signOn(u"bob"_s)->waitForLine(wire("LIST", "bob")));
        // A third sign-on from the address within the minute.
        QVERIFY(refusal(*signOn(u"carol"_s))
                    .startsWith(wire("SMSG", "Too many sign-ons from your address; please wait ")));
    }

    void bystanderKeepsItsPaceDuringALoginFlood() {
        ServerLimits limits = TestServer::testLimits();
        limits.signOnDelayMs = 0; // the flood is about the cost of checking, not the spacing of guesses
        TestServer server(limits);
        // Slow, so that each check costs tens of milliseconds on fast machines too.
        QVERIFY(addSlowAccount(server, u"target"_s, u"x"_s));
        server.addAccount(u"bob"_s, u"22"_s);
        // Bob and the flood run on a thread of their own, so that the room has a real event loop here.
        double idle = -1;
        double flooded = -1;
        int floodAnswers = 0;
        std::unique_ptr<QThread> probe(QThread::create([&, port = server.port()] {
            ServerTestClient bob;
            bob.connectTo(port);
            bob.sendSegment(wire("LOGIN", "bob", "22"));
            if (!bob.waitForLine(wire("LIST", "bob"), 30000))
                return;
            idle = medianRoundTripMs(bob, 25);
            LoginFlood flood(port, u"target"_s, 8);
            if (!QTest::qWaitFor([&] { return flood.answers() >= 8; }, 60000))
                return;
            flooded = medianRoundTripMs(bob, 25);
            // A loaded machine may still be checking the LOGINs sent meanwhile: their answers count.
            if (!QTest::qWaitFor([&] { return flood.answers() > 8; }, 60000))
                return;
            floodAnswers = flood.answers();
        }));
        QSignalSpy finished(probe.get(), &QThread::finished);
        probe->start();
        QVERIFY(finished.wait(120000));
        QVERIFY(idle >= 0 && flooded >= 0);
        QVERIFY(floodAnswers > 8); // the flood went on while bob talked
        // Checked on the event loop, the flood made bob's round trip hundreds of times slower. Below a
        // millisecond the scheduler decides, so that is the floor.
        const double ratio = flooded / std::max(idle, 1.0);
        qInfo("bystander round trip: idle %.2f ms, during the flood %.2f ms, ratio %.1f", idle, flooded, ratio);
        QVERIFY2(ratio < 20, qPrintable(u"ratio %1"_s.arg(ratio)));
    }
};

QTEST_GUILESS_MAIN(TestServerSignOn)
#include "tst_serversignon.moc"
