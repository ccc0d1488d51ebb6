#pragma once

#include "servers/ServerStatus.h"
#include "servers/SplitReplies.h"

#include <QByteArray>

#include <optional>

// The A2S exchange with one Half-Life server, without the socket: the info request, a repeat with
// the challenge when the server asks for one, then the players request (challenge first). Each
// answer says what to send next and what to show.
class SourceExchange {
public:
    struct Step {
        std::optional<QByteArray> send;
        // An answer that is not parsed still shows, as an empty status, so its size is seen.
        std::optional<ServerStatus> show;
        qint64 bytes = 0; // the whole answer, its split parts put together
    };
    // A server that keeps asking for a new challenge is not followed further than this per request.
    static constexpr int kChallengesPerRequest = 2;

    // Starts over and returns the info request.
    QByteArray start();
    bool started() const { return m_started; }

    // nullopt when the datagram is no A2S answer (or no exchange was started): the caller's own
    // parser takes it.
    std::optional<Step> receive(const QByteArray& datagram);

private:
    enum class Waiting { Nothing, Info, Players };
    Step answerChallenge(const QByteArray& datagram);

    bool m_started = false;
    Waiting m_waiting = Waiting::Nothing;
    int m_challenges = 0;
    SplitReplies m_split{SplitReplies::Layout::GoldSrc};
};
