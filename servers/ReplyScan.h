#pragma once

#include "servers/ServerStatus.h"

#include <QStringList>

// The two steps the three reply parsers share.
namespace ReplyScan {

struct Keys {
    QLatin1StringView version;
    QLatin1StringView maxPlayers;
    QLatin1StringView mapName;
    QLatin1StringView hostName;
};

// What a parser does on a key that is the last piece, with no value behind it.
enum class KeyWithoutValue { Skip, Stop };

// Every piece equal to a key sets that key's label to the piece after it, wherever it stands, so a
// value that happens to be a key name is read as a key too and the last value found wins.
// Returns false when it stopped at a key without a value.
bool scanKeys(const QStringList& pieces, const Keys& keys, KeyWithoutValue rule, ServerStatus& status);

// Lines 2 onwards are players: score, ping and name are the first three tokens split on single
// spaces (a quoted name keeps its quotes and is cut at its first space). Each line adds a row, but
// its ping and name go to the row numbered by the line's position, so after a line that adds no
// row (an empty one) the later lines' cells land one row further down, and past the last row they
// are lost.
QList<PlayerRow> playerRows(const QStringList& lines);

} // namespace ReplyScan
