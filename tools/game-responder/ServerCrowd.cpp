#include "ServerCrowd.h"

#include <QRandomGenerator>

namespace {

const char* const kNames[] = {"Nikki", "Big Boss", "Fred", "Zoe",   "Mad Dog",  "Lola", "Rat",   "Kid Blue",
                              "Moker", "Sal",      "Tiny", "Judge", "Scarface", "Ace",  "Dutch", "Vinnie"};

bool drawn(QRandomGenerator& random, int percent) {
    return int(random.bounded(100)) < percent;
}

} // namespace

QList<FakeGameServer> makeCrowd(const FakeGameServer& model, const CrowdShape& shape) {
    QRandomGenerator random(shape.seed);
    QList<FakeGameServer> crowd;
    for (int i = 0; i < shape.count; ++i) {
        FakeGameServer server = model;
        if (shape.count > 1)
            server.hostName = model.hostName + u' ' + QString::number(i + 1);
        server.delayMs = shape.minDelayMs + int(random.bounded(shape.maxDelayMs - shape.minDelayMs + 1));
        server.silent = drawn(random, shape.silentPercent);
        if (shape.todaysHalfLifePercent) {
            const bool today = drawn(random, *shape.todaysHalfLifePercent);
            server.answersSource = today;
            server.demandsChallenge = today;
            server.answersInfo = !today;
        }
        if (shape.randomPlayers) {
            server.players.clear();
            const int players = int(random.bounded(std::max(server.maxPlayers, 0) + 1));
            for (int p = 0; p < players; ++p)
                server.players.append(
                    {QString::fromLatin1(kNames[random.bounded(16)]) + u' ' + QString::number(p + 1),
                     int(random.bounded(61)) - 10, 20 + int(random.bounded(280))});
        }
        crowd.append(server);
    }
    return crowd;
}
