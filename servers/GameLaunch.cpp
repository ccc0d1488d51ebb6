#include "servers/GameLaunch.h"

namespace GameLaunch {

QStringList batchLines(const QString& gameFolder, const QString& executableName, const QString& address,
                     const QString& port, const std::optional<QString>& playerName) {
    QString command = executableName + QStringLiteral(" +connect ") + address + u':' + port;
    if (playerName)
        command += QStringLiteral(" +name ") + *playerName;
    return {QStringLiteral("@echo off"), QStringLiteral("cd\\"), QStringLiteral("cd ") + gameFolder, command,
            QStringLiteral("@cls")};
}

CommandLine halfLife(const QString& fullExecutable, GameCatalogue::Mod mod, const QString& address, const QString& port) {
    QStringList arguments{QStringLiteral("-console")};
    switch (mod) {
    case GameCatalogue::Mod::TeamFortress: arguments << QStringLiteral("-game") << QStringLiteral("tfc"); break;
    case GameCatalogue::Mod::CounterStrike: arguments << QStringLiteral("-game") << QStringLiteral("cstrike"); break;
    case GameCatalogue::Mod::DayOfDefeat: arguments << QStringLiteral("-game") << QStringLiteral("dod"); break;
    case GameCatalogue::Mod::Standard: break;
    }
    arguments << QStringLiteral("-noipx") << QStringLiteral("+exec") << QStringLiteral("adminpass.cfg")
              << QStringLiteral("+connect") << address + u':' + port;
    return {fullExecutable, arguments};
}

QString joinedAnnouncement(const QString& game, const QString& serverName, const QString& address,
                           const QString& port, const QString& time, const QString& date) {
    return QStringLiteral("joined ") + game + QStringLiteral(", server : ") + serverName + QStringLiteral(" - ") +
           address + QStringLiteral(" - ") + port + QStringLiteral(" at ") + time + QStringLiteral(" : ") + date;
}

QString leftAnnouncement(const QString& game, const QString& time, const QString& date) {
    return QStringLiteral(" left ") + game + QStringLiteral(" : ") + time + QStringLiteral(" : ") + date;
}

} // namespace GameLaunch
