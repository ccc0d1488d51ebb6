#pragma once

#include <QString>
#include <QStringList>

#include <optional>

// A game server as a "follow" names it: the browser's server name, address and port, and the game.
struct FollowTarget {
    QString serverName;
    QString address;
    QString port;
    QString gameKey;
};

// What the dispatcher needs of the room's window: the display, and the windows that show what arrives.
class ChatRoomView {
public:
    virtual ~ChatRoomView() = default;

    // A new line of the display, in a blue-green-red colour.
    virtual void appendLine(const QString& text, qint64 bgrColour) = 0;
    virtual qint64 actionLineColour() const = 0;
    virtual qint64 messageLineColour() const = 0;
    // A box is about to open in the middle of a read: what the read has added so far shows first.
    virtual void showDisplayBeforePrompt() = 0;
    // A read ran to its end: emoticon codes it brought become pictures.
    virtual void runEmoticonPass() = 0;
    // The first greeting goes once a sign-on has succeeded (if it is still at the top).
    virtual void removeGreeting() = 0;
    virtual bool soundsOn() const = 0;

    virtual void accountAnswered(bool created) = 0;
    // The connection is over, as when the server hangs up.
    virtual void connectionEnded() = 0;

    // The server we are playing on now, for a member who follows us.
    virtual std::optional<FollowTarget> currentGame() = 0;
    virtual void followInto(const FollowTarget& target) = 0;

    virtual void showIdentification(const QString& sender, const QStringList& entries) = 0;
    // A private line for a conversation window; bracketedSender is the line's first word as it came.
    virtual void privateLineArrived(const QString& sender, const QString& bracketedSender, const QString& line) = 0;
    virtual void fileOffered(const QString& sender, const QString& file, const QString& port,
                             const QString& address) = 0;
    // The member refused our offer.
    virtual void declineReceived(const QString& sender) = 0;
};
