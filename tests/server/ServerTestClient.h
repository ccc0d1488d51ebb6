#pragma once

#include <QByteArray>
#include <QObject>
#include <QSslSocket>
#include <QString>
#include <QStringList>

// A member's connection as the server sees it, driven by a test: sends raw segments exactly
// as given and collects every CR LF-ended line the server writes, reassembled across reads.
class ServerTestClient : public QObject {
    Q_OBJECT
public:
    explicit ServerTestClient(QObject* parent = nullptr);

    bool connectTo(quint16 port);
    // The same from another loopback address (127.0.0.2, ...), as a member from elsewhere.
    bool connectFrom(const QString& localAddress, quint16 port);
    // Connects to a TLS port and waits for the handshake, trusting `authority` for localhost;
    // false when the handshake fails (the errors are in tlsErrors()).
    bool connectEncrypted(quint16 port, const QSslCertificate& authority);
    QList<QSslError> tlsErrors() const { return m_tlsErrors; }
    // Starts connecting without waiting, for tests that open many connections at once.
    void startConnect(quint16 port) { m_socket.connectToHost(QHostAddress::LocalHost, port); }
    // One write, Windows-1252, no terminator added.
    void sendSegment(const QString& text);
    void sendBytes(const QByteArray& bytes);
    // Answers each PING like the client does (on by default).
    void setAnswerPings(bool answer) { m_answerPings = answer; }

    QStringList lines() const { return m_lines; }
    QByteArray rawReceived() const { return m_raw; }
    // What was received without the PING lines, which the server also sends on its own schedule.
    QByteArray rawChat() const;
    void clear() {
        m_lines.clear();
        m_raw.clear();
    }
    bool isConnected() const { return m_socket.state() == QAbstractSocket::ConnectedState; }
    QSslSocket& socket() { return m_socket; }

    // Waits (bounded) for a line equal to `line`; true when it arrived.
    bool waitForLine(const QString& line, int timeoutMs = 5000);

    bool waitForDisconnect(int timeoutMs = 5000);
    // Lines other than PING received so far.
    QStringList chatLines() const;

private:
    void onReadyRead();

    QSslSocket m_socket;
    QList<QSslError> m_tlsErrors;
    QByteArray m_raw;
    QByteArray m_partial;
    QStringList m_lines;
    bool m_answerPings = true;
};
