// Sign-on under load. Three figures, each as a ratio against the same server idle:
//   storm: N members sign on at once; their rate against members signing on one at a time;
//   flood: a bystander's round trip while 8 addresses (127.0.0.11-18) send LOGINs with wrong
//          passwords over 8 connections each, against its round trip with nobody else there;
//   churn: a bystander's round trip, in a room of 50 listeners, while 100 members (each from an
//          address of its own, 127.0.1.x) sign on and off as fast as the server lets them,
//          against its round trip in the same room with nobody churning.
//
//   server_signon_bench prepare DATA_FOLDER N   accounts signon0..signon(N-1), production cost
//   server_signon_bench storm PORT N
//   server_signon_bench flood PORT SECONDS
//   server_signon_bench churn PORT SECONDS      needs N >= 200
//   server_signon_bench handshakes PORT TLS_PORT SECONDS
//          a bystander's round trip on the plain port while 8 addresses (127.0.0.21-28) make TLS
//          handshakes on the TLS port over 8 connections each, one after another (each connection
//          hangs up once encrypted and connects again), against its round trip with nobody else there
#include "server/AccountStore.h"
#include "server/PasswordHash.h"
#include "server/ShutdownSignals.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QProcess>
#include <QSslSocket>
#include <QTcpSocket>
#include <QTextStream>
#include <QTimer>

#include <algorithm>
#include <functional>
#include <memory>
#include <vector>

