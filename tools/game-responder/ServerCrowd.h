#pragma once

#include "FakeGameServer.h"

#include <QList>

// Many pretend servers made from one, as a stand-in for the servers of a whole master list:
// each gets its own name, its own delay within a range, and some are silent for good. All is
// drawn from one seed, so the same options make the same crowd.
struct CrowdShape {
    int count = 1;
    int minDelayMs = 0;
    int maxDelayMs = 0;
    int silentPercent = 0;
    // The share of Half-Life servers of today (A2S with its challenge, "info" unanswered); the
    // others answer "info" the old way and no A2S query.
    std::optional<int> todaysHalfLifePercent;
    // Each server gets from none to its limit of players with made-up names, scores and pings.
    bool randomPlayers = false;
    quint32 seed = 1;
};

QList<FakeGameServer> makeCrowd(const FakeGameServer& model, const CrowdShape& shape);
