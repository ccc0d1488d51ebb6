#include "server/ShutdownSignals.h"

#include <QSocketNotifier>

#include <csignal>
#include <sys/socket.h>
#include <unistd.h>

namespace {
int pipeEnds[2] = {-1, -1};
}

ShutdownSignals::ShutdownSignals(QObject* parent)
    : QObject(parent) {
    if (::socketpair(AF_UNIX, SOCK_STREAM, 0, pipeEnds) != 0)
        return;
    m_notifier = new QSocketNotifier(pipeEnds[1], QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &ShutdownSignals::onReadable);
    struct sigaction action {};
    action.sa_handler = &ShutdownSignals::handle;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
    sigaction(SIGHUP, &action, nullptr);
}

ShutdownSignals::~ShutdownSignals() {
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGTERM, SIG_DFL);
    std::signal(SIGHUP, SIG_IGN); // a reload must not end the process on its way out either
    if (pipeEnds[0] >= 0) {
        ::close(pipeEnds[0]);
        ::close(pipeEnds[1]);
        pipeEnds[0] = pipeEnds[1] = -1;
    }
}

void ShutdownSignals::handle(int signal) {
    const char byte = char(signal);
    [[maybe_unused]] const auto written = ::write(pipeEnds[0], &byte, 1);
}

void ShutdownSignals::onReadable() {
    char byte = 0;
    if (::read(pipeEnds[1], &byte, 1) != 1)
        return;
    if (byte == SIGHUP)
        emit reloadRequested();
    else
        emit requested();
}
