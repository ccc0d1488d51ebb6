#include "server/BudgetedListener.h"

#include "server/DescriptorBudget.h"

#include <QSslSocket>

BudgetedListener::BudgetedListener(QObject* parent)
    : QTcpServer(parent) {}

void BudgetedListener::setBudget(DescriptorBudget* budget) {
    m_budget = budget;
    // Qt keeps accepting within one readiness event as long as its queue of accepted connections
    // is below this; with 1, a connection left in the queue ends the loop.
    setMaxPendingConnections(1);
    connect(budget, &DescriptorBudget::roomAgain, this, [this] {
        if (hasPendingConnections())
            emit newConnection();
    });
}

QTcpSocket* BudgetedListener::takeConnection() {
    if (m_budget && !m_budget->hasRoom()) {
        m_budget->pauseUntilRoom(this);
        return nullptr;
    }
    QTcpSocket* socket = nextPendingConnection();
    if (!socket)
        return nullptr;
    socket->setReadBufferSize(0);
    if (m_budget)
        m_budget->take(socket);
    return socket;
}

void BudgetedListener::incomingConnection(qintptr descriptor) {
    QTcpSocket* socket = m_encrypted ? new QSslSocket(this) : new QTcpSocket(this);
    socket->setSocketDescriptor(descriptor);
    if (m_budget && !m_budget->hasRoom())
        socket->setReadBufferSize(1);
    addPendingConnection(socket);
}
