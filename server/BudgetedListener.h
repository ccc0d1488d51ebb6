#pragma once

#include <QTcpServer>

class DescriptorBudget;

// A listener that hands out connections only while the descriptor budget has room. Within one
// readiness event Qt accepts one connection more before it sees the pause; that one waits in the
// queue holding at most a byte, so that nobody can fill our memory through a connection we do not
// serve yet. Whatever it sends meanwhile waits in the kernel.
class BudgetedListener : public QTcpServer {
    Q_OBJECT
public:
    explicit BudgetedListener(QObject* parent = nullptr);

    // Accept only while the process has descriptors to spare (none set: no such check).
    void setBudget(DescriptorBudget* budget);
    // Connections come as QSslSocket, not encrypted yet, for a taker that starts the handshake.
    void setEncrypted(bool encrypted) { m_encrypted = encrypted; }
    // The next connection, counted against the budget; null when none is waiting or there is no
    // room. Without room the listener pauses, and newConnection comes again once there is.
    // Signals the socket sent before it was taken reached nobody: its taker must look at the data
    // it holds and at its state.
    QTcpSocket* takeConnection();

protected:
    void incomingConnection(qintptr descriptor) override;

private:
    DescriptorBudget* m_budget = nullptr;
    bool m_encrypted = false;
};
