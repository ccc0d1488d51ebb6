#include "BenchMember.h"

#include "server/DeliveryQueue.h"

namespace {
const QByteArray Separator("|\xBF|");
const QByteArray Channel("#bench");
} // namespace

BenchMember::BenchMember(Protocol protocol, const QString& name, QObject* parent)
    : QObject(parent)
    , m_protocol(protocol)
    , m_name(name.toLatin1()) {
    connect(&m_socket, &QTcpSocket::connected, this, [this] {
        if (m_socket.mode() == QSslSocket::UnencryptedMode)
            onConnected();
    });
    connect(&m_socket, &QSslSocket::encrypted, this, &BenchMember::onConnected);
    connect(&m_socket, &QTcpSocket::readyRead, this, &BenchMember::onReadyRead);
    connect(&m_socket, &QTcpSocket::disconnected, this, [this] { m_failed = true; });
    connect(&m_socket, &QTcpSocket::errorOccurred, this, [this] { m_failed = true; });
}

void BenchMember::connectTo(quint16 port, bool tls) {
    if (!tls) {
        m_socket.connectToHost(QHostAddress::LocalHost, port);
        return;
    }
    m_socket.setPeerVerifyMode(QSslSocket::VerifyNone);
    m_socket.connectToHostEncrypted(QStringLiteral("127.0.0.1"), port);
}

void BenchMember::onConnected() {
    m_socket.setSocketOption(QAbstractSocket::LowDelayOption, 1);
    if (m_protocol == Protocol::Quorvel)
        m_socket.write("LOGIN" + Separator + m_name + Separator + "1");
    else
        m_socket.write("NICK " + m_name + "\r\nUSER " + m_name + " 0 * :bench\r\n");
}

void BenchMember::say(const QByteArray& text) {
    if (m_protocol == Protocol::Quorvel)
        m_socket.write("MSG" + Separator + text + "\r\n");
    else
        m_socket.write("PRIVMSG " + Channel + " :" + text + "\r\n");
}

void BenchMember::onReadyRead() {
    m_partial += m_socket.readAll();
    m_readEnded = false;
    qsizetype start = 0;
    qsizetype end = 0;
    while ((end = m_partial.indexOf('\n', start)) >= 0) {
        QByteArray line = m_partial.mid(start, end - start);
        if (line.endsWith('\r'))
            line.chop(1);
        handleLine(line);
        start = end + 1;
    }
    m_partial.remove(0, start);
}

void BenchMember::handleLine(const QByteArray& line) {
    if (m_protocol == Protocol::Quorvel) {
        if (m_readEnded && !line.startsWith("PING"))
            ++m_lostToReadRules;
        if (DeliveryQueue::classify(line + "\r\n", false) == DeliveryQueue::Kind::EndsRead)
            m_readEnded = true;
        if (line.startsWith("MSG" + Separator)) {
            ++m_roomLines;
            emit roomLine(line);
        } else if (line.startsWith("PING")) {
            m_socket.write("PING" + Separator + "00:00:00\r\n");
        } else if (!m_ready && line == "LIST" + Separator + m_name) {
            m_ready = true;
            emit ready();
        } else if (line == "INVALID") {
            m_failed = true;
        }
        return;
    }
    // IRC: ":nick!user@host PRIVMSG #bench :text", numerics, PING.
    if (line.startsWith("PING ")) {
        m_socket.write("PONG " + line.mid(5) + "\r\n");
        return;
    }
    const QList<QByteArray> words = line.split(' ');
    const QByteArray command = words.value(1);
    if (command == "PRIVMSG") {
        ++m_roomLines;
        emit roomLine(line);
    } else if (command == "001") {
        m_socket.write("JOIN " + Channel + "\r\n");
    } else if (command == "366" && !m_ready) { // end of the names list: in the channel
        m_ready = true;
        emit ready();
    } else if (command == "433" || line.startsWith("ERROR")) {
        m_failed = true;
    }
}
