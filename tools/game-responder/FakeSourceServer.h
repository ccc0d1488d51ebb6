#pragma once

#include "FakeGameServer.h"

#include <QByteArray>
#include <QList>

// The answers of a Half-Life server of today to the A2S queries, for a FakeGameServer whose
// answersSource is set.
namespace FakeSourceReplies {

// The challenge this pretend server hands out; it never changes.
QByteArray challenge();

// 'I': protocol, name, map, "valve", "Half-Life", app id 70, players, limit, no bots, a dedicated
// Linux server, public, VAC on, and the version string.
QByteArray info(const FakeGameServer& server);
// 'D': the count, then per player its index, name, score and seconds on the server.
QByteArray players(const FakeGameServer& server);
// A whole answer cut into GoldSrc parts (id, then part number and count in one byte).
QList<QByteArray> split(const QByteArray& whole, int parts, quint32 id);

// The datagrams answering one request: none for anything but A2S_INFO and A2S_PLAYER (or when
// answersSource is off); a challenge for a request without the right one where one is demanded
// (always for the players); split players answers last part first, as a network may reorder them.
QList<QByteArray> repliesTo(const QByteArray& request, const FakeGameServer& server);

} // namespace FakeSourceReplies
