// Sign-on, refusal, the NICK exchange for an account already signed on, and departures; the
// work behind each answer, the spacing of failed attempts, and the room's pace while a flood of
// sign-ons is checked.
#include "TestServer.h"

#include "server/AccountStore.h"
#include "server/PasswordHash.h"
#include "server/SignOnThrottle.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QSignalSpy>
#include <QTest>
#include <QThread>
#include <QTimer>

#include <algorithm>
#include <atomic>

using ServerWire::msg;
using ServerWire::S;

class TestServerSignOn : public QObject {
    Q_OBJECT
private slots:
    void newcomerGetsEveryNameAndOthersGetJoin();
    void refusedSignOn_data();
    void refusedSignOn();
    void accountAlreadyOnlineMustChooseAnotherName_data();
    void accountAlreadyOnlineMustChooseAnotherName();
    void departureIsAPartToTheOthers();
    void nothingButSignOnIsHeardBeforeSignOn();
    void everyAnswerComesAfterOneDerivation_data();
    void everyAnswerComesAfterOneDerivation();
    void leavingWhileBeingCheckedHarmsNobody_data();
    void leavingWhileBeingCheckedHarmsNobody();
    void throttleSpacesOutFailedAttempts_data();
    void throttleSpacesOutFailedAttempts();
    void strangerIsSlowedWhileTheMemberGetsIn();
    void bystanderKeepsItsPaceDuringALoginFlood();
};

void TestServerSignOn::newcomerGetsEveryNameAndOthersGetJoin() {
    TestServer server;
    server.addAccount(QStringLiteral("alice"), QStringLiteral("11"));
    server.addAccount(QStringLiteral("bob"), QStringLiteral("22"));
    auto alice = server.signOn(QStringLiteral("alice"), QStringLiteral("11"));
    QVERIFY(alice);
    QCOMPARE(alice->rawChat(), QByteArray("LIST|\xBF|alice\r\n"));

    auto bob = server.signOn(QStringLiteral("bob"), QStringLiteral("22"));
    QVERIFY(bob);
    QCOMPARE(bob->rawChat(), QByteArray("LIST|\xBF|alice\r\nLIST|\xBF|bob\r\n"));
    QVERIFY(alice->waitForLine(QStringLiteral("JOIN") + S + QStringLiteral("bob")));
    QCOMPARE(alice->rawChat(), QByteArray("LIST|\xBF|alice\r\nJOIN|\xBF|bob\r\n"));
    QCOMPARE(server.server().room().onlineNames(),
             (QStringList{QStringLiteral("alice"), QStringLiteral("bob")}));
}

void TestServerSignOn::refusedSignOn_data() {
    QTest::addColumn<QString>("login");
    QTest::addColumn<QString>("banKind");
    QTest::newRow("unknown account") << QStringLiteral("LOGIN|\u00BF|nobody|\u00BF|22") << QString();
    QTest::newRow("wrong password") << QStringLiteral("LOGIN|\u00BF|bob|\u00BF|23") << QString();
    QTest::newRow("password missing") << QStringLiteral("LOGIN|\u00BF|bob") << QString();
    QTest::newRow("name with a blank") << QStringLiteral("LOGIN|\u00BF|b ob|\u00BF|22") << QString();
    QTest::newRow("name under a timed ban")
        << QStringLiteral("LOGIN|\u00BF|bob|\u00BF|22") << QStringLiteral("timed");
    QTest::newRow("name under a permanent ban")
        << QStringLiteral("LOGIN|\u00BF|bob|\u00BF|22") << QStringLiteral("permanent");
    QTest::newRow("address under a timed ban")
        << QStringLiteral("LOGIN|\u00BF|bob|\u00BF|22") << QStringLiteral("address");
    QTest::newRow("subnet banned") << QStringLiteral("LOGIN|\u00BF|bob|\u00BF|22")
                                   << QStringLiteral("subnet");
}

