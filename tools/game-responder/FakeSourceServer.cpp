#include "FakeSourceServer.h"

#include "servers/SourceQuery.h"

#include <QtEndian>

#include <algorithm>
#include <cstring>

namespace FakeSourceReplies {

namespace {

const QByteArray kWhole(4, '\xff');

QByteArray string(const QString& text) {
    return text.toUtf8() + '\0';
}

template <typename T> QByteArray little(T value) {
    QByteArray bytes(sizeof(T), '\0');
    qToLittleEndian(value, bytes.data());
    return bytes;
}

QByteArray challengeAnswer() {
    return kWhole + 'A' + challenge();
}

} // namespace

QByteArray challenge() {
    return QByteArrayLiteral("\x5a\x17\xc0\x01");
}

QByteArray info(const FakeGameServer& server) {
    QByteArray reply = kWhole + 'I' + char(48);
    reply += string(server.hostName) +
             string(server.mapName.isEmpty() ? QStringLiteral("crossfire") : server.mapName) +
             string(QStringLiteral("valve")) + string(QStringLiteral("Half-Life"));
    reply += little<qint16>(70);
    reply += char(std::clamp(int(server.players.size()), 0, 255));
    reply += char(std::clamp(server.maxPlayers, 0, 255));
    reply += QByteArrayLiteral("\x00"
                               "dl"
                               "\x00\x01");
    reply += string(server.version.isEmpty() ? QStringLiteral("1.1.2.7/Stdio") : server.version);
    return reply;
}

QByteArray players(const FakeGameServer& server) {
    const int count = std::clamp(int(server.players.size()), 0, 255);
    QByteArray reply = kWhole + 'D' + char(count);
    for (int i = 0; i < count; ++i) {
        const FakePlayer& p = server.players.at(i);
        const float seconds = 61.5f * float(i + 1);
        quint32 bits = 0;
        std::memcpy(&bits, &seconds, sizeof bits);
        reply += char(i) + string(p.name) + little<qint32>(p.score) + little<quint32>(bits);
    }
    return reply;
}

QList<QByteArray> split(const QByteArray& whole, int parts, quint32 id) {
    parts = std::clamp(parts, 1, 15);
    const qsizetype size = (whole.size() + parts - 1) / parts;
    QList<QByteArray> datagrams;
    for (int n = 0; n < parts; ++n)
        datagrams.append(QByteArrayLiteral("\xfe\xff\xff\xff") + little<quint32>(id) +
                         char((n << 4) | parts) + whole.mid(n * size, size));
    return datagrams;
}

QList<QByteArray> repliesTo(const QByteArray& request, const FakeGameServer& server) {
    if (!server.answersSource)
        return {};
    const QByteArray infoRequest = SourceQuery::infoRequest();
    if (request.startsWith(infoRequest)) {
        if (server.demandsChallenge && request.mid(infoRequest.size()) != challenge())
            return {challengeAnswer()};
        return {info(server)};
    }
    if (!request.startsWith(kWhole + 'U'))
        return {};
    if (request.mid(5) != challenge())
        return {challengeAnswer()};
    if (server.playerParts <= 1)
        return {players(server)};
    QList<QByteArray> parts = split(players(server), server.playerParts, 0x2a);
    std::reverse(parts.begin(), parts.end());
    return parts;
}

} // namespace FakeSourceReplies