namespace {

const QByteArray Separator("|\xBF|");

QByteArray login(int member, const QByteArray& password = "pw") {
    return "LOGIN" + Separator + "signon" + QByteArray::number(member) + Separator + password;
}

int prepare(const QString& folder, int members) {
    AccountStore::Config config;
    config.databaseName = QDir(folder).filePath(QStringLiteral("quorvel.sqlite"));
    AccountStore store(config);
    QString error;
    if (!store.open(&error)) {
        QTextStream(stderr) << "cannot open the database: " << error << '\n';
        return 1;
    }
    // One hash for all: checking it costs what checking each member's own would.
    const PasswordHash::Stored password =
        PasswordHash::make(QStringLiteral("pw"), PasswordHash::DefaultIterations);
    for (int i = 0; i < members; ++i) {
        AccountStore::NewAccount account;
        account.name = QStringLiteral("signon%1").arg(i);
        if (!store.accountExists(account.name))
            store.createAccount(account, password, 0, QDateTime::currentDateTimeUtc());
    }
    return 0;
}

// A connection from one loopback address that calls back on every complete line.
class Member : public QObject {
public:
    Member(const QString& from, quint16 port, std::function<void(Member&, const QByteArray&)> onLine,
           QObject* parent)
        : QObject(parent)
        , m_onLine(std::move(onLine)) {
        connect(&m_socket, &QTcpSocket::readyRead, this, [this] {
            m_partial += m_socket.readAll();
            qsizetype end;
            while ((end = m_partial.indexOf("\r\n")) >= 0) {
                const QByteArray line = m_partial.left(end);
                m_partial.remove(0, end + 2);
                m_onLine(*this, line);
            }
        });
        connectFrom(from, port);
    }
    // A socket that was closed forgets its address: it is bound again for each connection.
    void connectFrom(const QString& from, quint16 port) {
        m_socket.bind(QHostAddress(from));
        m_socket.connectToHost(QHostAddress::LocalHost, port);
    }
    QTcpSocket& socket() { return m_socket; }
    void send(const QByteArray& bytes) { m_socket.write(bytes); }

private:
    QTcpSocket m_socket;
    QByteArray m_partial;
    std::function<void(Member&, const QByteArray&)> m_onLine;
};

QString loopback(int i) {
    return QStringLiteral("127.0.0.%1").arg(1 + i % 250);
}

// Seconds for `members` members from `first` on to sign on, `atOnce` of them at a time.
double signOnSeconds(quint16 port, int first, int members, int atOnce) {
    QEventLoop loop;
    QObject owner;
    int started = 0, done = 0;
    QElapsedTimer clock;
    clock.start();
    std::function<void()> startOne = [&] {
        const int member = first + started++;
        auto* m = new Member(
            loopback(member), port,
            [&, member](Member&, const QByteArray& line) {
                if (line == "LIST" + Separator + "signon" + QByteArray::number(member)) {
                    if (++done == members)
                        loop.quit();
                    else if (started < members)
                        startOne();
                }
            },
            &owner);
        QObject::connect(&m->socket(), &QTcpSocket::connected, m, [m, member] { m->send(login(member)); });
    };
    for (int i = 0; i < std::min(atOnce, members); ++i)
        startOne();
    QTimer::singleShot(600'000, &loop, &QEventLoop::quit);
    loop.exec();
    return done == members ? clock.nsecsElapsed() / 1e9 : -1;
}

int storm(quint16 port, int members) {
    const int alone = std::max(10, members / 50);
    const double one = signOnSeconds(port, 0, alone, 1);
    const double all = signOnSeconds(port, alone, members - alone, members - alone);
    if (one < 0 || all < 0) {
        QTextStream(stderr) << "sign-ons did not complete\n";
        return 1;
    }
    const double idleRate = alone / one, stormRate = (members - alone) / all;
    QTextStream(stdout) << QStringLiteral("storm: %1 members one at a time %2/s; %3 at once %4/s in %5 s; "
                                          "ratio %6\n")
                               .arg(alone)
                               .arg(idleRate, 0, 'f', 1)
                               .arg(members - alone)
                               .arg(stormRate, 0, 'f', 1)
                               .arg(all, 0, 'f', 1)
                               .arg(stormRate / idleRate, 0, 'f', 2);
    return 0;
}

struct RoundTrips {
    double median = -1;
    double p90 = -1;
};

// Public lines from the bystander, one every 20 ms (or on the echo of a slower one), for `ms`.
RoundTrips roundTrips(Member& bystander, std::function<void(const QByteArray&)>& onLine, int ms) {
    QList<double> times;
    QEventLoop loop;
    QElapsedTimer clock;
    QByteArray awaited;
    int sent = 0;
    const auto sendNext = [&] {
        if (!awaited.isEmpty())
            return;
        const QByteArray text = "rt" + QByteArray::number(sent++);
        awaited = "MSG" + Separator + "<signon0> " + text;
        clock.start();
        bystander.send("MSG" + Separator + text + "\r\n");
    };
    onLine = [&](const QByteArray& line) {
        if (line != awaited)
            return;
        times << clock.nsecsElapsed() / 1e6;
        awaited.clear();
    };
    QTimer pace;
    QObject::connect(&pace, &QTimer::timeout, &loop, sendNext);
    pace.start(20);
    QTimer::singleShot(ms, &loop, &QEventLoop::quit);
    loop.exec();
    onLine = nullptr;
    if (times.isEmpty())
        return {};
    std::sort(times.begin(), times.end());
    return {times.at(times.size() / 2), times.at(times.size() * 9 / 10)};
}

// Runs the event loop until done() holds.
void waitUntil(const std::function<bool()>& done) {
    QEventLoop wait;
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, &wait, [&] {
        if (done())
            wait.quit();
    });
    poll.start(10);
    wait.exec();
}

// A member that signs on as signon<member> and answers every PING; its other lines go to onLine.
Member* listener(const QString& from, quint16 port, int member,
                 std::function<void(const QByteArray&)>* onLine, int* signedOn, QObject* owner) {
    const QByteArray ownEntry = "LIST" + Separator + "signon" + QByteArray::number(member);
    auto* m = new Member(
        from, port,
        [=](Member& self, const QByteArray& line) {
            if (line == ownEntry)
                ++*signedOn;
            if (line.startsWith("PING"))
                self.send("PING" + Separator + "00:00:00\r\n");
            if (onLine && *onLine)
                (*onLine)(line);
        },
        owner);
    QObject::connect(&m->socket(), &QTcpSocket::connected, m, [m, member] { m->send(login(member)); });
    return m;
}

QString roundTripFigures(const RoundTrips& trips) {
    return QStringLiteral("median %1 ms (90% %2 ms)").arg(trips.median, 0, 'f', 2).arg(trips.p90, 0, 'f', 2);
}

int flood(quint16 port, int seconds) {
    QObject owner;
    std::function<void(const QByteArray&)> bystanderLine;
    int signedOn = 0;
    Member& bystander = *listener(QStringLiteral("127.0.0.1"), port, 0, &bystanderLine, &signedOn, &owner);
    waitUntil([&] { return signedOn == 1; });
    const RoundTrips idle = roundTrips(bystander, bystanderLine, seconds * 1000);

    int answers = 0;
    for (int address = 0; address < 8; ++address) {
        for (int c = 0; c < 8; ++c) {
            const int member = 1 + (address * 8 + c) % 100;
            auto* m = new Member(
                QStringLiteral("127.0.0.%1").arg(11 + address), port,
                [&answers](Member&, const QByteArray& line) { answers += line == "INVALID"; }, &owner);
            QObject::connect(&m->socket(), &QTcpSocket::connected, m,
                             [m, member] { m->send(login(member, "wrong")); });
            QObject::connect(
                &m->socket(), &QTcpSocket::disconnected, m,
                [m, port, address] { m->connectFrom(QStringLiteral("127.0.0.%1").arg(11 + address), port); },
                Qt::QueuedConnection);
        }
    }
    const RoundTrips flooded = roundTrips(bystander, bystanderLine, seconds * 1000);
    QTextStream(stdout) << QStringLiteral("flood: bystander round trip idle %1; during a LOGIN flood from 8 "
                                          "addresses %2, %3 LOGINs answered in %4 s; ratio of medians %5\n")
                               .arg(roundTripFigures(idle), roundTripFigures(flooded))
                               .arg(answers)
                               .arg(seconds)
                               .arg(flooded.median / idle.median, 0, 'f', 2);
    return 0;
}

// Signs on as signon<member> from its own address, leaves as soon as its own LIST line arrives,
// and signs on again; a refusal names the seconds to wait, and it waits exactly that long.
class Churner : public QObject {
public:
    Churner(quint16 port, int member, int* signOns, int* refusals, QObject* parent)
        : QObject(parent)
        , m_port(port)
        , m_from(QStringLiteral("127.0.1.%1").arg(1 + member % 250))
        , m_ownEntry("LIST" + Separator + "signon" + QByteArray::number(member)) {
        connect(&m_socket, &QTcpSocket::connected, this, [this, member] { m_socket.write(login(member)); });
        connect(&m_socket, &QTcpSocket::readyRead, this, [this, signOns, refusals] {
            m_partial += m_socket.readAll();
            qsizetype end;
            while ((end = m_partial.indexOf("\r\n")) >= 0) {
                const QByteArray line = m_partial.left(end);
                m_partial.remove(0, end + 2);
                if (line == m_ownEntry) {
                    ++*signOns;
                    again(0);
                    return;
                }
                const qsizetype wait = line.indexOf("please wait ");
                if (wait >= 0) {
                    ++*refusals;
                    again(line.mid(wait + 12).split(' ').value(0).toInt() * 1000);
                    return;
                }
            }
        });
        connectAgain();
    }

private:
    void again(int delayMs) {
        m_partial.clear();
        m_socket.abort();
        QTimer::singleShot(delayMs, this, &Churner::connectAgain);
    }
    void connectAgain() {
        m_socket.bind(QHostAddress(m_from));
        m_socket.connectToHost(QHostAddress::LocalHost, m_port);
    }

