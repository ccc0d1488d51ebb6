// Plays the chat server for one desktop client and fills its chat display: accepts one connection,
// lets it sign on and into the room, then writes LINES room lines from another member, never more
// than a window ahead of what the client has taken (TCP then holds the client to its own pace, as a
// busy room would). Prints "listening" once it takes connections and "fed LINES" once the last line
// is written, and keeps the connection open until it is killed, so the client stays signed on with a
// full display.
//
//   display_feed quorvel PORT LINES    the Quorvel chat protocol (the client signs on by hand or script)
//   display_feed irc PORT LINES        IRC, for an IRC client told to join #bench on this port
//
// scripts/bench-startup measures the memory of Quorvel and of HexChat filled this way.
#include <QCoreApplication>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTextStream>

#include <optional>

namespace {

const QByteArray Separator("|\xBF|");
const QByteArray Channel("#bench");
const QByteArray Feeder("feeder");
constexpr qint64 Window = 256 * 1024;

class DisplayFeed : public QObject {
public:
    DisplayFeed(bool irc, int lines)
        : m_irc(irc)
        , m_lines(lines) {
        connect(&m_server, &QTcpServer::newConnection, this, &DisplayFeed::accept);
    }

    bool listen(quint16 port) { return m_server.listen(QHostAddress::LocalHost, port); }

private:
    void accept() {
        QTcpSocket* client = m_server.nextPendingConnection();
        if (m_client) {
            client->deleteLater(); // one client per run
            return;
        }
        m_client = client;
        connect(client, &QTcpSocket::readyRead, this, &DisplayFeed::read);
        connect(client, &QTcpSocket::bytesWritten, this, &DisplayFeed::feed);
        connect(client, &QTcpSocket::disconnected, this, [] { QCoreApplication::exit(1); });
    }

    void read() {
        m_partial += m_client->readAll();
        qsizetype end = 0;
        while ((end = m_partial.indexOf('\n')) >= 0 || (!m_irc && m_partial.contains(Separator))) {
            // The Quorvel client ends its sign-on without a line break; take the whole read then.
            const qsizetype cut = end >= 0 ? end + 1 : m_partial.size();
            const QByteArray line = m_partial.left(cut).trimmed();
            m_partial.remove(0, cut);
            m_irc ? ircLine(line) : quorvelLine(line);
        }
    }

    void quorvelLine(const QByteArray& line) {
        // LOGIN|¿|name|¿|password
        const qsizetype from = line.indexOf(Separator) + Separator.size();
        const qsizetype to = line.indexOf(Separator, from);
        if (line.startsWith("LOGIN") && to > from && !m_fed) {
            const QByteArray name = line.mid(from, to - from);
            m_client->write("LIST" + Separator + name + "\r\nLIST" + Separator + Feeder + "\r\n");
            startFeeding();
        }
    }

    void ircLine(const QByteArray& line) {
        const QList<QByteArray> words = line.split(' ');
        const QByteArray command = words.value(0).toUpper();
        if (command == "PING") {
            m_client->write("PONG " + line.mid(5) + "\r\n");
        } else if (command == "CAP" && words.value(1).toUpper() == "LS") {
            m_client->write(":bench CAP * LS :\r\n");
        } else if (command == "NICK") {
            m_nick = words.value(1);
        } else if (command == "USER") {
            m_client->write(":bench 001 " + m_nick + " :Welcome\r\n:bench 376 " + m_nick + " :End of MOTD\r\n");
        } else if (command == "JOIN" && !m_fed) {
            m_client->write(":" + m_nick + "!u@127.0.0.1 JOIN :" + Channel + "\r\n:bench 353 " + m_nick + " = " +
                            Channel + " :" + m_nick + " " + Feeder + "\r\n:bench 366 " + m_nick + " " + Channel +
                            " :End of NAMES\r\n");
            startFeeding();
        }
    }

    void startFeeding() {
        m_fed = 0;
        feed();
    }

    QByteArray roomLine(int n) const {
        // Every tenth line carries a smiley, which Quorvel shows as a picture.
        const QByteArray text = "line " + QByteArray::number(n) + " of a busy evening in the room, as long as most" +
                                (n % 10 == 0 ? " :)" : "");
        if (m_irc)
            return ":" + Feeder + "!f@127.0.0.1 PRIVMSG " + Channel + " :" + text + "\r\n";
        return "MSG" + Separator + "<" + Feeder + "> " + text + "\r\n";
    }

    void feed() {
        if (!m_fed || *m_fed == m_lines)
            return;
        while (*m_fed < m_lines && m_client->bytesToWrite() < Window)
            m_client->write(roomLine(++*m_fed));
        if (*m_fed == m_lines)
            QTextStream(stdout) << "fed " << m_lines << Qt::endl;
    }

    bool m_irc;
    int m_lines;
    QTcpServer m_server;
    QTcpSocket* m_client = nullptr;
    QByteArray m_partial;
    QByteArray m_nick = "bench";
    std::optional<int> m_fed;
};

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    if (args.size() != 4 || (args.at(1) != QLatin1String("quorvel") && args.at(1) != QLatin1String("irc"))) {
        QTextStream(stderr) << "usage: display_feed quorvel|irc PORT LINES\n";
        return 2;
    }
    DisplayFeed feed(args.at(1) == QLatin1String("irc"), args.at(3).toInt());
    if (!feed.listen(static_cast<quint16>(args.at(2).toUInt()))) {
        QTextStream(stderr) << "cannot listen on port " << args.at(2) << '\n';
        return 1;
    }
    QTextStream(stdout) << "listening" << Qt::endl;
    return QCoreApplication::exec();
}
