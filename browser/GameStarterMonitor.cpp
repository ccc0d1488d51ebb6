// The hand-over to the server monitor window, which reads Combo1, Text2 and Text4 of this window
// (as its QueryTarget) whenever it queries.
#include "browser/GameStarter.h"

#include "servers/PingServers.h"

#include <QLineEdit>

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
    if (!monitor) {
        monitor = new PingServers(*this, m_services.prompts, this);
        connect(monitor, &PingServers::joinRequested, this, &GameStarter::join_click);
    }
    monitor->show();
    monitor->raise();
}

QString GameStarter::serverAddress() const { return Text2->text(); }

QString GameStarter::serverPort() const { return Text4->text(); }

void GameStarter::UnLoadPingServers() {
    if (PingServers* monitor = openMonitor(*this))
        monitor->close();
}