void TestServerSignOn::refusedSignOn() {
    QFETCH(QString, login);
    QFETCH(QString, banKind);
    TestServer server;
    server.addAccount(QStringLiteral("alice"), QStringLiteral("11"));
    server.addAccount(QStringLiteral("bob"), QStringLiteral("22"));
    // Address bans also cover alice, who comes from the same 127.0.0.1: she signs on first.
    auto alice = server.signOn(QStringLiteral("alice"), QStringLiteral("11"));
    QVERIFY(alice);
    const QDateTime later = server.now().addSecs(3600);
    if (banKind == QLatin1String("timed"))
        server.store().addBan(BanKind::Timed, QStringLiteral("bob"), QStringLiteral("192.0.2.7"), later);
    else if (banKind == QLatin1String("permanent"))
        server.store().addBan(BanKind::Permanent, QStringLiteral("BOB"), QString(), std::nullopt);
    else if (banKind == QLatin1String("address"))
        server.store().addBan(BanKind::Timed, QStringLiteral("someone"), QStringLiteral("127.0.0.1"), later);
    else if (banKind == QLatin1String("subnet"))
        server.store().addBan(BanKind::Subnet, QStringLiteral("someone"), QStringLiteral("127.0.0"),
                              std::nullopt);

    ServerTestClient bob;
    QVERIFY(bob.connectTo(server.port()));
    bob.sendSegment(login);
    QVERIFY(bob.waitForDisconnect());
    QCOMPARE(bob.rawChat(), QByteArray("INVALID\r\n"));
    QCOMPARE(server.server().room().onlineNames(), QStringList{QStringLiteral("alice")});
    QVERIFY(!alice->chatLines().join(u'\n').contains(QLatin1String("bob")));
}

void TestServerSignOn::accountAlreadyOnlineMustChooseAnotherName_data() {
    QTest::addColumn<QString>("answer");
    QTest::addColumn<bool>("accepted");
    QTest::newRow("the name already online") << QStringLiteral("alice") << false;
    QTest::newRow("the same name in other case") << QStringLiteral("ALICE") << false;
    QTest::newRow("another member's account name") << QStringLiteral("carol") << false;
    QTest::newRow("the server's own name") << QStringLiteral("Quorvel") << false;
    QTest::newRow("a blank inside") << QStringLiteral("al ice") << false;
    QTest::newRow("angle bracket") << QStringLiteral("<alice>") << false;
    QTest::newRow("empty") << QString() << false;
    QTest::newRow("21 characters") << QStringLiteral("a").repeated(21) << false;
    QTest::newRow("soft hyphen inside") << QStringLiteral("alice@ho\u00ADme") << false;
    QTest::newRow("a free name that a future account could want") << QStringLiteral("alice_2") << false;
    QTest::newRow("another account's session form") << QStringLiteral("carol@home") << false;
    QTest::newRow("no tag") << QStringLiteral("alice@") << false;
    QTest::newRow("session name") << QStringLiteral("alice@home") << true;
    QTest::newRow("session name in other case") << QStringLiteral("ALICE@Home") << true;
}

void TestServerSignOn::accountAlreadyOnlineMustChooseAnotherName() {
    QFETCH(QString, answer);
    QFETCH(bool, accepted);
    TestServer server;
    server.addAccount(QStringLiteral("alice"), QStringLiteral("11"));
    server.addAccount(QStringLiteral("carol"), QStringLiteral("33"));
    auto first = server.signOn(QStringLiteral("alice"), QStringLiteral("11"));
    QVERIFY(first);

    ServerTestClient second;
    QVERIFY(second.connectTo(server.port()));
    second.sendSegment(QStringLiteral("LOGIN") + S + QStringLiteral("alice") + S + QStringLiteral("11"));
    QVERIFY(second.waitForLine(QStringLiteral("NICK")));
    second.clear();
    second.sendSegment(QStringLiteral("NICK") + S + answer);
    if (accepted) {
        QVERIFY(second.waitForLine(QStringLiteral("LIST") + S + answer));
        QCOMPARE(second.chatLines(), (QStringList{QStringLiteral("LIST") + S + QStringLiteral("alice"),
                                              QStringLiteral("LIST") + S + answer}));
        QVERIFY(first->waitForLine(QStringLiteral("JOIN") + S + answer));
    } else {
        QVERIFY(second.waitForLine(QStringLiteral("NICK")));
        QCOMPARE(second.rawChat(),
                 QByteArray("SMSG|\xBF|alice is already signed on. Choose a name of the form alice@place, at "
                            "most 20 characters, for example alice@home.\r\nNICK\r\n"));
        QVERIFY(second.isConnected());
        QCOMPARE(server.server().room().onlineNames(), QStringList{QStringLiteral("alice")});
    }
}

