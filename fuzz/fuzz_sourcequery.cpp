// Whatever a Half-Life server (or anyone) sends back to the A2S queries: the strict readers, the
// split-answer assembler fed the input cut into datagrams, and the exchange that drives both. A
// player row takes at least ten bytes of the answer, so more rows than that means a read past the
// end. The live list's conversation with a server of each game reads the same datagrams: a
// player count it reports above 255 (more than an info answer can say) must be one it read.
#include "servers/ServerConversation.h"
#include "servers/SourceExchange.h"
#include "servers/SourceQuery.h"
#include "servers/SplitReplies.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArray input(reinterpret_cast<const char*>(data), qsizetype(size));
    SourceQuery::classify(input);
    SourceQuery::challenge(input);
    SourceQuery::parseInfo(input);
    SourceQuery::parseOldInfoAnswer(input);
    if (const auto rows = SourceQuery::parsePlayers(input); rows && rows->size() * 10 > input.size())
        __builtin_trap();

    // Datagrams cut at every 0x0A byte, so the fuzzer can shape several parts in one input.
    SplitReplies goldSrc(SplitReplies::Layout::GoldSrc), source(SplitReplies::Layout::Source);
    SourceExchange exchange;
    exchange.start();
    ServerConversation halfLife(QStringLiteral("Half-Life")), kingpin(QStringLiteral("Kingpin"));
    halfLife.start();
    kingpin.start();
    for (const QByteArray& datagram : input.split('\n')) {
        for (ServerConversation* conversation : {&halfLife, &kingpin}) {
            conversation->receive(datagram);
            const ServerAnswer& answer = conversation->answer();
            if (answer.players && *answer.players > 255 && *answer.players != answer.playerRows.size())
                __builtin_trap();
        }
        for (SplitReplies* assembler : {&goldSrc, &source}) {
            assembler->add(datagram);
            if (assembler->openSets() > SplitReplies::kOpenSets)
                __builtin_trap();
        }
        exchange.receive(datagram);
    }
    return 0;
}
