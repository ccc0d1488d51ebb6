#pragma once

#include "server/ServerClock.h"
#include "server/ServerLimits.h"

#include <QHash>
#include <QHostAddress>
#include <QObject>
#include <QString>

class BudgetedListener;
class ChatRoom;
class DatabaseThreads;
class DescriptorBudget;
class MemberSession;
class QTcpSocket;
class TlsCredentials;
class TlsPort;
class ServerMetrics;
class QTimer;

// Accepts chat connections, caps them per address, drives the keep-alive and hands each
// session's messages to the room.
class ChatServer : public QObject {
    Q_OBJECT
public:
    ChatServer(DatabaseThreads& database, const ServerLimits& limits, NowFunction now = systemNow(),
               QObject* parent = nullptr);
    ~ChatServer() override;

    bool listen(const QHostAddress& address, quint16 port);
    quint16 port() const;
    QString errorString() const;
    // Also serves members over TLS on `port`, with the certificate in force at each connection.
    // A connection counts against its address from the start of its handshake.
    bool listenTls(const QHostAddress& address, quint16 port, const TlsCredentials& credentials);
    quint16 tlsPort() const;
    int tlsHandshakesUnderWay() const;
    QString tlsErrorString() const;

    // Accept only while the process has descriptors to spare (none set: no such check).
    void setDescriptorBudget(DescriptorBudget* budget);

    // Counts what the room and its members do, and offers the members online, the connections
    // and the bytes waiting for members as gauges; metrics must outlive this server's scrapes.
    void setMetrics(ServerMetrics* metrics);

    ChatRoom& room() { return *m_room; }
    int connectionCount() const { return static_cast<int>(m_sessions); }

signals:
    void connectionRefused(const QString& address);
    void connectionClosed();

private:
    void onNewConnection();
    void accept(QTcpSocket* socket);
    void onSessionGone(MemberSession* session);
    void onKeepAlive();

    ServerLimits m_limits;
    NowFunction m_now;
    BudgetedListener* m_listener;
    TlsPort* m_tls = nullptr;
    DescriptorBudget* m_budget = nullptr;
    ChatRoom* m_room;
    QTimer* m_keepAlive;
    QHash<QString, int> m_connectionsByAddress;
    qsizetype m_sessions = 0;
    ServerMetrics* m_metrics = nullptr;
};
