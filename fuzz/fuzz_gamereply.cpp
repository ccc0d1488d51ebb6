// Whatever a game server (or anyone) sends to the query socket: each game's parser, and the
// players step's invariant that no row is made without a line.
#include "servers/GameCatalogue.h"
#include "common/Windows1252.h"
#include "servers/GameQuery.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QString reply = Windows1252::decode(QByteArray(reinterpret_cast<const char*>(data), qsizetype(size)));
    const qsizetype lines = reply.count(u'\n') + 1;
    for (const QString& game : GameCatalogue::keys()) {
        const ServerStatus status = GameQuery::parseReply(game, reply);
        if (status.players && status.players->size() > lines)
            __builtin_trap();
    }
    return 0;
}
