// The launch of the chosen game onto the chosen server. Empty until the launcher lands; it reads
// the game, mod, path and server controls of this window and StarterOptions::Text1.
#include "browser/GameStarter.h"

void GameStarter::JoinGame() {}
