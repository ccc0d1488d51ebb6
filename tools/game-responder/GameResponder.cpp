#include "GameResponder.h"

#include "FakeSourceServer.h"

#include <QHostAddress>
#include <QNetworkDatagram>
#include <QPointer>
#include <QTimer>
#include <QUdpSocket>

GameResponder::GameResponder(QObject* parent)
    : QObject(parent) {}

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

FakeGameServer& GameResponder::server(quint16 port) {
    return m_servers[port];
}

void GameResponder::setLoss(int percent, quint32 seed) {
    m_lossPercent = percent;
    m_random.seed(seed);
}

void GameResponder::readRequests(QUdpSocket* socket) {
    while (socket->hasPendingDatagrams()) {
        const QNetworkDatagram request = socket->receiveDatagram();
        if (!request.isValid())
            break;
        const quint16 port = socket->localPort();
        Q_EMIT heard(port, request.data());
        const FakeGameServer& server = m_servers[port];
        if (server.silent || (m_lossPercent > 0 && int(m_random.bounded(100)) < m_lossPercent))
            continue;
        const QString self = QStringLiteral("127.0.0.1:") + QString::number(port);
        QList<QByteArray> replies = FakeSourceReplies::repliesTo(request.data(), server);
        if (const auto reply = FakeGameReplies::replyTo(request.data(), server, self))
            replies.append(*reply);
        auto send = [this, socket = QPointer(socket), port, request, replies] {
            if (!socket)
                return;
            for (const QByteArray& reply : replies)
                socket->writeDatagram(reply, request.senderAddress(), quint16(request.senderPort()));
            Q_EMIT answered(port, request.data());
        };
        if (server.delayMs > 0)
            QTimer::singleShot(server.delayMs, this, send);
        else
            send();
    }
}
