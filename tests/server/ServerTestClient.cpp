#include "ServerTestClient.h"

#include "common/Windows1252.h"

#include <QtTest>

ServerTestClient::ServerTestClient(QObject* parent)
    : QObject(parent) {
    connect(&m_socket, &QTcpSocket::readyRead, this, &ServerTestClient::onReadyRead);
    connect(&m_socket, &QSslSocket::sslErrors, this,
            [this](const QList<QSslError>& errors) { m_tlsErrors = errors; });
}

bool ServerTestClient::connectEncrypted(quint16 port, const QSslCertificate& authority) {
    QSslConfiguration configuration = m_socket.sslConfiguration();
    configuration.setCaCertificates({authority});
    m_socket.setSslConfiguration(configuration);
    m_socket.connectToHostEncrypted(QStringLiteral("localhost"), port);
    // The server may run in this process: its side of the handshake needs the event loop.
    return QTest::qWaitFor(
               [&] {
                   return m_socket.isEncrypted() || !m_tlsErrors.isEmpty() ||
                          m_socket.state() == QAbstractSocket::UnconnectedState;
               },
               5000) &&
           m_socket.isEncrypted();
}

bool ServerTestClient::connectTo(quint16 port) {
    m_socket.connectToHost(QHostAddress::LocalHost, port);
    return m_socket.waitForConnected(5000);
}

bool ServerTestClient::connectFrom(const QString& localAddress, quint16 port) {
    return m_socket.bind(QHostAddress(localAddress)) && connectTo(port);
}

void ServerTestClient::sendSegment(const QString& text) {
    sendBytes(Windows1252::encode(text));
}

void ServerTestClient::sendBytes(const QByteArray& bytes) {
    m_socket.write(bytes);
    m_socket.flush();
}

void ServerTestClient::onReadyRead() {
    const QByteArray read = m_socket.readAll();
    m_raw += read;
    m_partial += read;
    qsizetype end = 0;
    while ((end = m_partial.indexOf("\r\n")) >= 0) {
        const QString line = Windows1252::decode(m_partial.left(end));
        m_partial.remove(0, end + 2);
        m_lines.append(line);
        if (m_answerPings && line.startsWith(QLatin1String("PING")))
            sendSegment(QStringLiteral("PING|\u00BF|12:00:00\r\n"));
    }
}

QByteArray ServerTestClient::rawChat() const {
    QByteArray chat;
    for (qsizetype start = 0; start < m_raw.size();) {
        const qsizetype found = m_raw.indexOf("\r\n", start);
        const qsizetype end = found < 0 ? m_raw.size() : found + 2;
        if (!m_raw.sliced(start, end - start).startsWith("PING"))
            chat += m_raw.sliced(start, end - start);
        start = end;
    }
    return chat;
}

bool ServerTestClient::waitForLine(const QString& line, int timeoutMs) {
    return QTest::qWaitFor([&] { return m_lines.contains(line); }, timeoutMs);
}

bool ServerTestClient::waitForDisconnect(int timeoutMs) {
    return QTest::qWaitFor([&] { return m_socket.state() == QAbstractSocket::UnconnectedState; }, timeoutMs);
}

QStringList ServerTestClient::chatLines() const {
    static const QRegularExpression notPing(QStringLiteral("^(?!PING)"));
    return m_lines.filter(notPing);
}
