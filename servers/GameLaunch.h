#pragma once

#include "servers/GameCatalogue.h"

#include <QString>
#include <QStringList>

#include <optional>

// What a launch writes, starts and tells the room, as pure functions of the browser's fields.
namespace GameLaunch {

// The lines of kingpin.bat and rtcw.bat: to the root of the current drive, into the game folder,
// and the executable started on the server. No drive change is written, and the player name goes
// in unquoted, as the games have always been started.
QStringList batchLines(const QString& gameFolder, const QString& executableName, const QString& address,
                     const QString& port, const std::optional<QString>& playerName = std::nullopt);

// A program and its arguments; text() is the command line they make, the path unquoted.
struct CommandLine {
    QString program;
    QStringList arguments;
    QString text() const { return (QStringList{program} + arguments).join(u' '); }
};

// fullExecutable + " -console" [+ " -game <mod folder>"] + " -noipx +exec adminpass.cfg +connect "
// + address:port.
CommandLine halfLife(const QString& fullExecutable, GameCatalogue::Mod mod, const QString& address, const QString& port);

// The room is told: "joined Kingpin, server : Fred's Bar - 10.0.0.5 - 31510 at 21:14:03 : 16/11/2003".
QString joinedAnnouncement(const QString& game, const QString& serverName, const QString& address,
                           const QString& port, const QString& time, const QString& date);
// ... and on return: " left Kingpin : 21:50:12 : 16/11/2003", the leading blank included.
QString leftAnnouncement(const QString& game, const QString& time, const QString& date);

} // namespace GameLaunch