void TestServerSignOn::departureIsAPartToTheOthers() {
    TestServer server;
    server.addAccount(QStringLiteral("alice"), QStringLiteral("11"));
    server.addAccount(QStringLiteral("bob"), QStringLiteral("22"));
    auto alice = server.signOn(QStringLiteral("alice"), QStringLiteral("11"));
    auto bob = server.signOn(QStringLiteral("bob"), QStringLiteral("22"));
    QVERIFY(alice && bob);
    bob->socket().disconnectFromHost();
    QVERIFY(alice->waitForLine(QStringLiteral("PART") + S + QStringLiteral("bob")));
    QCOMPARE(server.server().room().onlineNames(), QStringList{QStringLiteral("alice")});
    QTRY_COMPARE_WITH_TIMEOUT(server.store().lastSeen(QStringLiteral("bob")), server.now(), 5000);
}

void TestServerSignOn::nothingButSignOnIsHeardBeforeSignOn() {
    TestServer server;
    server.addAccount(QStringLiteral("alice"), QStringLiteral("11"));
    auto alice = server.signOn(QStringLiteral("alice"), QStringLiteral("11"));
    QVERIFY(alice);
    ServerTestClient stranger;
    QVERIFY(stranger.connectTo(server.port()));
    // CR LF ended, so that they stay separate messages however TCP groups them.
    stranger.sendSegment(QStringLiteral("MSG") + S + QStringLiteral("hello\r\n"));
    stranger.sendSegment(QStringLiteral("OPS") + S + QStringLiteral("CPB\r\n"));
    // A sign-on after the ignored lines shows that they were read and passed over.
    server.addAccount(QStringLiteral("bob"), QStringLiteral("22"));
    stranger.sendSegment(QStringLiteral("LOGIN") + S + QStringLiteral("bob") + S + QStringLiteral("22"));
    QVERIFY(alice->waitForLine(QStringLiteral("JOIN") + S + QStringLiteral("bob")));
    QCOMPARE(alice->chatLines(), (QStringList{QStringLiteral("LIST") + S + QStringLiteral("alice"),
                                              QStringLiteral("JOIN") + S + QStringLiteral("bob")}));
}

void TestServerSignOn::everyAnswerComesAfterOneDerivation_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("password");
    QTest::addColumn<QString>("answer");
    QTest::newRow("no such account") << QStringLiteral("nobody") << QStringLiteral("22")
                                     << QStringLiteral("INVALID");
    QTest::newRow("wrong password") << QStringLiteral("bob") << QStringLiteral("23")
                                    << QStringLiteral("INVALID");
    QTest::newRow("banned") << QStringLiteral("carol") << QStringLiteral("33") << QStringLiteral("INVALID");
    QTest::newRow("not a name at all")
        << QStringLiteral("b ob") << QStringLiteral("22") << QStringLiteral("INVALID");
    QTest::newRow("right password") << QStringLiteral("BOB") << QStringLiteral("22")
                                    << QStringLiteral("LIST") + S + QStringLiteral("bob");
}

void TestServerSignOn::everyAnswerComesAfterOneDerivation() {
    QFETCH(QString, name);
    QFETCH(QString, password);
    QFETCH(QString, answer);
    TestServer server;
    server.addAccount(QStringLiteral("bob"), QStringLiteral("22"));
    server.addAccount(QStringLiteral("carol"), QStringLiteral("33"));
    server.store().addBan(BanKind::Permanent, QStringLiteral("carol"), QString(), std::nullopt);
    ServerTestClient client;
    QVERIFY(client.connectTo(server.port()));
    const quint64 before = PasswordHash::derivationCount();
    client.sendSegment(QStringLiteral("LOGIN") + S + name + S + password);
    QVERIFY(client.waitForLine(answer));
    // Counted, not timed: a name that is no account costs what an account costs.
    QCOMPARE(PasswordHash::derivationCount() - before, quint64(1));
}

