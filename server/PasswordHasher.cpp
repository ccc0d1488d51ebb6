#include "server/PasswordHasher.h"

#include "server/PasswordHash.h"

#include <QPointer>

#ifdef Q_OS_LINUX
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>
#endif

namespace {

// Each hashing thread lowers its own scheduling weight (nice 10) the first time it runs: when
// the cores are busy, the event loop then gets them first and hashing takes what is left.
void yieldToTheRoom() {
#ifdef Q_OS_LINUX
    static thread_local const bool lowered =
        setpriority(PRIO_PROCESS, static_cast<id_t>(syscall(SYS_gettid)), 10) == 0;
    Q_UNUSED(lowered);
#endif
}

} // namespace

PasswordHasher::PasswordHasher(QObject* parent)
    : QObject(parent) {
    m_pool.setObjectName(QStringLiteral("password hashing"));
    m_pool.setMaxThreadCount(QThread::idealThreadCount());
}

PasswordHasher::~PasswordHasher() {
    m_pool.clear();
    m_pool.waitForDone();
}

void PasswordHasher::derive(QObject* context, const QString& password, const QByteArray& salt, int iterations,
                            std::function<void(const QByteArray&)> done) {
    m_pool.start(
        [this, context = QPointer<QObject>(context), password, salt, iterations, done = std::move(done)] {
            yieldToTheRoom();
            const QByteArray hash = PasswordHash::derive(password, salt, iterations);
            // This object outlives every task (the destructor waits), so posting to it is safe.
            QMetaObject::invokeMethod(
                this,
                [context, done, hash] {
                    if (context)
                        done(hash);
                },
                Qt::QueuedConnection);
        });
}
