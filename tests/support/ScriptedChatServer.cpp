#include "ScriptedChatServer.h"

#include "chat/ChatSession.h"

#include <QHostAddress>
#include <QSignalSpy>
#include <QTest>

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

bool ScriptedChatServer::deliver(ChatSession& session, const QByteArray& read) {
    QSignalSpy handled(&session, &ChatSession::readHandled);
    send(read);
    return handled.wait(5000);
}

bool ScriptedChatServer::waitForReceived(qsizetype bytes) {
    return QTest::qWaitFor([&] { return m_received.size() >= bytes; }, 5000);
}

QByteArray ScriptedChatServer::takeSentBy(ChatSession& session) {
    session.send(QStringLiteral("MARK"));
    if (!QTest::qWaitFor([this] { return m_received.endsWith("MARK"); }, 5000))
        return QByteArrayLiteral("<timeout>");
    QByteArray all = take();
    all.chop(4);
    return all;
}
