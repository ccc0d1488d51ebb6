#pragma once

#include "servers/ServerStatus.h"

#include <QList>
#include <QString>

#include <optional>

// What the live list knows of one server once its questions are over.
struct ServerAnswer {
    bool answered = false;
    QString name;
    QString map;
    std::optional<int> players; // unknown when only an info answer came, and it had no count
    std::optional<int> maxPlayers;
    std::optional<qint64> pingMs; // from the request to the first datagram that answered it
    QList<PlayerRow> playerRows;  // names without the quotes the servers put around them
};
