#pragma once

#include "server/AccountStore.h"

#include <QHash>
#include <QObject>
#include <QPointer>
#include <QThread>

#include <functional>

class DatabaseLane;
class ServerMetrics;

// All the database work of the room, which never waits for it, on two threads, each with a
// connection of its own. Every change runs on the writer thread, one at a time in the order
// given; a change refused (another connection's lock, the database gone) is retried with growing
// pauses, on a new connection when the old one was lost, and the ones behind it wait, so none
// overtakes an earlier one. Reads run on the reader thread, so that they never queue behind a
// change; they never wait for a writer anyway (WAL in SQLite, row versions in PostgreSQL).
class DatabaseThreads : public QObject {
    Q_OBJECT
public:
    // Runs on one of the threads; a statement that fails marks the store failed().
    using Work = std::function<void(AccountStore&)>;
    using Done = std::function<void(bool succeeded)>;
    // How long one try waits for another connection's lock; the lane waits between tries.
    static constexpr int LockWaitMs = 200;

    // patienceMs: how long work someone waits for may fail before it is given up.
    explicit DatabaseThreads(AccountStore::Config config, int patienceMs = 3000, QObject* parent = nullptr);
    // Gives the changes still due a last few seconds to land, then stops the threads.
    ~DatabaseThreads() override;

    bool open(QString* error);
    // Where each try's time, the failed tries and the waits given up are counted; none by default.
    // Set before any work is given.
    void setMetrics(ServerMetrics* metrics);
    int hashIterations() const { return m_hashIterations; }

    // A change that is answered: done(true) once committed, done(false) once refused for
    // patienceMs, or shortly after when the database holds the thread up without an answer.
    // done runs on this object's thread, and not at all once context is gone.
    void change(QObject* context, Work work, Done done);
    // A change that was due and must not be lost (a departure's last-seen time): retried until
    // it commits, however long the database refuses.
    void changeWhenPossible(Work work);
    // A read, with the same answer as change().
    void read(QObject* context, Work work, Done done);

private:
    struct Lane {
        QThread thread;
        DatabaseLane* worker = nullptr;
    };
    struct Waiting {
        QPointer<QObject> context;
        Done done;
    };

    void startLane(Lane& lane, const QString& name, const AccountStore::Config& config);
    // Notes a waiter and arms its deadline; returns its id.
    quint64 wait(QObject* context, Done done);
    void post(Lane& lane, quint64 id, Work work, int patienceMs);
    void onFinished(quint64 id, bool succeeded);

    int m_patienceMs;
    int m_hashIterations;
    Lane m_writer;
    Lane m_reader;
    QHash<quint64, Waiting> m_waiting;
    quint64 m_nextId = 1;
    ServerMetrics* m_metrics = nullptr;
};
