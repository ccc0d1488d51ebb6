#include "app/ChatRoomLaunchHost.h"

#include "app/Form1.h"
#include "chat/ChatMessage.h"
#include "chat/ChatProtocol.h"

#include <QAction>

void ChatRoomLaunchHost::announce(const QString& text) {
    m_main.send(ChatMessage::build(ChatProtocol::Msg, {text}));
}

bool ChatRoomLaunchHost::soundEffectsOn() const { return m_main.mnuSoundEffects->isChecked(); }

void ChatRoomLaunchHost::leaveForGame() {
    m_main.mnuSoundEffects->setChecked(false);
    m_main.mnuNotify->setChecked(false);
    m_main.hide();
}

void ChatRoomLaunchHost::backFromGame() {
    m_main.show();
    // Switched on again, whatever they were before the game.
    m_main.mnuSoundEffects->setChecked(true);
    m_main.mnuNotify->setChecked(true);
    m_main.BackFromGame();
}
