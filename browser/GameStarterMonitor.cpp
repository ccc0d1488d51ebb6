// The hand-over to the server monitor window, which reads Combo1, Text2 and Text4 of this window
// whenever it queries.
#include "browser/GameStarter.h"

#include "servers/PingServers.h"

namespace {
// The open monitor; one that was closed may linger until the event loop deletes it.
PingServers* openMonitor(const GameStarter& browser) {
    for (auto* monitor : browser.findChildren<PingServers*>(QString(), Qt::FindDirectChildrenOnly)) {
        if (!monitor->isHidden())
            return monitor;
    }
    return nullptr;
}
} // namespace

void GameStarter::showPingServers() {
    PingServers* monitor = openMonitor(*this);
    if (!monitor)
        monitor = new PingServers(*this, m_services.prompts);
    monitor->show();
    monitor->raise();
}

void GameStarter::UnLoadPingServers() {
    if (PingServers* monitor = openMonitor(*this))
        monitor->close();
}
