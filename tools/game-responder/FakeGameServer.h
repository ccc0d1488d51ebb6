#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <optional>

// A game server as the responder pretends it to be, and the replies real servers of each game
// family send to a status query.
struct FakePlayer {
    QString name;
    int score = 0;
    int ping = 0;
};

struct FakeGameServer {
    QString hostName = QStringLiteral("Quorvel Test Server");
    QString mapName;   // empty: the usual first map of the game asked about
    QString version;   // empty: a version string of the game asked about
    int maxPlayers = 16;
    QList<FakePlayer> players;
    // When set, the reply to every status query, byte for byte.
    std::optional<QByteArray> fixedReply;
    // Half-Life as its servers answer today: silent to "info", answering the A2S queries
    // (FakeSourceServer.h), perhaps only after a challenge, the players answer perhaps in parts.
    bool answersInfo = true;
    bool answersSource = false;
    bool demandsChallenge = false;
    int playerParts = 1;
    // How the network between us and this server behaves: each answer leaves after this delay,
    // and a silent server answers nothing at all.
    int delayMs = 0;
    bool silent = false;
};

namespace FakeGameReplies {

// Kingpin (Quake II engine) answer to "status": "print", the info string, one line per player.
QByteArray quakeIIStatus(const FakeGameServer& server);
// RTCW (Quake III engine) answer to "getstatus": "statusResponse", a long info string with colour
// codes, one line per player; a challenge sent with the request comes back in the info string.
QByteArray quake3Status(const FakeGameServer& server, const QByteArray& challenge = {});
// Half-Life answer to "info": 'C', then NUL-ended address, host name, map, game folder and game
// description, then the player count, the limit and the protocol version as single bytes.
QByteArray halfLifeInfo(const FakeGameServer& server, const QString& addressAndPort);

// The reply to one datagram, or nullopt when it is not one of the three status queries.
std::optional<QByteArray> replyTo(const QByteArray& request, const FakeGameServer& server,
                                  const QString& addressAndPort);

} // namespace FakeGameReplies
