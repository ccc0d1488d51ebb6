// Parse time of a 64 KB status reply for each game, from the bytes off the socket to the result,
// against the plainest work on the same bytes (decoding and splitting them into lines). The reply
// is parsed in one go on the window's thread, so this is how long the monitor stays busy.
#include "FakeGameServer.h"

#include "servers/GameCatalogue.h"
#include "common/Windows1252.h"
#include "servers/GameQuery.h"

#include <QElapsedTimer>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <vector>

namespace {

constexpr qsizetype ReplySize = 64 * 1024;

double medianMs(const std::function<void()>& work) {
    std::vector<double> runs;
    for (int i = 0; i < 41; ++i) {
        QElapsedTimer t;
        t.start();
        work();
        runs.push_back(double(t.nsecsElapsed()) / 1e6);
    }
    std::sort(runs.begin(), runs.end());
    return runs[runs.size() / 2];
}

// A game's reply grown to 64 KB with players (and, for Half-Life, NUL fields).
QByteArray bigReply(const QString& game) {
    FakeGameServer server;
    for (int i = 0; i < 4000; ++i)
        server.players.append({QStringLiteral("^%1Player^7 %2").arg(i % 10).arg(i), i % 50, 20 + i % 300});
    QByteArray reply = game == GameCatalogue::Kingpin ? FakeGameReplies::quakeIIStatus(server)
                       : game == GameCatalogue::Rtcw  ? FakeGameReplies::quake3Status(server)
                                                      : FakeGameReplies::halfLifeInfo(server, QStringLiteral("1.2.3.4:27015"));
    while (reply.size() < ReplySize)
        reply += game == GameCatalogue::HalfLife ? QByteArray("sv_gravity\0" "800\0", 15) : QByteArray("5 70 \"x\"\n");
    reply.truncate(ReplySize);
    return reply;
}

} // namespace

int main() {
    std::printf("%-10s %10s %12s %8s\n", "game", "parse ms", "baseline ms", "ratio");
    for (const QString& game : {GameCatalogue::Kingpin, GameCatalogue::Rtcw, GameCatalogue::HalfLife}) {
        const QByteArray reply = bigReply(game);
        int rows = 0;
        const double parse = medianMs([&] {
            rows = int(GameQuery::parseReply(game, Windows1252::decode(reply)).players.value_or(QList<PlayerRow>{}).size());
        });
        qsizetype lines = 0;
        const double baseline = medianMs([&] { lines = Windows1252::decode(reply).split(u'\n').size(); });
        std::printf("%-10s %10.3f %12.3f %8.2f   (%lld bytes, %d rows, %lld lines)\n", qPrintable(game), parse, baseline,
                    parse / baseline, static_cast<long long>(reply.size()), rows, static_cast<long long>(lines));
    }
    return 0;
}
