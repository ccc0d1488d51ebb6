#include "servers/ServerConversation.h"

#include "common/NumberText.h"
#include "common/Windows1252.h"
#include "servers/GameCatalogue.h"
#include "servers/GameQuery.h"
#include "servers/HalfLife.h"
#include "servers/SourceQuery.h"

#include <algorithm>

namespace {

const QByteArray kWhole(4, '\xff');

QString unquoted(const QString& name) {
    if (name.size() >= 2 && name.startsWith(u'"') && name.endsWith(u'"'))
        return name.mid(1, name.size() - 2);
    return name;
}

// The player lines of a Quake-family reply read for the list, not for the monitor's display:
// score, ping, and the whole name with its blanks, its quotes taken off.
QList<PlayerRow> quakePlayers(const QString& reply) {
    QList<PlayerRow> rows;
    const QStringList lines = reply.split(u'\n');
    for (qsizetype i = 2; i < lines.size(); ++i) {
        const QString& line = lines.at(i);
        const qsizetype first = line.indexOf(u' ');
        const qsizetype second = first < 0 ? -1 : line.indexOf(u' ', first + 1);
        if (second < 0)
            continue;
        rows.append(
            {line.left(first), line.mid(first + 1, second - first - 1), unquoted(line.mid(second + 1))});
    }
    return rows;
}

std::optional<int> wholeNumber(const std::optional<QString>& text) {
    if (!text)
        return std::nullopt;
    // A limit no server has is held to a size an int can take.
    return int(std::clamp(NumberText::leadingNumber(*text), 0.0, 1e6));
}

} // namespace

ServerConversation::ServerConversation(const QString& gameKey)
    : m_game(gameKey) {}

QList<QByteArray> ServerConversation::start() {
    m_last.clear();
    const QByteArray status = GameQuery::requestDatagram(m_game);
    if (!status.isEmpty())
        m_last.append(status);
    if (m_game == GameCatalogue::HalfLife)
        m_last.append(m_exchange.start());
    return m_last;
}

ServerConversation::Step ServerConversation::receive(const QByteArray& datagram) {
    if (m_game == GameCatalogue::HalfLife)
        return halfLife(datagram);
    return quakeFamily(datagram);
}

void ServerConversation::takeInfo(const ServerStatus& status) {
    m_answer.answered = true;
    m_answer.name = status.hostName.value_or(m_answer.name);
    m_answer.map = status.mapName.value_or(m_answer.map);
    if (const auto max = wholeNumber(status.maxPlayers))
        m_answer.maxPlayers = max;
    if (status.playerCount)
        m_answer.players = status.playerCount;
}

ServerConversation::Step ServerConversation::quakeFamily(const QByteArray& datagram) {
    if (!datagram.startsWith(kWhole))
        return {};
    const QString reply = Windows1252::decode(datagram);
    takeInfo(GameQuery::parseReply(m_game, reply));
    m_answer.playerRows = quakePlayers(reply);
    m_answer.players = int(m_answer.playerRows.size());
    return {true, {}, true};
}

ServerConversation::Step ServerConversation::halfLife(const QByteArray& datagram) {
    if (const std::optional<SourceExchange::Step> step = m_exchange.receive(datagram)) {
        Step out;
        if (step->show && step->show->hostName) {
            takeInfo(*step->show);
            out.useful = true;
        }
        if (step->show && step->show->players) {
            m_answer.playerRows = *step->show->players;
            for (PlayerRow& row : m_answer.playerRows)
                row.name = unquoted(row.name);
            m_answer.players = int(m_answer.playerRows.size());
            m_havePlayers = true;
            out.useful = true;
        }
        out.finished = m_answer.answered && m_havePlayers;
        if (out.finished || !step->send || (m_playersAsked && *step->send == SourceQuery::playerRequest()))
            return out;
        m_last = {*step->send};
        // The challenge belongs to our address, whatever we ask: with it the players are asked
        // at once with the info, two round trips fewer than one after the other.
        const QByteArray infoRequest = SourceQuery::infoRequest();
        if (step->send->startsWith(infoRequest) && step->send->size() > infoRequest.size()) {
            m_last.append(SourceQuery::playerRequest(step->send->mid(infoRequest.size())));
            m_playersAsked = true;
        }
        out.send = m_last;
        out.useful = true;
        return out;
    }
    // The old way: the 'C' answer, or the key and value fields the monitor reads.
    if (const auto old = SourceQuery::parseOldInfoAnswer(datagram)) {
        takeInfo(*old);
        return {true, {}, true};
    }
    const ServerStatus fields = HalfLife::ParseReply(Windows1252::decode(datagram));
    if (!fields.hostName)
        return {};
    takeInfo(fields);
    return {true, {}, true};
}
