#pragma once

#include <QList>
#include <QObject>
#include <QPointer>

#include <algorithm>

class QTcpServer;

// The connections the process may hold at once, so that it never runs into its descriptor
// limit: there accept() fails at once on every try, the listener stays readable and the event
// loop spins while newcomers wait. Listeners stop accepting while the budget is spent and
// start again when a connection ends; those who connect meanwhile wait in the kernel's queue.
class DescriptorBudget : public QObject {
    Q_OBJECT
public:
    // Descriptors kept back for everything but connections: the database and its journal, the
    // master-list files while they are read, the event loop's own, a database server's socket.
    static constexpr int Reserve = 32;

    // Raises the soft RLIMIT_NOFILE to the hard limit; returns the soft limit now in force.
    static int raiseLimit();
    // Descriptors the process has open now.
    static int openNow();
    // The budget for a process with `limit` descriptors, of which `open` are already used.
    static int connectionsFor(int limit, int open) { return std::max(0, limit - open - Reserve); }

    explicit DescriptorBudget(int connections, QObject* parent = nullptr);

    int connections() const { return m_connections; }
    int inUse() const { return m_inUse; }
    bool hasRoom() const { return m_inUse < m_connections; }

    // Counts one descriptor until `owner` (the socket) is destroyed.
    void take(QObject* owner);
    // Stops `listener` accepting until a descriptor comes back.
    void pauseUntilRoom(QTcpServer* listener);

signals:
    // A descriptor came back while listeners were paused; they were resumed.
    void roomAgain();

private:
    void give();

    int m_connections;
    int m_inUse = 0;
    QList<QPointer<QTcpServer>> m_paused;
};
