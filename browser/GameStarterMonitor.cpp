// The hand-over to the server monitor window. Empty until the monitor lands; it reads Combo1,
// Text2 and Text4 of this window when it queries.
#include "browser/GameStarter.h"

void GameStarter::showPingServers() {}

void GameStarter::UnLoadPingServers() {}