void TestServerSignOn::leavingWhileBeingCheckedHarmsNobody_data() {
    QTest::addColumn<QString>("request");
    QTest::addColumn<bool>("serverStops");
    QTest::newRow("LOGIN, member leaves")
        << QStringLiteral("LOGIN") + S + QStringLiteral("bob") + S + QStringLiteral("22") << false;
    QTest::newRow("NEWACCOUNT, member leaves")
        << QStringLiteral("NEWACCOUNT") + S + QStringLiteral("dave") + S + QStringLiteral("44") << false;
    QTest::newRow("LOGIN, server stops")
        << QStringLiteral("LOGIN") + S + QStringLiteral("bob") + S + QStringLiteral("22") << true;
    QTest::newRow("NEWACCOUNT, server stops")
        << QStringLiteral("NEWACCOUNT") + S + QStringLiteral("dave") + S + QStringLiteral("44") << true;
}

void TestServerSignOn::leavingWhileBeingCheckedHarmsNobody() {
    QFETCH(QString, request);
    QFETCH(bool, serverStops);
    auto server = std::make_unique<TestServer>();
    server->addAccount(QStringLiteral("alice"), QStringLiteral("11"));
    // At five times the production cost, so that the check is still running when the member leaves.
    AccountStore::NewAccount bob;
    bob.name = QStringLiteral("bob");
    QCOMPARE(server->store().createAccount(bob, PasswordHash::make(QStringLiteral("22"), 100000), 0,
                                           server->now()),
             AccountStore::CreateResult::Created);
    auto alice = server->signOn(QStringLiteral("alice"), QStringLiteral("11"));
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
    QVERIFY(server->signOn(QStringLiteral("bob"), QStringLiteral("22")));
    QVERIFY(alice->waitForLine(QStringLiteral("JOIN") + S + QStringLiteral("bob")));
}

void TestServerSignOn::throttleSpacesOutFailedAttempts_data() {
    // Steps: "try ADDRESS NAME" (its wait is recorded), "fail ADDRESS NAME", "ok ADDRESS NAME",
    // "pass MS". Three free failures, then 1 s doubling to at most 4 s, forgotten after 60 s.
    QTest::addColumn<QStringList>("steps");
    QTest::addColumn<QList<qint64>>("waits");
    const auto tries = [](const QString& address, const QString& name, int count) {
        QStringList steps;
        for (int i = 0; i < count; ++i)
            steps << QStringLiteral("try %1 %2").arg(address, name)
                  << QStringLiteral("fail %1 %2").arg(address, name);
        return steps;
    };
    QTest::newRow("spacing doubles up to the ceiling")
        << tries(QStringLiteral("A"), QStringLiteral("x"), 7) << QList<qint64>{0, 0, 0, 0, 1000, 3000, 7000};
    QTest::newRow("the address waits whatever the name")
        << (tries(QStringLiteral("A"), QStringLiteral("x"), 1) +
            tries(QStringLiteral("A"), QStringLiteral("y"), 1) +
            tries(QStringLiteral("A"), QStringLiteral("z"), 1) +
            tries(QStringLiteral("A"), QStringLiteral("v"), 1) + QStringList{QStringLiteral("try A w")})
        << QList<qint64>{0, 0, 0, 0, 1000};
    QTest::newRow("the name waits whatever the address")
        << (tries(QStringLiteral("B"), QStringLiteral("x"), 1) +
            tries(QStringLiteral("C"), QStringLiteral("x"), 1) +
            tries(QStringLiteral("D"), QStringLiteral("x"), 1) +
            tries(QStringLiteral("E"), QStringLiteral("x"), 1) + QStringList{QStringLiteral("try F x")})
        << QList<qint64>{0, 0, 0, 0, 1000};
    QTest::newRow("an address the member signed on from does not wait for the name")
        << (QStringList{QStringLiteral("ok H x")} + tries(QStringLiteral("B"), QStringLiteral("x"), 4) +
            QStringList{QStringLiteral("try F x"), QStringLiteral("try H x")})
        << QList<qint64>{0, 0, 0, 0, 1000, 0};
    QTest::newRow("a quiet spell forgets")
        << (tries(QStringLiteral("A"), QStringLiteral("x"), 5) +
            QStringList{QStringLiteral("pass 70000"), QStringLiteral("try A x"), QStringLiteral("try A x")})
        << QList<qint64>{0, 0, 0, 0, 1000, 0, 0};
    QTest::newRow("success clears the name, not the address")
        << (tries(QStringLiteral("A"), QStringLiteral("x"), 4) +
            QStringList{QStringLiteral("ok A x"), QStringLiteral("try A y"), QStringLiteral("try G x")})
        << QList<qint64>{0, 0, 0, 0, 1000, 0};
}

