#include "server/DescriptorBudget.h"

#include <QDir>
#include <QTcpServer>

#ifdef Q_OS_UNIX
#include <sys/resource.h>
#endif

int DescriptorBudget::raiseLimit() {
#ifdef Q_OS_UNIX
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return 1024;
    if (limit.rlim_cur < limit.rlim_max) {
        rlimit raised = limit;
        raised.rlim_cur = limit.rlim_max;
        if (setrlimit(RLIMIT_NOFILE, &raised) == 0)
            limit = raised;
    }
    return limit.rlim_cur == RLIM_INFINITY ? 1 << 20 : int(std::min<rlim_t>(limit.rlim_cur, 1 << 20));
#else
    return 512;
#endif
}

int DescriptorBudget::openNow() {
    const int entries =
        int(QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::Files | QDir::System).size());
    // Listing the folder opens one descriptor of its own, which is counted in the list.
    return entries > 0 ? entries - 1 : 16;
}

DescriptorBudget::DescriptorBudget(int connections, QObject* parent)
    : QObject(parent)
    , m_connections(connections) {}

void DescriptorBudget::take(QObject* owner) {
    ++m_inUse;
    connect(owner, &QObject::destroyed, this, &DescriptorBudget::give);
}

void DescriptorBudget::pauseUntilRoom(QTcpServer* listener) {
    if (m_paused.contains(listener))
        return;
    listener->pauseAccepting();
    m_paused.append(listener);
}

void DescriptorBudget::give() {
    --m_inUse;
    if (!hasRoom() || m_paused.isEmpty())
        return;
    const QList<QPointer<QTcpServer>> paused = std::exchange(m_paused, {});
    for (const QPointer<QTcpServer>& listener : paused) {
        if (listener)
            listener->resumeAccepting();
    }
    emit roomAgain();
}
