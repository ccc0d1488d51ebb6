// One member says L lines in a room of N members; every member counts the lines it receives.
// Prints deliveries per second for the server on the given port. The script runs it against
// quorvel-server and against ngircd in the same run and prints the ratio.
//
//   server_broadcast_bench prepare DATA_FOLDER N      create the accounts bench0..bench(N-1)
//   server_broadcast_bench quorvel|irc PORT N L       measure
//   server_broadcast_bench quorvel-tls PORT N L       the same, every member over TLS
//   server_broadcast_bench delay PORT N ROUNDS        delay of a line behind a read-ending one
#include "BenchMember.h"

#include "server/AccountStore.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QTextStream>
#include <QTimer>

#include <algorithm>
#include <vector>

namespace {

int prepare(const QString& folder, int members) {
    AccountStore::Config config;
    config.databaseName = QDir(folder).filePath(QStringLiteral("quorvel.sqlite"));
    config.hashIterations = 1000;
    AccountStore store(config);
    QString error;
    if (!store.open(&error)) {
        QTextStream(stderr) << "cannot open the database: " << error << '\n';
        return 1;
    }
    for (int i = 0; i < members; ++i) {
        AccountStore::NewAccount account;
        account.name = QStringLiteral("bench%1").arg(i);
        account.password = QStringLiteral("1");
        account.address = QStringLiteral("127.0.0.1");
        if (!store.accountExists(account.name))
            store.createAccount(account, 0, QDateTime::currentDateTimeUtc());
    }
    return 0;
}

// A room of N bench members, signed on 50 at a time; allReady() runs once everybody is in.
class BenchRoom : public QObject {
public:
    BenchRoom(BenchMember::Protocol protocol, quint16 port, int members, bool tls = false)
        : m_protocol(protocol)
        , m_port(port)
        , m_tls(tls) {
        for (int i = 0; i < members; ++i)
            m_members.push_back(new BenchMember(protocol, QStringLiteral("bench%1").arg(i), this));
    }

    void start() {
        connectNextBatch();
        connect(&m_watchdog, &QTimer::timeout, this, [this] { finish(false); });
        m_watchdog.setSingleShot(true);
        m_watchdog.start(300'000);
    }

protected:
    virtual void allReady() = 0;
    virtual void report(QTextStream& out) = 0;

    qint64 lostToReadRules() const {
        qint64 lost = 0;
        for (const BenchMember* member : m_members)
            lost += member->lostToReadRules();
        return lost;
    }

    void finish(bool complete) {
        QTextStream out(stdout);
        out << (m_protocol == BenchMember::Protocol::Quorvel ? "quorvel" : "irc")
            << " members=" << m_members.size();
        report(out);
        if (m_protocol == BenchMember::Protocol::Quorvel)
            out << " lost_to_read_rules=" << lostToReadRules();
        out << (complete ? "" : " INCOMPLETE") << Qt::endl;
        QCoreApplication::exit(complete ? 0 : 1);
    }

    BenchMember::Protocol m_protocol;
    std::vector<BenchMember*> m_members;

private:
    void connectNextBatch() {
        const int end = std::min<int>(m_connected + 50, static_cast<int>(m_members.size()));
        for (int i = m_connected; i < end; ++i) {
            connect(m_members[i], &BenchMember::ready, this, &BenchRoom::onReady);
            m_members[i]->connectTo(m_port, m_tls);
        }
        m_connected = end;
    }

    void onReady() {
        ++m_ready;
        if (m_ready == m_connected && m_connected < static_cast<int>(m_members.size())) {
            connectNextBatch();
            return;
        }
        if (m_ready == static_cast<int>(m_members.size()))
            allReady();
    }

    quint16 m_port;
    bool m_tls;
    int m_connected = 0;
    int m_ready = 0;
    QTimer m_watchdog;
};

// bench0 talks with a bounded number of lines in flight, so that the figure measures the
// server's fan-out and not the growth of buffers.
class BroadcastRun : public BenchRoom {
public:
    BroadcastRun(BenchMember::Protocol protocol, quint16 port, int members, int lines, bool tls = false)
        : BenchRoom(protocol, port, members, tls)
        , m_lines(lines)
        // The sender hears its own lines on the Quorvel server, not on IRC.
        , m_receivers(protocol == BenchMember::Protocol::Quorvel ? members : members - 1) {}

private:
    void allReady() override {
        for (BenchMember* member : m_members)
            connect(member, &BenchMember::roomLine, this, &BroadcastRun::onDelivery);
        m_clock.start();
        sendWhileRoom();
    }

    void onDelivery() {
        ++m_delivered;
        if (m_delivered == qint64(m_lines) * m_receivers) {
            finish(true);
            return;
        }
        sendWhileRoom();
    }