void TestServerSignOn::throttleSpacesOutFailedAttempts() {
    QFETCH(QStringList, steps);
    QFETCH(QList<qint64>, waits);
    qint64 now = 0;
    SignOnThrottle throttle(
        {.freeFailures = 3, .firstDelayMs = 1000, .longestDelayMs = 4000, .forgetAfterMs = 60000},
        [&now] { return now; });
    QList<qint64> seen;
    for (const QString& step : std::as_const(steps)) {
        const QStringList words = step.split(u' ');
        if (words[0] == QLatin1String("try"))
            seen << throttle.admit(words[1], words[2]);
        else if (words[0] == QLatin1String("fail"))
            throttle.failed(words[1], words[2]);
        else if (words[0] == QLatin1String("ok"))
            throttle.succeeded(words[1], words[2]);
        else
            now += words[1].toLongLong();
    }
    QCOMPARE(seen, waits);
}

void TestServerSignOn::strangerIsSlowedWhileTheMemberGetsIn() {
    ServerLimits limits = TestServer::testLimits();
    limits.signOnDelayMs = 3000;
    TestServer server(limits);
    server.addAccount(QStringLiteral("alice"), QStringLiteral("11"));
    const auto attempt = [&](ServerTestClient& client, const QString& from, const QString& password) {
        return client.connectFrom(from, server.port()) &&
               (client.sendSegment(QStringLiteral("LOGIN") + S + QStringLiteral("alice") + S + password),
                true);
    };
    {
        ServerTestClient earlier; // alice signed on from home before
        QVERIFY(attempt(earlier, QStringLiteral("127.0.0.2"), QStringLiteral("11")));
        QVERIFY(earlier.waitForLine(QStringLiteral("LIST") + S + QStringLiteral("alice")));
    }
    for (int i = 0; i < 4; ++i) {
        ServerTestClient guess;
        QVERIFY(attempt(guess, QStringLiteral("127.0.0.3"), QString::number(i)));
        QVERIFY(guess.waitForLine(QStringLiteral("INVALID")));
    }
    // The stranger's next guess waits its turn; alice from home does not wait behind it.
    ServerTestClient guess;
    QElapsedTimer guessClock;
    guessClock.start();
    QVERIFY(attempt(guess, QStringLiteral("127.0.0.3"), QStringLiteral("5")));
    ServerTestClient alice;
    QTRY_COMPARE_WITH_TIMEOUT(server.server().room().onlineNames(), QStringList(), 5000);
    QVERIFY(attempt(alice, QStringLiteral("127.0.0.2"), QStringLiteral("11")));
    QVERIFY(alice.waitForLine(QStringLiteral("LIST") + S + QStringLiteral("alice"), 2500));
    QCOMPARE(guess.lines(), QStringList());
    QVERIFY(guess.waitForLine(QStringLiteral("INVALID"), 15000));
    // Its turn was set 3 s after the previous guess was let through, a moment before this clock began.
    QVERIFY(guessClock.elapsed() >= 2500);
}

namespace {

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
            connect(
                socket, &QTcpSocket::disconnected, socket,
                [socket, port] { socket->connectToHost(QHostAddress::LocalHost, port); },
                Qt::QueuedConnection); // the socket is still closing while it reports
            socket->connectToHost(QHostAddress::LocalHost, port);
        }
    }
    int answers() const { return m_answers; }

private:
    int m_answers = 0;
};

