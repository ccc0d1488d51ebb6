#pragma once

#include "server/AccountStore.h"

#include <QHash>
#include <QObject>
#include <QPointer>
#include <QThread>

#include <functional>

class DatabaseWriterThread;

// Every change to the database runs here, on a thread of its own with its own connection, so
// that a change meeting another connection's lock never holds up the room. Changes run one at
// a time in the order they were given; a refused change is retried with growing pauses, and the
// ones behind it wait, so no change overtakes an earlier one. Reads stay with the caller's own
// connection: they never wait for a writer (WAL in SQLite, row versions in PostgreSQL).
class DatabaseWriter : public QObject {
    Q_OBJECT
public:
    // Runs on the writer's thread; a statement that fails marks the store failed().
    using Change = std::function<void(AccountStore&)>;
    using Done = std::function<void(bool committed)>;
    // How long one try waits for another connection's lock; the queue waits between tries.
    static constexpr int LockWaitMs = 200;

    // patienceMs: how long a change someone waits for may be refused before it is given up.
    explicit DatabaseWriter(AccountStore::Config config, int patienceMs = 3000, QObject* parent = nullptr);
    // Gives the changes still due a last few seconds to land, then stops the thread.
    ~DatabaseWriter() override;

    bool open(QString* error);

    // A change that is answered: done(true) once committed, done(false) once refused for
    // patienceMs. done runs on this object's thread, and not at all once context is gone.
    void change(QObject* context, Change work, Done done);
    // A change that was due and must not be lost (a departure's last-seen time): retried until
    // it commits, however long the database refuses.
    void changeWhenPossible(Change work);

private:
    void onFinished(quint64 id, bool committed);

    struct Waiting {
        QPointer<QObject> context;
        Done done;
    };

    int m_patienceMs;
    QThread m_thread;
    DatabaseWriterThread* m_worker;
    QHash<quint64, Waiting> m_waiting;
    quint64 m_nextId = 1;
};