    void sendWhileRoom() {
        constexpr qint64 Window = 20;
        while (m_sent < m_lines && m_sent - m_delivered / m_receivers < Window) {
            m_members.front()->say("line " + QByteArray::number(m_sent));
            ++m_sent;
        }
    }

    void report(QTextStream& out) override {
        const double seconds = m_clock.isValid() ? m_clock.nsecsElapsed() / 1e9 : 0;
        out << " lines=" << m_sent << " deliveries=" << m_delivered
            << " seconds=" << QString::number(seconds, 'f', 3)
            << " deliveries_per_second=" << QString::number(seconds > 0 ? m_delivered / seconds : 0, 'f', 0);
    }

    int m_lines;
    int m_receivers;
    qint64 m_sent = 0;
    qint64 m_delivered = 0;
    QElapsedTimer m_clock;
};

// What a read-ending message costs the line behind it. Each round bench0 sends two lines in one
// write, "/me ..." (read-ending) or an ordinary one, then "after N"; every member notes when
// "after N" arrived. The added delay compares the two kinds of round, percentile by percentile.
class DelayRun : public BenchRoom {
public:
    DelayRun(quint16 port, int members, int rounds)
        : BenchRoom(BenchMember::Protocol::Quorvel, port, members)
        , m_rounds(rounds) {}

private:
    void allReady() override {
        for (BenchMember* member : m_members)
            connect(member, &BenchMember::roomLine, this, &DelayRun::onLine);
        nextRound();
    }

    bool behindEnding() const { return m_round % 2 == 0; }

    void nextRound() {
        if (m_round == 2 * m_rounds) {
            finish(true);
            return;
        }
        m_arrived = 0;
        m_after = "> after " + QByteArray::number(m_round);
        m_clock.start();
        m_members.front()->say((behindEnding() ? "/me does " : "says ") + QByteArray::number(m_round));
        m_members.front()->say(m_after.mid(2));
    }

    void onLine(const QByteArray& line) {
        if (!line.endsWith(m_after))
            return;
        m_samples[behindEnding()].push_back(m_clock.nsecsElapsed() / 1e6);
        if (++m_arrived == static_cast<int>(m_members.size())) {
            ++m_round;
            nextRound();
        }
    }

    static double percentile(std::vector<double> samples, double p) {
        if (samples.empty())
            return 0;
        std::sort(samples.begin(), samples.end());
        return samples[std::min(samples.size() - 1, std::size_t(p * double(samples.size())))];
    }

    void report(QTextStream& out) override {
        const auto ms = [](double v) { return QString::number(v, 'f', 2); };
        const double plain50 = percentile(m_samples[0], 0.5), plain99 = percentile(m_samples[0], 0.99);
        const double ending50 = percentile(m_samples[1], 0.5), ending99 = percentile(m_samples[1], 0.99);
        out << " rounds=" << m_round << " behind_ordinary_ms(median,p99)=" << ms(plain50) << ','
            << ms(plain99) << " behind_read_ending_ms(median,p99)=" << ms(ending50) << ',' << ms(ending99)
            << " added_delay_ms(median,p99)=" << ms(ending50 - plain50) << ',' << ms(ending99 - plain99);
    }

    int m_rounds;
    int m_round = 0;
    int m_arrived = 0;
    QByteArray m_after;
    QElapsedTimer m_clock;
    std::vector<double> m_samples[2];
};

} // namespace

int main(int argc, char** argv) {
    // The same event dispatcher as the server: a thousand sockets in one process.
    qputenv("QT_NO_GLIB", "1");
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    if (args.value(1) == QLatin1String("prepare") && args.size() == 4)
        return prepare(args.at(2), args.at(3).toInt());
    const QString mode = args.value(1);
    if ((mode == QLatin1String("quorvel") || mode == QLatin1String("quorvel-tls") ||
         mode == QLatin1String("irc")) &&
        args.size() == 5) {
        const auto protocol =
            mode == QLatin1String("irc") ? BenchMember::Protocol::Irc : BenchMember::Protocol::Quorvel;
        BroadcastRun run(protocol, static_cast<quint16>(args.at(2).toUInt()), args.at(3).toInt(),
                         args.at(4).toInt(), mode == QLatin1String("quorvel-tls"));
        run.start();
        return QCoreApplication::exec();
    }
    if (args.value(1) == QLatin1String("delay") && args.size() == 5) {
        DelayRun run(static_cast<quint16>(args.at(2).toUInt()), args.at(3).toInt(), args.at(4).toInt());
        run.start();
        return QCoreApplication::exec();
    }
    QTextStream(stderr)
        << "usage: server_broadcast_bench prepare FOLDER N | quorvel|quorvel-tls|irc PORT N LINES | "
           "delay PORT N ROUNDS\n";
    return 2;
}
