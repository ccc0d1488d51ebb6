#include "servers/ServerQuery.h"

#include "common/Windows1252.h"
#include "servers/GameCatalogue.h"

#include <QHostAddress>
#include <QHostInfo>
#include <QNetworkDatagram>
#include <QTimer>
#include <QUdpSocket>

ServerQuery::ServerQuery(const QueryTarget& target, QueryResultSink& sink, QObject* parent)
    : QObject(parent), m_target(target), m_sink(sink), m_socket(new QUdpSocket(this)),
      m_sourceFallback(new QTimer(this)) {
    m_socket->setObjectName(QStringLiteral("Socket"));
    connect(m_socket, &QUdpSocket::readyRead, this, &ServerQuery::readReplies);
    m_sourceFallback->setObjectName(QStringLiteral("SourceFallback"));
    m_sourceFallback->setSingleShot(true);
    m_sourceFallback->setInterval(kSourceFallbackMs);
    connect(m_sourceFallback, &QTimer::timeout, this, &ServerQuery::askTheSourceWay);
}

quint16 ServerQuery::localPort() const { return m_socket->localPort(); }

GameQuery::Check ServerQuery::send() {
    const QString address = m_target.serverAddress();
    const GameQuery::Target target = GameQuery::checkTarget(address, m_target.serverPort());
    if (target.check != GameQuery::Check::Ready)
        return target.check;
    const QString game = m_target.gameKey();
    const QByteArray datagram = GameQuery::requestDatagram(game);
    if (!datagram.isEmpty())
        sendTo(address, target.port, datagram);
    m_sourceFallback->stop();
    if (game == GameCatalogue::HalfLife) {
        m_host = address;
        m_port = target.port;
        m_sourceFallback->start();
    }
    return target.check;
}

void ServerQuery::askTheSourceWay() {
    // The selector may have moved on during the wait: only a Half-Life server is asked this way.
    if (m_target.gameKey() == GameCatalogue::HalfLife)
        sendTo(m_host, m_port, m_exchange.start());
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
        if (m_target.gameKey() == GameCatalogue::HalfLife) {
            if (const std::optional<SourceExchange::Step> step = m_exchange.receive(bytes)) {
                if (step->send)
                    sendTo(m_host, m_port, *step->send);
                if (step->show)
                    m_sink.showReply(*step->show, step->bytes, replyMs);
                continue;
            }
            // The server answers the old request: it is not asked the A2S way this time.
            m_sourceFallback->stop();
        }
        m_sink.showReply(GameQuery::parseReply(m_target.gameKey(), Windows1252::decode(bytes)), bytes.size(),
                         replyMs);
    }
}