    quint16 m_port;
    QString m_from;
    QByteArray m_ownEntry;
    QTcpSocket m_socket;
    QByteArray m_partial;
};

int churn(quint16 port, int seconds) {
    QObject owner;
    std::function<void(const QByteArray&)> bystanderLine;
    int signedOn = 0;
    Member& bystander = *listener(QStringLiteral("127.0.0.1"), port, 0, &bystanderLine, &signedOn, &owner);
    for (int i = 1; i <= 50; ++i)
        listener(QStringLiteral("127.0.2.%1").arg(i), port, i, nullptr, &signedOn, &owner);
    waitUntil([&] { return signedOn == 51; });
    const RoundTrips idle = roundTrips(bystander, bystanderLine, seconds * 1000);
    int signOns = 0, refusals = 0;
    for (int i = 100; i < 200; ++i)
        new Churner(port, i, &signOns, &refusals, &owner);
    const RoundTrips churning = roundTrips(bystander, bystanderLine, seconds * 1000);
    QTextStream(stdout) << QStringLiteral("churn: bystander round trip in a room of 50, idle %1; while 100 "
                                          "members sign on and off %2, %3 sign-ons and %4 refusals in %5 s; "
                                          "ratio of medians %6\n")
                               .arg(roundTripFigures(idle), roundTripFigures(churning))
                               .arg(signOns)
                               .arg(refusals)
                               .arg(seconds)
                               .arg(churning.median / idle.median, 0, 'f', 2);
    return 0;
}

// Connects from `from` to the TLS port, hangs up as soon as the handshake is done, and again.
class Handshaker : public QObject {
public:
    Handshaker(const QString& from, quint16 port, int* handshakes, QObject* parent)
        : QObject(parent) {
        m_socket.setPeerVerifyMode(QSslSocket::VerifyNone);
        connect(&m_socket, &QSslSocket::encrypted, this, [this, handshakes] {
            ++*handshakes;
            m_socket.abort();
        });
        connect(&m_socket, &QAbstractSocket::stateChanged, this,
                [this, from, port](QAbstractSocket::SocketState state) {
                    if (state == QAbstractSocket::UnconnectedState)
                        QTimer::singleShot(0, this, [this, from, port] { connectFrom(from, port); });
                });
        connectFrom(from, port);
    }

private:
    void connectFrom(const QString& from, quint16 port) {
        m_socket.bind(QHostAddress(from));
        m_socket.connectToHostEncrypted(QStringLiteral("127.0.0.1"), port);
    }
    QSslSocket m_socket;
};

// The handshakes run in a process of their own: in the bystander's process their client side of
// each key exchange would delay the bystander's own reading, and the figure would be the bench's.
int handshakers(quint16 tlsPort) {
    QObject owner;
    int done = 0;
    for (int address = 0; address < 8; ++address)
        for (int c = 0; c < 8; ++c)
            new Handshaker(QStringLiteral("127.0.0.%1").arg(21 + address), tlsPort, &done, &owner);
    QObject::connect(qApp, &QCoreApplication::aboutToQuit,
                     [&done] { QTextStream(stdout) << done << Qt::endl; });
    return QCoreApplication::exec();
}

int handshakes(quint16 port, quint16 tlsPort, int seconds) {
    QObject owner;
    std::function<void(const QByteArray&)> bystanderLine;
    int signedOn = 0;
    Member& bystander = *listener(QStringLiteral("127.0.0.1"), port, 0, &bystanderLine, &signedOn, &owner);
    waitUntil([&] { return signedOn == 1; });
    const RoundTrips idle = roundTrips(bystander, bystanderLine, seconds * 1000);
    QProcess flood;
    flood.start(QCoreApplication::applicationFilePath(),
                {QStringLiteral("handshakers"), QString::number(tlsPort)});
    const RoundTrips flooded = roundTrips(bystander, bystanderLine, seconds * 1000);
    flood.terminate();
    flood.waitForFinished(5000);
    const int done = flood.readAllStandardOutput().trimmed().toInt();
    QTextStream(stdout) << QStringLiteral("handshakes: bystander round trip idle %1; during a flood of TLS "
                                          "handshakes from 8 addresses (another process) %2, %3 handshakes "
                                          "done in %4 s; ratio of medians %5\n")
                               .arg(roundTripFigures(idle), roundTripFigures(flooded))
                               .arg(done)
                               .arg(seconds)
                               .arg(flooded.median / idle.median, 0, 'f', 2);
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    if (args.size() == 4 && args[1] == QLatin1String("prepare"))
        return prepare(args[2], args[3].toInt());
    if (args.size() == 4 && args[1] == QLatin1String("storm"))
        return storm(quint16(args[2].toUInt()), args[3].toInt());
    if (args.size() == 4 && args[1] == QLatin1String("flood"))
        return flood(quint16(args[2].toUInt()), args[3].toInt());
    if (args.size() == 4 && args[1] == QLatin1String("churn"))
        return churn(quint16(args[2].toUInt()), args[3].toInt());
    if (args.size() == 3 && args[1] == QLatin1String("handshakers")) {
        // Ends on SIGTERM from the measuring process, saying how many handshakes it made.
        ShutdownSignals stop;
        QObject::connect(&stop, &ShutdownSignals::requested, &app, &QCoreApplication::quit);
        return handshakers(quint16(args[2].toUInt()));
    }
    if (args.size() == 5 && args[1] == QLatin1String("handshakes"))
        return handshakes(quint16(args[2].toUInt()), quint16(args[3].toUInt()), args[4].toInt());
    QTextStream(stderr)
        << "usage: server_signon_bench prepare FOLDER N | storm PORT N | flood PORT SECONDS | "
           "churn PORT SECONDS | handshakes PORT TLS_PORT SECONDS\n";
    return 2;
}
