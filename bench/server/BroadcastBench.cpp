// One member says L lines in a room of N members; every member counts the lines it receives.
// Prints deliveries per second for the server on the given port. The script runs it against
// quorvel-server and against ngircd in the same run and prints the ratio.
//
//   server_broadcast_bench prepare DATA_FOLDER N      create the accounts bench0..bench(N-1)
//   server_broadcast_bench quorvel|irc PORT N L       measure
#include "BenchMember.h"

#include "server/AccountStore.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QTextStream>
#include <QTimer>

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

// Drives the run: connect everybody, then let bench0 talk with a bounded number of lines in
// flight, so that the figure measures the server's fan-out and not the growth of buffers.
class BroadcastRun : public QObject {
public:
    BroadcastRun(BenchMember::Protocol protocol, quint16 port, int members, int lines)
        : m_protocol(protocol)
        , m_port(port)
        , m_lines(lines) {
        for (int i = 0; i < members; ++i)
            m_members.push_back(new BenchMember(protocol, QStringLiteral("bench%1").arg(i), this));
        // The sender hears its own lines on the Quorvel server, not on IRC.
        m_receivers = protocol == BenchMember::Protocol::Quorvel ? members : members - 1;
    }

    void start() {
        connectNextBatch();
        connect(&m_watchdog, &QTimer::timeout, this, [this] { finish(false); });
        m_watchdog.setSingleShot(true);
        m_watchdog.start(300'000);
    }

private:
    void connectNextBatch() {
        // 50 at a time, the next batch once these are in the room.
        const int end = std::min<int>(m_connected + 50, static_cast<int>(m_members.size()));
        for (int i = m_connected; i < end; ++i) {
            connect(m_members[i], &BenchMember::ready, this, &BroadcastRun::onReady);
            m_members[i]->connectTo(m_port);
        }
        m_connected = end;
    }

    void onReady() {
        ++m_ready;
        if (m_ready == m_connected && m_connected < static_cast<int>(m_members.size())) {
            connectNextBatch();
            return;
        }
        if (m_ready != static_cast<int>(m_members.size()))
            return;
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

    void finish(bool complete) {
        const double seconds = m_clock.isValid() ? m_clock.nsecsElapsed() / 1e9 : 0;
        QTextStream out(stdout);
        out << (m_protocol == BenchMember::Protocol::Quorvel ? "quorvel" : "irc")
            << " members=" << m_members.size() << " lines=" << m_sent << " deliveries=" << m_delivered
            << " seconds=" << QString::number(seconds, 'f', 3)
            << " deliveries_per_second=" << QString::number(seconds > 0 ? m_delivered / seconds : 0, 'f', 0)
            << (complete ? "" : " INCOMPLETE") << Qt::endl;
        QCoreApplication::exit(complete ? 0 : 1);
    }

    BenchMember::Protocol m_protocol;
    quint16 m_port;
    int m_lines;
    int m_receivers = 0;
    std::vector<BenchMember*> m_members;
    int m_connected = 0;
    int m_ready = 0;
    qint64 m_sent = 0;
    qint64 m_delivered = 0;
    QElapsedTimer m_clock;
    QTimer m_watchdog;
};

} // namespace

int main(int argc, char** argv) {
    // The same event dispatcher as the server: a thousand sockets in one process.
    qputenv("QT_NO_GLIB", "1");
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    if (args.value(1) == QLatin1String("prepare") && args.size() == 4)
        return prepare(args.at(2), args.at(3).toInt());
    if ((args.value(1) == QLatin1String("quorvel") || args.value(1) == QLatin1String("irc")) &&
        args.size() == 5) {
        const auto protocol = args.at(1) == QLatin1String("quorvel") ? BenchMember::Protocol::Quorvel
                                                                     : BenchMember::Protocol::Irc;
        BroadcastRun run(protocol, static_cast<quint16>(args.at(2).toUInt()), args.at(3).toInt(),
                         args.at(4).toInt());
        run.start();
        return QCoreApplication::exec();
    }
    QTextStream(stderr) << "usage: server_broadcast_bench prepare FOLDER N | quorvel|irc PORT N LINES\n";
    return 2;
}
