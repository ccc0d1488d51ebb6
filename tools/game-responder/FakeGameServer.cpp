#include "FakeGameServer.h"

#include "common/Windows1252.h"

namespace FakeGameReplies {

namespace {

const QByteArray kHeader(4, '\xff');

QString orDefault(const QString& value, const char* fallback) {
    return value.isEmpty() ? QString::fromLatin1(fallback) : value;
}

QByteArray infoString(const QList<std::pair<QString, QString>>& pairs) {
    QString info;
    for (const auto& [key, value] : pairs)
        info += u'\\' + key + u'\\' + value;
    return Windows1252::encode(info);
}

QByteArray playerLines(const FakeGameServer& server) {
    QByteArray lines;
    for (const FakePlayer& p : server.players)
        lines += QByteArray::number(p.score) + ' ' + QByteArray::number(p.ping) + " \"" +
                 Windows1252::encode(p.name) + "\"\n";
    return lines;
}

QString number(int n) { return QString::number(n); }

} // namespace

QByteArray quakeIIStatus(const FakeGameServer& server) {
    const QByteArray info = infoString({
        {QStringLiteral("cheats"), QStringLiteral("0")},
        {QStringLiteral("deathmatch"), QStringLiteral("1")},
        {QStringLiteral("dmflags"), QStringLiteral("1040")},
        {QStringLiteral("fraglimit"), QStringLiteral("30")},
        {QStringLiteral("timelimit"), QStringLiteral("20")},
        {QStringLiteral("version"), orDefault(server.version, "1.21 x86 Jan 31 2000 Win32 RELEASE")},
        {QStringLiteral("hostname"), server.hostName},
        {QStringLiteral("maxclients"), number(server.maxPlayers)},
        {QStringLiteral("mapname"), orDefault(server.mapName, "kpdm1")},
        {QStringLiteral("gamename"), QStringLiteral("main")},
        {QStringLiteral("protocol"), QStringLiteral("32")},
    });
    return kHeader + "print\n" + info + '\n' + playerLines(server);
}

QByteArray quake3Status(const FakeGameServer& server, const QByteArray& challenge) {
    QList<std::pair<QString, QString>> pairs{
        {QStringLiteral("sv_maxclients"), number(server.maxPlayers)},
        {QStringLiteral("g_gametype"), QStringLiteral("5")},
        {QStringLiteral("sv_hostname"), server.hostName},
        {QStringLiteral("mapname"), orDefault(server.mapName, "mp_beach")},
        {QStringLiteral("version"), orDefault(server.version, "Wolf 1.41 win-x86 Jan 16 2003")},
        {QStringLiteral("protocol"), QStringLiteral("60")},
        {QStringLiteral("sv_privateClients"), QStringLiteral("0")},
        {QStringLiteral("sv_maxRate"), QStringLiteral("13000")},
        {QStringLiteral("sv_minPing"), QStringLiteral("0")},
        {QStringLiteral("sv_maxPing"), QStringLiteral("400")},
        {QStringLiteral("sv_floodProtect"), QStringLiteral("1")},
        {QStringLiteral("sv_allowAnonymous"), QStringLiteral("0")},
        {QStringLiteral("sv_punkbuster"), QStringLiteral("0")},
        {QStringLiteral("g_friendlyFire"), QStringLiteral("1")},
        {QStringLiteral("g_maxlives"), QStringLiteral("0")},
        {QStringLiteral("g_alliedmaxlives"), QStringLiteral("0")},
        {QStringLiteral("g_axismaxlives"), QStringLiteral("0")},
        {QStringLiteral("g_maxGameClients"), QStringLiteral("0")},
        {QStringLiteral("g_minGameClients"), QStringLiteral("8")},
        {QStringLiteral("g_userAlliedRespawnTime"), QStringLiteral("0")},
        {QStringLiteral("g_userAxisRespawnTime"), QStringLiteral("0")},
        {QStringLiteral("g_needpass"), QStringLiteral("0")},
        {QStringLiteral("g_antilag"), QStringLiteral("1")},
        {QStringLiteral("g_heavyWeaponRestriction"), QStringLiteral("100")},
        {QStringLiteral("g_noTeamSwitching"), QStringLiteral("0")},
        {QStringLiteral("timelimit"), QStringLiteral("30")},
        {QStringLiteral("fraglimit"), QStringLiteral("0")},
        {QStringLiteral("dmflags"), QStringLiteral("0")},
        {QStringLiteral("gamename"), QStringLiteral("main")},
        {QStringLiteral("sv_allowDownload"), QStringLiteral("1")},
        {QStringLiteral("sv_pure"), QStringLiteral("1")},
        {QStringLiteral("mod_version"), QStringLiteral("1.4")},
        {QStringLiteral("Players_Axis"), QStringLiteral("(None)")},
        {QStringLiteral("Players_Allies"), QStringLiteral("(None)")},
    };
    if (!challenge.isEmpty())
        pairs.append({QStringLiteral("challenge"), Windows1252::decode(challenge)});
    return kHeader + "statusResponse\n" + infoString(pairs) + '\n' + playerLines(server);
}

QByteArray halfLifeInfo(const FakeGameServer& server, const QString& addressAndPort) {
    QByteArray reply = kHeader + 'C';
    for (const QString& field : {addressAndPort, server.hostName, orDefault(server.mapName, "crossfire"),
                                 QStringLiteral("valve"), QStringLiteral("Half-Life")})
        reply += Windows1252::encode(field) + '\0';
    reply += char(qBound(0, int(server.players.size()), 255));
    reply += char(qBound(0, server.maxPlayers, 255));
    reply += char(7);
    return reply;
}

std::optional<QByteArray> replyTo(const QByteArray& request, const FakeGameServer& server,
                                  const QString& addressAndPort) {
    if (!request.startsWith(kHeader))
        return std::nullopt;
    // Game clients end the word with a line feed or a NUL, or nothing at all.
    QByteArray words = request.mid(4);
    while (words.endsWith('\n') || words.endsWith('\0'))
        words.chop(1);
    const qsizetype blank = words.indexOf(' ');
    const QByteArray word = blank < 0 ? words : words.left(blank);
    const QByteArray argument = blank < 0 ? QByteArray() : words.mid(blank + 1);
    if (word != "status" && word != "getstatus" && word != "info")
        return std::nullopt;
    if (word == "info" && !server.answersInfo)
        return std::nullopt;
    if (server.fixedReply)
        return *server.fixedReply;
    if (word == "status")
        return quakeIIStatus(server);
    if (word == "getstatus")
        return quake3Status(server, argument);
    return halfLifeInfo(server, addressAndPort);
}

} // namespace FakeGameReplies
