#include "server/TlsPort.h"

#include "server/AddressRules.h"
#include "server/BudgetedListener.h"
#include "server/TlsCredentials.h"

#include <QSslSocket>
#include <QTimer>

TlsPort::TlsPort(const TlsCredentials& credentials, Rules rules, CountFrom establishedFrom, QObject* parent)
    : QObject(parent)
    , m_credentials(credentials)
    , m_rules(rules)
    , m_establishedFrom(std::move(establishedFrom))
    , m_listener(new BudgetedListener(this)) {
    m_listener->setEncrypted(true);
    m_listener->setListenBacklogSize(1024);
    connect(m_listener, &QTcpServer::newConnection, this, &TlsPort::onNewConnection);
}

bool TlsPort::listen(const QHostAddress& address, quint16 port) {
    return m_listener->listen(address, port);
}

quint16 TlsPort::port() const {
    return m_listener->serverPort();
}

QString TlsPort::errorString() const {
    return m_listener->errorString();
}

void TlsPort::setDescriptorBudget(DescriptorBudget* budget) {
    m_listener->setBudget(budget);
}

void TlsPort::onNewConnection() {
    // Past the cap the rest stay in the listener's queue, and the kernel's, until a handshake ends.
    while (m_underWay.size() < m_rules.handshakesAtOnce) {
        auto* socket = static_cast<QSslSocket*>(m_listener->takeConnection());
        if (!socket)
            return;
        const QString address = AddressRules::text(socket->peerAddress());
        const int fromAddress = m_handshakesFrom.value(address) + m_establishedFrom(address);
        if (m_rules.perAddress > 0 && fromAddress >= m_rules.perAddress) {
            // Refused before any key exchange: a notice would cost the handshake it is meant to spare.
            socket->abort();
            socket->deleteLater();
            emit handshakeFailed(address);
            continue;
        }
        start(socket, address);
    }
}

void TlsPort::start(QSslSocket* socket, const QString& address) {
    auto* deadline = new QTimer(this);
    deadline->setSingleShot(true);
    connect(deadline, &QTimer::timeout, this, [this, socket] { finish(socket, false); });
    deadline->start(m_rules.handshakeMs);
    m_underWay.insert(socket, {address, deadline});
    ++m_handshakesFrom[address];
    connect(socket, &QSslSocket::encrypted, this, [this, socket] { finish(socket, true); });
    connect(socket, &QAbstractSocket::disconnected, this, [this, socket] { finish(socket, false); });
    connect(socket, &QAbstractSocket::errorOccurred, this, [this, socket] { finish(socket, false); });
    socket->setSslConfiguration(m_credentials.configuration());
    socket->startServerEncryption();
    // The connection may have waited in the listener's queue, where a hang-up reached nobody.
    if (socket->state() == QAbstractSocket::UnconnectedState)
        finish(socket, false);
}

void TlsPort::finish(QSslSocket* socket, bool succeeded) {
    const auto found = m_underWay.constFind(socket);
    if (found == m_underWay.cend())
        return; // already finished
    const Handshake handshake = *found;
    m_underWay.erase(found);
    handshake.deadline->stop();
    handshake.deadline->deleteLater();
    socket->disconnect(this);
    if (--m_handshakesFrom[handshake.address] <= 0)
        m_handshakesFrom.remove(handshake.address);
    if (succeeded) {
        emit encrypted(socket);
    } else {
        socket->abort();
        socket->deleteLater();
        emit handshakeFailed(handshake.address);
    }
    // A place for the next handshake; whoever waits in the queue takes it.
    QMetaObject::invokeMethod(this, &TlsPort::onNewConnection, Qt::QueuedConnection);
}
