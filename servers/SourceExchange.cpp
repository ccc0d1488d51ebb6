#include "servers/SourceExchange.h"

#include "servers/SourceQuery.h"

using SourceQuery::Kind;

QByteArray SourceExchange::start() {
    m_started = true;
    m_waiting = Waiting::Info;
    m_challenges = 0;
    return SourceQuery::infoRequest();
}

std::optional<SourceExchange::Step> SourceExchange::receive(const QByteArray& datagram) {
    Kind kind = SourceQuery::classify(datagram);
    if (!m_started || kind == Kind::Unknown)
        return std::nullopt;
    QByteArray whole = datagram;
    if (kind == Kind::SplitPart) {
        const std::optional<QByteArray> joined = m_split.add(datagram);
        if (!joined)
            return Step{};
        whole = *joined;
        kind = SourceQuery::classify(whole);
    }
    Step step;
    step.bytes = whole.size();
    switch (kind) {
    case Kind::Challenge:
        return answerChallenge(whole);
    case Kind::Info:
    case Kind::OldInfo: {
        const std::optional<ServerStatus> info = SourceQuery::parseInfo(whole);
        step.show = info.value_or(ServerStatus{});
        if (info && m_waiting == Waiting::Info) {
            m_waiting = Waiting::Players;
            m_challenges = 0;
            step.send = SourceQuery::playerRequest();
        }
        break;
    }
    case Kind::Players: {
        step.show = ServerStatus{};
        if (const auto rows = SourceQuery::parsePlayers(whole)) {
            step.show->players = *rows;
            if (m_waiting == Waiting::Players)
                m_waiting = Waiting::Nothing;
        }
        break;
    }
    case Kind::SplitPart: // a set whose payload is itself a part: nothing to read
    case Kind::Unknown:
        step.show = ServerStatus{};
        break;
    }
    return step;
}

SourceExchange::Step SourceExchange::answerChallenge(const QByteArray& datagram) {
    const std::optional<QByteArray> challenge = SourceQuery::challenge(datagram);
    if (!challenge || m_waiting == Waiting::Nothing || m_challenges >= kChallengesPerRequest)
        return {};
    ++m_challenges;
    if (m_waiting == Waiting::Info)
        return {SourceQuery::infoRequest(*challenge), std::nullopt, datagram.size()};
    return {SourceQuery::playerRequest(*challenge), std::nullopt, datagram.size()};
}
