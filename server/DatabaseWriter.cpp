#include "server/DatabaseWriter.h"

#include <QDeadlineTimer>
#include <QTimer>

#include <deque>
#include <memory>

namespace {
constexpr int FirstRetryMs = 50;
constexpr int LongestRetryMs = 1000;
constexpr int ShutdownPatienceMs = 5000;
} // namespace

// The part that lives on the writer's thread: the connection and the queue.
class DatabaseWriterThread : public QObject {
public:
    struct Pending {
        quint64 id; // 0 for a change nobody waits for
        DatabaseWriter::Change work;
        QDeadlineTimer deadline; // forever for a change that must land
    };

    DatabaseWriterThread(AccountStore::Config config, std::function<void(quint64, bool)> report)
        : m_config(std::move(config))
        , m_report(std::move(report))
        , m_retry(new QTimer(this)) { // a child, so that it moves to the writer's thread with us
        m_retry->setSingleShot(true);
        connect(m_retry, &QTimer::timeout, this, [this] { drain(); });
    }

    bool open(QString* error) {
        m_store = std::make_unique<AccountStore>(m_config);
        return m_store->open(error);
    }

    void add(Pending pending) {
        m_queue.push_back(std::move(pending));
        if (!m_retry->isActive())
            drain();
    }

    // Tries what is left until the queue is empty or the time is up; the thread may block now.
    void finish() {
        const QDeadlineTimer deadline(ShutdownPatienceMs);
        while (m_store && !m_queue.empty() && !deadline.hasExpired()) {
            drain();
            if (!m_queue.empty())
                QThread::msleep(FirstRetryMs);
        }
        if (!m_queue.empty())
            qWarning("quorvel-server: database: %d changes could not be written before stopping",
                     int(m_queue.size()));
        m_retry->stop();
        m_store.reset();
    }

private:
    void drain() {
        while (!m_queue.empty()) {
            Pending& head = m_queue.front();
            m_store->clearFailure();
            head.work(*m_store);
            if (m_store->failed())
                break;
            m_report(head.id, true);
            m_queue.pop_front();
            m_retryMs = 0;
        }
        giveUpOverdue();
        if (!m_queue.empty()) {
            m_retryMs = qBound(FirstRetryMs, m_retryMs * 2, LongestRetryMs);
            m_retry->start(m_retryMs);
        }
    }

    void giveUpOverdue() {
        for (auto it = m_queue.begin(); it != m_queue.end();) {
            if (it->deadline.hasExpired()) {
                m_report(it->id, false);
                it = m_queue.erase(it);
            } else {
                ++it;
            }
        }
    }

    AccountStore::Config m_config;
    std::function<void(quint64, bool)> m_report;
    std::unique_ptr<AccountStore> m_store;
    std::deque<Pending> m_queue;
    QTimer* m_retry;
    int m_retryMs = 0;
};

DatabaseWriter::DatabaseWriter(AccountStore::Config config, int patienceMs, QObject* parent)
    : QObject(parent)
    , m_patienceMs(patienceMs) {
    m_thread.setObjectName(QStringLiteral("database writer"));
    config.lockWaitMs = LockWaitMs;
    m_worker = new DatabaseWriterThread(std::move(config), [this](quint64 id, bool committed) {
        if (id != 0)
            QMetaObject::invokeMethod(
                this, [this, id, committed] { onFinished(id, committed); }, Qt::QueuedConnection);
    });
    m_worker->moveToThread(&m_thread);
    m_thread.start();
}

DatabaseWriter::~DatabaseWriter() {
    QMetaObject::invokeMethod(
        m_worker, [this] { m_worker->finish(); }, Qt::BlockingQueuedConnection);
    m_thread.quit();
    m_thread.wait();
    delete m_worker;
}

bool DatabaseWriter::open(QString* error) {
    bool opened = false;
    QMetaObject::invokeMethod(
        m_worker, [&] { opened = m_worker->open(error); }, Qt::BlockingQueuedConnection);
    return opened;
}

void DatabaseWriter::change(QObject* context, Change work, Done done) {
    const quint64 id = m_nextId++;
    m_waiting.insert(id, Waiting{context, std::move(done)});
    QMetaObject::invokeMethod(
        m_worker,
        [worker = m_worker, pending = DatabaseWriterThread::Pending{id, std::move(work),
                                                                    QDeadlineTimer(m_patienceMs)}]() mutable {
            worker->add(std::move(pending));
        },
        Qt::QueuedConnection);
}

void DatabaseWriter::changeWhenPossible(Change work) {
    QMetaObject::invokeMethod(
        m_worker,
        [worker = m_worker,
         pending = DatabaseWriterThread::Pending{0, std::move(work), QDeadlineTimer::Forever}]() mutable {
            worker->add(std::move(pending));
        },
        Qt::QueuedConnection);
}

void DatabaseWriter::onFinished(quint64 id, bool committed) {
    const Waiting waiting = m_waiting.take(id);
    if (waiting.context && waiting.done)
        waiting.done(committed);
}
