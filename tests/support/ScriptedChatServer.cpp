#include "ScriptedChatServer.h"

#include <QHostAddress>

ScriptedChatServer::ScriptedChatServer(QObject* parent) : QObject(parent) {
    m_server.listen(QHostAddress::LocalHost, 0);
    connect(&m_server, &QTcpServer::newConnection, this, [this] {
        while (QTcpSocket* s = m_server.nextPendingConnection()) {
            m_client = s;
            s->setParent(this);
            connect(s, &QTcpSocket::readyRead, this, [this, s] {
                m_received += s->readAll();
                Q_EMIT dataReceived();
            });
            connect(s, &QTcpSocket::disconnected, this, &ScriptedChatServer::clientGone);
            Q_EMIT clientConnected();
        }
    });
}

void ScriptedChatServer::send(const QByteArray& bytes) {
    if (!m_client)
        return;
    m_client->write(bytes);
    m_client->flush();
}

QByteArray ScriptedChatServer::take() {
    return std::exchange(m_received, {});
}

void ScriptedChatServer::dropClient() {
    if (m_client)
        m_client->disconnectFromHost();
}
