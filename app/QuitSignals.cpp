#include "app/QuitSignals.h"

#include <QSocketNotifier>

#ifdef Q_OS_UNIX
#include <csignal>
#include <sys/socket.h>
#include <unistd.h>

namespace {

// A signal handler may do almost nothing: it writes one byte, which the notifier then reports on the
// event loop (the self-pipe pattern).
int wakeUp[2] = {-1, -1};

void onSignal(int) {
    const char byte = 1;
    [[maybe_unused]] const auto written = ::write(wakeUp[0], &byte, 1);
}

} // namespace

QuitSignals::QuitSignals(QObject* parent)
    : QObject(parent) {
    if (::socketpair(AF_UNIX, SOCK_STREAM, 0, wakeUp) != 0)
        return;
    m_notifier = new QSocketNotifier(wakeUp[1], QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, [this] {
        char byte;
        [[maybe_unused]] const auto read = ::read(wakeUp[1], &byte, 1);
        Q_EMIT received();
    });
    struct sigaction action = {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
        sigaction(signal, &action, nullptr);
}

QuitSignals::~QuitSignals() {
    if (!m_notifier)
        return;
    struct sigaction action = {};
    action.sa_handler = SIG_DFL;
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
        sigaction(signal, &action, nullptr);
    ::close(wakeUp[0]);
    ::close(wakeUp[1]);
    wakeUp[0] = wakeUp[1] = -1;
}
#else
QuitSignals::QuitSignals(QObject* parent)
    : QObject(parent) {}
QuitSignals::~QuitSignals() = default;
#endif
