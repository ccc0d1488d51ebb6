#pragma once

#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

// Who of the room plays on which server now, as the room hears it: a member's client announces
// "joined GAME, server : NAME - ADDRESS - PORT at TIME : DATE" when it starts a game and
// " left GAME : TIME : DATE" when the member comes back; leaving the room ends it too.
class FriendsOnServers {
public:
    struct Playing {
        QString member;
        QString game;
        QString serverName;
        QString address;
        QString port;
        friend bool operator==(const Playing&, const Playing&) = default;
    };

    // What one public line of the room says: a member went to play (playing set), came back
    // (playing unset), or nothing of the kind (nullopt). The line is the room's display line,
    // "<Fred> joined Kingpin, server : Fred's Bar - 10.0.0.5 - 31510 at 21:14:03 : 16/11/2003".
    struct Announcement {
        QString member;
        std::optional<Playing> playing;
    };
    static std::optional<Announcement> read(const QString& displayLine);

    // Each returns true when who plays where changed.
    bool lineArrived(const QString& displayLine);
    bool memberLeft(const QString& member);
    bool clear();

    // The members playing on this server, in the order they went; the address compared without
    // regard to case, the port as a number.
    QStringList membersOn(const QString& address, const QString& port) const;
    const QList<Playing>& playing() const { return m_playing; }

private:
    QList<Playing> m_playing;
};
