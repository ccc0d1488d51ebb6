#pragma once

#include <QList>
#include <QString>

#include <optional>

// One row of the players list: the first three space-separated tokens of a player line, as sent.
struct PlayerRow {
    QString score;
    QString ping;
    QString name;
    friend bool operator==(const PlayerRow&, const PlayerRow&) = default;
};

// What one reply changes on the monitor. A label whose key was not found keeps its text;
// players is nullopt when the parser stopped before it reached the players step, and the list
// then keeps the rows it had.
struct ServerStatus {
    std::optional<QString> version;
    std::optional<QString> hostName;
    std::optional<QString> mapName;
    std::optional<QString> maxPlayers;
    std::optional<QList<PlayerRow>> players;
    // What a Half-Life info answer says about the players on the server; only the live list reads it.
    std::optional<int> playerCount;
    friend bool operator==(const ServerStatus&, const ServerStatus&) = default;
};
