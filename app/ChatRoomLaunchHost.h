#pragma once

#include "servers/LaunchHost.h"

class Form1;

// The chat window's side of a game launch.
class ChatRoomLaunchHost final : public LaunchHost {
public:
    explicit ChatRoomLaunchHost(Form1& main) : m_main(main) {}

    void announce(const QString& text) override;
    bool soundEffectsOn() const override;
    void leaveForGame() override;
    void backFromGame() override;

private:
    Form1& m_main;
};
