#pragma once

#include <QByteArray>
#include <QList>
#include <QPointer>
#include <QTcpServer>
#include <QTcpSocket>

class ChatSession;

// A port on 127.0.0.1 that nothing listens on: one that was free a moment ago.
inline quint16 closedLocalPort() {
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost, 0);
    return probe.serverPort();
}

// Plays the chat server on 127.0.0.1 for one client: records every segment the client sends
// and writes whatever the test scripts, one write per read the client should see.
class ScriptedChatServer : public QObject {
    Q_OBJECT
public:
    explicit ScriptedChatServer(QObject* parent = nullptr);

    quint16 port() const { return m_server.serverPort(); }
    bool hasClient() const { return m_client != nullptr; }
    QTcpSocket* client() const { return m_client; }

    // Sends raw bytes in one write; returns when they have left the socket buffer.
    void send(const QByteArray& bytes);
    // Everything received so far, concatenated; clears with take().
    QByteArray received() const { return m_received; }
    QByteArray take();
    void dropClient();

    // Sends one read to the session's client and returns once the session has handled it.
    bool deliver(ChatSession& session, const QByteArray& read);
    // Waits until the client has sent at least `bytes` in total since the last take.
    bool waitForReceived(qsizetype bytes);
    // Everything the session sent since the last take, proven complete by a marker sent after it;
    // "<timeout>" when the marker never arrived.
    QByteArray takeSentBy(ChatSession& session);

Q_SIGNALS:
    void clientConnected();
    void dataReceived();
    void clientGone();

private:
    QTcpServer m_server;
    QPointer<QTcpSocket> m_client;
    QByteArray m_received;
};