// Median round trip of a public line from the member back to the member, over `count` lines
// sent at a steady pace (a line every paceMs, or at once when the last one took longer), so
// that the lines fall at times that have nothing to do with what the server is busy with.
double medianRoundTripMs(ServerTestClient& member, int count, int paceMs = 20) {
    QList<double> times;
    QElapsedTimer clock;
    QString awaited;
    QEventLoop loop;
    QTimer pace;
    const auto sendNext = [&] {
        if (!awaited.isEmpty())
            return;
        member.clear();
        const QString text = QStringLiteral("ping %1").arg(times.size());
        awaited = QStringLiteral("MSG") + S + QStringLiteral("<bob> ") + text;
        clock.start();
        member.sendSegment(msg(text));
    };
    QObject::connect(&pace, &QTimer::timeout, &loop, sendNext);
    QObject::connect(&member.socket(), &QTcpSocket::readyRead, &loop, [&] {
        // Queued behind the client's own reading of the line.
        QMetaObject::invokeMethod(
            &loop,
            [&] {
                if (awaited.isEmpty() || !member.lines().contains(awaited))
                    return;
                times << clock.nsecsElapsed() / 1e6;
                awaited.clear();
                if (times.size() == count)
                    loop.quit();
            },
            Qt::QueuedConnection);
    });
    QTimer::singleShot(60000, &loop, &QEventLoop::quit);
    pace.start(paceMs);
    sendNext();
    loop.exec();
    if (times.size() < count)
        return -1;
    std::sort(times.begin(), times.end());
    return times.at(times.size() / 2);
}

class FloodProbe : public QThread {
public:
    FloodProbe(quint16 port, const QString& floodedName)
        : m_port(port)
        , m_floodedName(floodedName) {}
    ~FloodProbe() override { wait(); }

    std::atomic<double> idleMs{-1};
    std::atomic<double> floodedMs{-1};
    std::atomic<int> floodAnswers{0};

protected:
    void run() override {
        ServerTestClient bob;
        bob.connectTo(m_port);
        bob.sendSegment(QStringLiteral("LOGIN") + S + QStringLiteral("bob") + S + QStringLiteral("22"));
        if (!bob.waitForLine(QStringLiteral("LIST") + S + QStringLiteral("bob"), 30000))
            return;
        idleMs = medianRoundTripMs(bob, 25);
        LoginFlood flood(m_port, m_floodedName, 8);
        if (!QTest::qWaitFor([&] { return flood.answers() >= 8; }, 60000))
            return;
        floodedMs = medianRoundTripMs(bob, 25);
        floodAnswers = flood.answers();
    }

private:
    quint16 m_port;
    QString m_floodedName;
};

} // namespace

void TestServerSignOn::bystanderKeepsItsPaceDuringALoginFlood() {
    ServerLimits limits = TestServer::testLimits();
    limits.signOnDelayMs = 0; // the flood is about the cost of checking, not the spacing of guesses
    TestServer server(limits);
    AccountStore::NewAccount target;
    target.name = QStringLiteral("target");
    QCOMPARE(server.store().createAccount(target, PasswordHash::make(QStringLiteral("x"), 100000), 0,
                                          server.now()),
             AccountStore::CreateResult::Created);
    server.addAccount(QStringLiteral("bob"), QStringLiteral("22"));
    FloodProbe probe(server.port(), target.name);
    QSignalSpy finished(&probe, &QThread::finished);
    probe.start();
    QVERIFY(finished.wait(120000)); // a real event loop for the room meanwhile, not a polling wait
    const double idle = probe.idleMs;
    const double flooded = probe.floodedMs;
    QVERIFY(idle >= 0 && flooded >= 0);
    QVERIFY(probe.floodAnswers > 8); // the flood went on while the bystander talked
    // Each check here costs tens of milliseconds (five times the default cost, so that this holds on
    // fast machines too); on the event loop they made the bystander's round trip hundreds of times slower.
    // Below a millisecond the scheduler decides, so that is the floor.
    const double ratio = flooded / std::max(idle, 1.0);
    qInfo("bystander round trip: idle %.2f ms, during the flood %.2f ms, ratio %.1f", idle, flooded, ratio);
    QVERIFY2(ratio < 20, qPrintable(QStringLiteral("ratio %1").arg(ratio)));
}

QTEST_GUILESS_MAIN(TestServerSignOn)
#include "tst_serversignon.moc"
