#include "servers/ServerListQuery.h"

#include "servers/ServerConversation.h"

#include <QElapsedTimer>
#include <QHostInfo>
#include <QNetworkDatagram>
#include <QTimer>
#include <QUdpSocket>
#include <QVariant>

namespace {

// An IPv4 sender on a dual-stack socket reads as ::ffff:a.b.c.d; both sides are compared as IPv4.
QHostAddress plain(const QHostAddress& address) {
    bool isV4 = false;
    const quint32 v4 = address.toIPv4Address(&isV4);
    return isV4 ? QHostAddress(v4) : address;
}

} // namespace

struct ServerListQuery::Flight {
    explicit Flight(const QString& game)
        : conversation(game) {}
    ServerConversation conversation;
    QHostAddress address;
    quint16 port = 0;
    int retriesLeft = 0;
    QElapsedTimer sinceSend;
    std::unique_ptr<QTimer> silence;
};

ServerListQuery::ServerListQuery(QObject* parent)
    : QObject(parent)
    , m_socket(new QUdpSocket(this)) {
    connect(m_socket, &QUdpSocket::readyRead, this, &ServerListQuery::readDatagrams);
}

ServerListQuery::~ServerListQuery() = default;

void ServerListQuery::start(const QString& gameKey, const QList<Target>& targets) {
    stop();
    if (m_socket->state() != QAbstractSocket::BoundState) {
        m_socket->bind(QHostAddress::Any, 0);
        // A whole list answering at once must not overflow the system's default buffer.
        m_socket->setSocketOption(QAbstractSocket::ReceiveBufferSizeSocketOption, QVariant(1 << 20));
    }
    m_game = gameKey;
    m_targets = targets;
    launchMore();
    reportIfAllFinished(); // an empty list
}

void ServerListQuery::reportIfAllFinished() {
    // A server that cannot be asked at all finishes inside launchMore(), one level down: the
    // end is reported once, by whichever level sees it first.
    if (m_finished == total() && !m_allReported) {
        m_allReported = true;
        Q_EMIT allFinished();
    }
}

void ServerListQuery::stop() {
    ++m_generation;
    m_flights.clear();
    m_byAddress.clear();
    m_targets.clear();
    m_next = m_finished = m_answered = 0;
    m_allReported = false;
}

void ServerListQuery::launchMore() {
    const quint64 generation = m_generation;
    while (m_next < m_targets.size() && int(m_flights.size()) < m_limits.inFlight &&
           generation == m_generation)
        launch(m_next++);
}

void ServerListQuery::launch(int index) {
    auto flight = std::make_unique<Flight>(m_game);
    flight->silence = std::make_unique<QTimer>();
    flight->silence->setSingleShot(true);
    connect(flight->silence.get(), &QTimer::timeout, this, [this, index] { timedOut(index); });
    m_flights.emplace(index, std::move(flight));
    const quint64 generation = m_generation;
    Q_EMIT serverStarted(index);
    if (generation != m_generation)
        return;

    const QString& host = m_targets.at(index).address;
    const QHostAddress literal(host);
    if (!literal.isNull()) {
        resolved(index, literal);
        return;
    }
    QHostInfo::lookupHost(host, this, [this, index, generation](const QHostInfo& info) {
        if (generation != m_generation || !m_flights.count(index))
            return;
        if (info.error() != QHostInfo::NoError || info.addresses().isEmpty())
            finish(index);
        else
            resolved(index, info.addresses().constFirst());
    });
}

void ServerListQuery::resolved(int index, const QHostAddress& address) {
    Flight& flight = *m_flights.at(index);
    flight.address = plain(address);
    flight.port = m_targets.at(index).port;
    m_byAddress.insert({flight.address, flight.port}, index);
    const QList<QByteArray> first = flight.conversation.start();
    if (first.isEmpty()) {
        finish(index);
        return;
    }
    sendAll(flight, first);
}

void ServerListQuery::sendAll(Flight& flight, const QList<QByteArray>& datagrams) {
    flight.retriesLeft = m_limits.retries;
    for (const QByteArray& datagram : datagrams)
        m_socket->writeDatagram(datagram, flight.address, flight.port);
    flight.sinceSend.start();
    flight.silence->start(m_limits.timeoutMs);
}

void ServerListQuery::timedOut(int index) {
    Flight& flight = *m_flights.at(index);
    if (flight.retriesLeft <= 0) {
        finish(index);
        return;
    }
    --flight.retriesLeft;
    for (const QByteArray& datagram : flight.conversation.lastRequests())
        m_socket->writeDatagram(datagram, flight.address, flight.port);
    flight.sinceSend.start();
    flight.silence->start(m_limits.timeoutMs);
}

void ServerListQuery::readDatagrams() {
    const quint64 generation = m_generation;
    while (m_socket->hasPendingDatagrams() && generation == m_generation) {
        const QNetworkDatagram datagram = m_socket->receiveDatagram();
        if (!datagram.isValid())
            break;
        // Two entries of the list may name the same server: each is told.
        const QList<int> indices =
            m_byAddress.values({plain(datagram.senderAddress()), quint16(datagram.senderPort())});
        for (int index : indices) {
            if (generation != m_generation || !m_flights.count(index))
                continue;
            Flight& flight = *m_flights.at(index);
            const ServerConversation::Step step = flight.conversation.receive(datagram.data());
            if (!step.useful)
                continue;
            ServerAnswer& answer = flight.conversation.answer();
            if (!answer.pingMs)
                answer.pingMs = flight.sinceSend.elapsed();
            if (step.finished)
                finish(index);
            else if (!step.send.isEmpty())
                sendAll(flight, step.send);
        }
    }
}

void ServerListQuery::finish(int index) {
    const auto found = m_flights.find(index);
    if (found == m_flights.end())
        return;
    const std::unique_ptr<Flight> flight = std::move(found->second);
    m_flights.erase(found);
    // The timer may be the one whose timeout brought us here.
    flight->silence->stop();
    flight->silence.release()->deleteLater();
    m_byAddress.remove({flight->address, flight->port}, index);
    const ServerAnswer& answer = flight->conversation.answer();
    ++m_finished;
    if (answer.answered)
        ++m_answered;
    const quint64 generation = m_generation;
    Q_EMIT serverFinished(index, answer);
    if (generation != m_generation)
        return;
    launchMore();
    if (generation == m_generation)
        reportIfAllFinished();
}
