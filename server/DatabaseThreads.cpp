#include "server/DatabaseThreads.h"

#include "server/ServerMetrics.h"

#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QTimer>

#include <deque>
#include <memory>

namespace {
constexpr int FirstRetryMs = 50;
constexpr int LongestRetryMs = 1000;
constexpr int ShutdownPatienceMs = 5000;
// Past the patience and one try's lock wait, an answer that has not come is not coming soon.
constexpr int AnswerMarginMs = 500;
} // namespace

// One thread's part: its connection and its queue.
class DatabaseLane : public QObject {
public:
    struct Pending {
        quint64 id; // 0 for a change nobody waits for
        DatabaseThreads::Work work;
        QDeadlineTimer deadline; // forever for a change that must land
    };

    DatabaseLane(AccountStore::Config config, std::function<void(quint64, bool)> report)
        : m_config(std::move(config))
        , m_report(std::move(report))
        , m_retry(new QTimer(this)) { // a child, so that it moves to the lane's thread with us
        m_retry->setSingleShot(true);
        connect(m_retry, &QTimer::timeout, this, [this] { drain(); });
    }

    void setMetrics(ServerMetrics* metrics, ServerMetrics::Lane lane) {
        m_metrics = metrics;
        m_lane = lane;
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
            // Its waiter has been told it failed (the lane may have been held up by a database
            // that stopped answering): it must not happen after all.
            if (head.deadline.hasExpired()) {
                m_report(head.id, false);
                m_queue.pop_front();
                continue;
            }
            // A connection lost earlier is opened again first; until then nothing can run.
            if (!m_store->isConnected() && !m_store->reconnectIfLost())
                break;
            m_store->clearFailure();
            QElapsedTimer timer;
            timer.start();
            head.work(*m_store);
            if (m_metrics) {
                m_metrics->database(m_lane).observe(timer.nsecsElapsed() / 1000);
                if (m_store->failed())
                    m_metrics->databaseFailures(m_lane).add();
            }
            if (m_store->failed()) {
                // A restarted database has dropped our connection: the next try needs a new one.
                m_store->reconnectIfLost();
                break;
            }
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
    ServerMetrics* m_metrics = nullptr;
    ServerMetrics::Lane m_lane = ServerMetrics::Lane::Reader;
};

DatabaseThreads::DatabaseThreads(AccountStore::Config config, int patienceMs, QObject* parent)
    : QObject(parent)
    , m_patienceMs(patienceMs)
    , m_hashIterations(config.hashIterations) {
    config.lockWaitMs = LockWaitMs;
    startLane(m_writer, QStringLiteral("database writer"), config);
    startLane(m_reader, QStringLiteral("database reader"), config);
}

void DatabaseThreads::startLane(Lane& lane, const QString& name, const AccountStore::Config& config) {
    lane.thread.setObjectName(name);
    lane.worker = new DatabaseLane(config, [this](quint64 id, bool succeeded) {
        if (id != 0)
            QMetaObject::invokeMethod(
                this, [this, id, succeeded] { onFinished(id, succeeded); }, Qt::QueuedConnection);
    });
    lane.worker->moveToThread(&lane.thread);
    lane.thread.start();
}

DatabaseThreads::~DatabaseThreads() {
    for (Lane* lane : {&m_reader, &m_writer}) {
        QMetaObject::invokeMethod(
            lane->worker, [lane] { lane->worker->finish(); }, Qt::BlockingQueuedConnection);
        lane->thread.quit();
        lane->thread.wait();
        delete lane->worker;
    }
}

bool DatabaseThreads::open(QString* error) {
    bool opened = true;
    for (Lane* lane : {&m_writer, &m_reader}) {
        QMetaObject::invokeMethod(
            lane->worker, [&] { opened = opened && lane->worker->open(error); },
            Qt::BlockingQueuedConnection);
    }
    return opened;
}

void DatabaseThreads::setMetrics(ServerMetrics* metrics) {
    m_metrics = metrics;
    // Queued to each lane's thread ahead of any work, so the lanes see it before they need it.
    const auto give = [metrics](DatabaseLane* worker, ServerMetrics::Lane kind) {
        QMetaObject::invokeMethod(
            worker, [worker, metrics, kind] { worker->setMetrics(metrics, kind); }, Qt::QueuedConnection);
    };
    give(m_reader.worker, ServerMetrics::Lane::Reader);
    give(m_writer.worker, ServerMetrics::Lane::Writer);
}

void DatabaseThreads::post(Lane& lane, quint64 id, Work work, int patienceMs) {
    QMetaObject::invokeMethod(
        lane.worker,
        [worker = lane.worker,
         pending = DatabaseLane::Pending{id, std::move(work),
                                         patienceMs < 0 ? QDeadlineTimer(QDeadlineTimer::Forever)
                                                        : QDeadlineTimer(patienceMs)}]() mutable {
            worker->add(std::move(pending));
        },
        Qt::QueuedConnection);
}

quint64 DatabaseThreads::wait(QObject* context, Done done) {
    const quint64 id = m_nextId++;
    m_waiting.insert(id, Waiting{context, std::move(done)});
    // The lane gives up what it has not started when the patience is over; this covers the
    // work it started and that a database which stopped answering holds up, thread and all.
    QTimer::singleShot(m_patienceMs + LockWaitMs + AnswerMarginMs, this,
                       [this, id] { onFinished(id, false); });
    return id;
}

void DatabaseThreads::change(QObject* context, Work work, Done done) {
    post(m_writer, wait(context, std::move(done)), std::move(work), m_patienceMs);
}

void DatabaseThreads::changeWhenPossible(Work work) {
    post(m_writer, 0, std::move(work), -1);
}

void DatabaseThreads::read(QObject* context, Work work, Done done) {
    post(m_reader, wait(context, std::move(done)), std::move(work), m_patienceMs);
}

void DatabaseThreads::onFinished(quint64 id, bool succeeded) {
    const Waiting waiting = m_waiting.take(id);
    if (waiting.done && !succeeded && m_metrics)
        m_metrics->databaseGivenUp.add();
    if (waiting.context && waiting.done)
        waiting.done(succeeded);
}
