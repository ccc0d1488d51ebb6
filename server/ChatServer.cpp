#include "server/ChatServer.h"

#include "chat/ChatMessage.h"
#include "chat/ChatProtocol.h"
#include "common/Windows1252.h"
#include "server/AddressRules.h"
#include "server/BudgetedListener.h"
#include "server/ChatRoom.h"
#include "server/MemberSession.h"
#include "server/ServerMetrics.h"
#include "server/TlsPort.h"

#include <QSslSocket>
#include <QTimer>

ChatServer::ChatServer(DatabaseThreads& database, const ServerLimits& limits, NowFunction now,
                       QObject* parent)
    : QObject(parent)
    , m_limits(limits)
    , m_now(std::move(now))
    , m_listener(new BudgetedListener(this))
    , m_room(new ChatRoom(database, limits, m_now, this))
    , m_keepAlive(new QTimer(this)) {
    // A burst of members coming back after an outage must not overflow the kernel's accept queue.
    m_listener->setListenBacklogSize(1024);
    connect(m_listener, &QTcpServer::newConnection, this, &ChatServer::onNewConnection);
    connect(m_keepAlive, &QTimer::timeout, this, &ChatServer::onKeepAlive);
    m_keepAlive->start(m_limits.keepAliveMs);
}

ChatServer::~ChatServer() {
    // The room goes before the sessions among our children; a session closing on the way out
    // must not report to it.
    for (MemberSession* session : findChildren<MemberSession*>(Qt::FindDirectChildrenOnly))
        session->disconnect(this);
}

bool ChatServer::listen(const QHostAddress& address, quint16 port) {
    return m_listener->listen(address, port);
}

quint16 ChatServer::port() const {
    return m_listener->serverPort();
}

QString ChatServer::errorString() const {
    return m_listener->errorString();
}

void ChatServer::setDescriptorBudget(DescriptorBudget* budget) {
    m_budget = budget;
    m_listener->setBudget(budget);
}

bool ChatServer::listenTls(const QHostAddress& address, quint16 port, const TlsCredentials& credentials) {
    const TlsPort::Rules rules{m_limits.tlsHandshakeMs, m_limits.tlsHandshakesAtOnce,
                               m_limits.connectionsPerAddress};
    m_tls = new TlsPort(
        credentials, rules, [this](const QString& from) { return m_connectionsByAddress.value(from); }, this);
    if (m_budget)
        m_tls->setDescriptorBudget(m_budget);
    connect(m_tls, &TlsPort::encrypted, this, &ChatServer::accept);
    return m_tls->listen(address, port);
}

quint16 ChatServer::tlsPort() const {
    return m_tls ? m_tls->port() : 0;
}

int ChatServer::tlsHandshakesUnderWay() const {
    return m_tls ? m_tls->handshakesUnderWay() : 0;
}

QString ChatServer::tlsErrorString() const {
    return m_tls ? m_tls->errorString() : QString();
}

void ChatServer::setMetrics(ServerMetrics* metrics) {
    m_metrics = metrics;
    m_room->setMetrics(metrics);
    metrics->addGauge("quorvel_members_online", "Members signed on now.",
                      [this] { return m_room->memberCount(); });
    metrics->addGauge("quorvel_chat_connections", "Open chat connections, signed on or not.",
                      [this] { return qint64(m_sessions); });
    metrics->addGauge(
        "quorvel_delivery_queued_bytes", "Bytes queued for members and not yet taken by the kernel.", [this] {
            qint64 bytes = 0;
            for (const MemberSession* session : findChildren<MemberSession*>(Qt::FindDirectChildrenOnly))
                bytes += session->pendingOutputBytes();
            return bytes;
        });
}

void ChatServer::onNewConnection() {
    while (QTcpSocket* socket = m_listener->takeConnection())
        accept(socket);
}

void ChatServer::accept(QTcpSocket* socket) {
    const QString address = AddressRules::text(socket->peerAddress());
    int& count = m_connectionsByAddress[address];
    if (m_limits.connectionsPerAddress > 0 && count >= m_limits.connectionsPerAddress) {
        // Refused politely, then let go; the socket deletes itself once closed.
        socket->write(Windows1252::encode(
            ChatMessage::build(ChatProtocol::ServerMsg,
                               {QStringLiteral("Too many connections from your address.")}) +
            ChatProtocol::LineEnd));
        connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
        socket->disconnectFromHost();
        if (count == 0)
            m_connectionsByAddress.remove(address);
        emit connectionRefused(address);
        return;
    }
    ++count;
    ++m_sessions;
    auto* session = new MemberSession(socket, m_limits, m_now, this);
    session->setMetrics(m_metrics);
    connect(session, &MemberSession::messageReceived, m_room, &ChatRoom::handle);
    connect(session, &MemberSession::gone, this, &ChatServer::onSessionGone);
}

void ChatServer::onSessionGone(MemberSession* session) {
    m_room->departed(session);
    const QString address = session->address();
    if (--m_connectionsByAddress[address] <= 0)
        m_connectionsByAddress.remove(address);
    --m_sessions;
    session->deleteLater();
    emit connectionClosed();
}

void ChatServer::onKeepAlive() {
    for (MemberSession* session : findChildren<MemberSession*>(Qt::FindDirectChildrenOnly))
        session->keepAliveTick();
}
