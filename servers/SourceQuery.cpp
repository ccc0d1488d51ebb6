#include "servers/SourceQuery.h"

#include "servers/SplitReplies.h"

#include <QtEndian>

namespace SourceQuery {

namespace {

const QByteArray kWhole(4, '\xff');

// Reads forward through a datagram; every read checks the bytes are there first, and one that
// fails leaves the reader failed for good, so a parser checks once at the end.
class Reader {
public:
    explicit Reader(const QByteArray& bytes, qsizetype from)
        : m_bytes(bytes)
        , m_at(from) {}

    bool ok() const { return m_ok; }

    quint8 byte() { return take(1) ? quint8(m_bytes.at(m_at - 1)) : 0; }
    qint16 int16() { return take(2) ? qFromLittleEndian<qint16>(m_bytes.constData() + m_at - 2) : 0; }
    qint32 int32() { return take(4) ? qFromLittleEndian<qint32>(m_bytes.constData() + m_at - 4) : 0; }
    void skip(qsizetype n) { take(n); }
    // Up to its NUL, which must be there. Valve's servers send UTF-8.
    QString string() {
        const qsizetype end = m_ok ? m_bytes.indexOf('\0', m_at) : -1;
        if (end < 0) {
            m_ok = false;
            return {};
        }
        const QString text = QString::fromUtf8(m_bytes.constData() + m_at, end - m_at);
        m_at = end + 1;
        return text;
    }

private:
    bool take(qsizetype n) {
        if (!m_ok || m_bytes.size() - m_at < n)
            m_ok = false;
        else
            m_at += n;
        return m_ok;
    }

    const QByteArray& m_bytes;
    qsizetype m_at;
    bool m_ok = true;
};

// The Ship sends three bytes of its own before the version string.
constexpr qint16 kTheShip = 2400;

std::optional<ServerStatus> parseSourceInfo(const QByteArray& datagram) {
    Reader r(datagram, 5);
    r.skip(1); // protocol
    ServerStatus status;
    status.hostName = r.string();
    status.mapName = r.string();
    r.string(); // game folder
    r.string(); // game description
    const qint16 appId = r.int16();
    status.playerCount = r.byte();
    status.maxPlayers = QString::number(r.byte());
    r.skip(5); // bots, server type, environment, visibility, VAC
    if (appId == kTheShip)
        r.skip(3);
    status.version = r.string();
    if (!r.ok())
        return std::nullopt;
    return status;
}

std::optional<ServerStatus> parseOldInfo(const QByteArray& datagram) {
    Reader r(datagram, 5);
    r.string(); // address and port
    ServerStatus status;
    status.hostName = r.string();
    status.mapName = r.string();
    r.string(); // game folder
    r.string(); // game description
    status.playerCount = r.byte();
    status.maxPlayers = QString::number(r.byte());
    r.skip(1); // protocol
    if (!r.ok())
        return std::nullopt;
    return status;
}

} // namespace

QByteArray infoRequest(const QByteArray& challenge) {
    return kWhole + 'T' + QByteArray("Source Engine Query", 20) + challenge;
}

QByteArray playerRequest(const QByteArray& challenge) {
    return kWhole + 'U' + (challenge.isEmpty() ? kWhole : challenge);
}

Kind classify(const QByteArray& datagram) {
    if (SplitReplies::isPart(datagram))
        return Kind::SplitPart;
    if (!datagram.startsWith(kWhole) || datagram.size() < 5)
        return Kind::Unknown;
    switch (datagram.at(4)) {
    case 'A':
        return Kind::Challenge;
    case 'I':
        return Kind::Info;
    case 'm':
        return Kind::OldInfo;
    case 'D':
        return Kind::Players;
    default:
        return Kind::Unknown;
    }
}

std::optional<QByteArray> challenge(const QByteArray& datagram) {
    if (classify(datagram) != Kind::Challenge || datagram.size() < 9)
        return std::nullopt;
    return datagram.mid(5, 4);
}

std::optional<ServerStatus> parseInfo(const QByteArray& datagram) {
    switch (classify(datagram)) {
    case Kind::Info:
        return parseSourceInfo(datagram);
    case Kind::OldInfo:
        return parseOldInfo(datagram);
    default:
        return std::nullopt;
    }
}

std::optional<ServerStatus> parseOldInfoAnswer(const QByteArray& datagram) {
    if (!datagram.startsWith(kWhole) || datagram.size() < 5 || datagram.at(4) != 'C')
        return std::nullopt;
    return parseOldInfo(datagram);
}

std::optional<QList<PlayerRow>> parsePlayers(const QByteArray& datagram) {
    if (classify(datagram) != Kind::Players)
        return std::nullopt;
    Reader r(datagram, 5);
    const quint8 count = r.byte();
    QList<PlayerRow> rows;
    for (int i = 0; i < count && r.ok(); ++i) {
        r.skip(1); // index, not the row's place
        const QString name = r.string();
        const qint32 score = r.int32();
        r.skip(4); // time on the server, a float
        rows.append(PlayerRow{QString::number(score), QString(), u'"' + name + u'"'});
    }
    if (!r.ok())
        return std::nullopt;
    return rows;
}

} // namespace SourceQuery
