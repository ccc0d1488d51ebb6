#include "servers/ServerQuery.h"

#include "common/Windows1252.h"

#include <QHostAddress>
#include <QHostInfo>
#include <QNetworkDatagram>
#include <QUdpSocket>

ServerQuery::ServerQuery(const QueryTarget& target, QueryResultSink& sink, QObject* parent)
    : QObject(parent), m_target(target), m_sink(sink), m_socket(new QUdpSocket(this)) {
    m_socket->setObjectName(QStringLiteral("Socket"));
    connect(m_socket, &QUdpSocket::readyRead, this, &ServerQuery::readReplies);
}

quint16 ServerQuery::localPort() const { return m_socket->localPort(); }

GameQuery::Check ServerQuery::send() {
    const QString address = m_target.serverAddress();
    const GameQuery::Target target = GameQuery::checkTarget(address, m_target.serverPort());
    if (target.check != GameQuery::Check::Ready)
        return target.check;
    const QByteArray datagram = GameQuery::requestDatagram(m_target.gameKey());
    if (!datagram.isEmpty())
        sendTo(address, target.port, datagram);
    return target.check;
}

void ServerQuery::sendTo(const QString& host, quint16 port, const QByteArray& datagram) {
    const QHostAddress literal(host);
    if (!literal.isNull()) {
        m_sinceRequest.start();
        m_socket->writeDatagram(datagram, literal, port);
        return;
    }
    QHostInfo::lookupHost(host, this, [this, port, datagram](const QHostInfo& info) {
        if (info.error() != QHostInfo::NoError || info.addresses().isEmpty())
            return;
        m_sinceRequest.start();
        m_socket->writeDatagram(datagram, info.addresses().constFirst(), port);
    });
}

void ServerQuery::readReplies() {
    while (m_socket->hasPendingDatagrams()) {
        const QNetworkDatagram datagram = m_socket->receiveDatagram();
        if (!datagram.isValid())
            break;
        const QByteArray bytes = datagram.data();
        const std::optional<qint64> replyMs =
            m_sinceRequest.isValid() ? std::optional<qint64>(m_sinceRequest.elapsed()) : std::nullopt;
        m_sink.showReply(GameQuery::parseReply(m_target.gameKey(), Windows1252::decode(bytes)), bytes.size(),
                         replyMs);
    }
}
