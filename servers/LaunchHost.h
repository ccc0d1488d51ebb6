#pragma once

#include <QString>

// What a game launch needs from the chat window: the room, the sound menus and the window itself.
class LaunchHost {
public:
    virtual ~LaunchHost() = default;
    // One public message to the room, sent only while connected.
    virtual void announce(const QString& text) = 0;
    virtual bool soundEffectsOn() const = 0;
    // Sound effects and notifications off, the chat window out of the way.
    virtual void leaveForGame() = 0;
    // The chat window back, sound effects and notifications on, the return announced.
    virtual void backFromGame() = 0;
};
