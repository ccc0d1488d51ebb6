#pragma once

#include "servers/ServerStatus.h"

#include <QByteArray>

#include <optional>

// The query that today's Half-Life servers answer (the Source engine's A2S protocol): the request
// datagrams and the strict reading of each answer. Nothing here trusts a length or a count from
// the wire: a field that runs past the end, or a string without its NUL, makes the whole answer
// "not parsed" (nullopt).
namespace SourceQuery {

// FF FF FF FF 'T' "Source Engine Query" NUL, followed by the server's 4-byte challenge when it
// asked for one.
QByteArray infoRequest(const QByteArray& challenge = {});
// FF FF FF FF 'U' and the challenge; without one, FF FF FF FF, which asks the server for it.
QByteArray playerRequest(const QByteArray& challenge = {});

enum class Kind { Unknown, Challenge, Info, OldInfo, Players, SplitPart };
Kind classify(const QByteArray& datagram);

// The 4 bytes of a challenge answer ('A').
std::optional<QByteArray> challenge(const QByteArray& datagram);

// An 'I' answer, or the obsolete 'm' one some Half-Life servers still send: host name, map and
// player limit, and the version string where the answer has one. The players list is left as it
// is: the player rows come with the players answer.
std::optional<ServerStatus> parseInfo(const QByteArray& datagram);

// The 'C' answer of a Half-Life server of old to "info": the same fields as the 'm' answer. The
// monitor leaves it to the Half-Life parser, as it always did; the live list reads it this way.
std::optional<ServerStatus> parseOldInfoAnswer(const QByteArray& datagram);

// A 'D' answer. A2S has no ping per player, so the ping cell stays empty rather than show a
// number that was never measured; the score is the signed score, the name in double quotes as the
// other games' servers write it. A count larger than the players sent is "not parsed"; bytes after
// the last player are passed over (some games append their own fields).
std::optional<QList<PlayerRow>> parsePlayers(const QByteArray& datagram);

} // namespace SourceQuery
