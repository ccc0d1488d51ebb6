#include "GameResponder.h"

#include "FakeSourceServer.h"

#include <QHostAddress>
#include <QNetworkDatagram>
#include <QUdpSocket>

GameResponder::GameResponder(QObject* parent) : QObject(parent) {}

quint16 GameResponder::listen(quint16 port, FakeGameServer server, QString* error) {
    auto* socket = new QUdpSocket(this);
    if (!socket->bind(QHostAddress::LocalHost, port)) {
        if (error)
            *error = socket->errorString();
        delete socket;
        return 0;
    }
    const quint16 bound = socket->localPort();
    m_servers[bound] = std::move(server);
    connect(socket, &QUdpSocket::readyRead, this, [this, socket] { readRequests(socket); });
    return bound;
}

FakeGameServer& GameResponder::server(quint16 port) { return m_servers[port]; }

void GameResponder::readRequests(QUdpSocket* socket) {
    while (socket->hasPendingDatagrams()) {
        const QNetworkDatagram request = socket->receiveDatagram();
        if (!request.isValid())
            break;
        const quint16 port = socket->localPort();
        const QString self = QStringLiteral("127.0.0.1:") + QString::number(port);
        QList<QByteArray> replies = FakeSourceReplies::repliesTo(request.data(), m_servers[port]);
        if (const auto reply = FakeGameReplies::replyTo(request.data(), m_servers[port], self))
            replies.append(*reply);
        for (const QByteArray& reply : std::as_const(replies))
            socket->writeDatagram(reply, request.senderAddress(), quint16(request.senderPort()));
        Q_EMIT answered(port, request.data());
    }
}
