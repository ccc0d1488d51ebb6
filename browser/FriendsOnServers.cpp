#include "browser/FriendsOnServers.h"

#include "browser/ServerEntry.h"

namespace {

const QString kJoined = QStringLiteral("joined ");
const QString kServer = QStringLiteral(", server : ");
const QString kAt = QStringLiteral(" at ");
const QString kLeft = QStringLiteral("left ");

bool samePort(const QString& a, const QString& b) {
    bool okA = false, okB = false;
    const uint na = a.trimmed().toUInt(&okA), nb = b.trimmed().toUInt(&okB);
    return okA && okB ? na == nb : a == b;
}

// "NAME - ADDRESS - PORT at TIME : DATE": the name may hold " - " itself, so the port and the
// address are taken from the right.
std::optional<FriendsOnServers::Playing> readServer(const QString& text) {
    const qsizetype at = text.lastIndexOf(kAt);
    if (at < 0)
        return std::nullopt;
    QStringList fields = ServerEntry::fields(text.left(at));
    if (fields.size() < 3)
        return std::nullopt;
    FriendsOnServers::Playing playing;
    playing.port = fields.takeLast();
    playing.address = fields.takeLast();
    playing.serverName = fields.join(ServerEntry::Separator);
    bool numeric = false;
    playing.port.toUInt(&numeric);
    if (!numeric || playing.address.isEmpty())
        return std::nullopt;
    return playing;
}

} // namespace

std::optional<FriendsOnServers::Announcement> FriendsOnServers::read(const QString& displayLine) {
    // "<name> text": the sender is the first word, as the room reads it.
    const qsizetype blank = displayLine.indexOf(u' ');
    if (blank < 3 || !displayLine.startsWith(u'<') || displayLine.at(blank - 1) != u'>')
        return std::nullopt;
    Announcement announcement{displayLine.mid(1, blank - 2), std::nullopt};
    const QString text = displayLine.mid(blank + 1);
    if (text.startsWith(kJoined)) {
        const qsizetype server = text.indexOf(kServer);
        if (server < 0)
            return std::nullopt;
        std::optional<Playing> playing = readServer(text.mid(server + kServer.size()));
        if (!playing)
            return std::nullopt;
        playing->member = announcement.member;
        playing->game = text.mid(kJoined.size(), server - kJoined.size());
        announcement.playing = playing;
        return announcement;
    }
    // The return is sent with a blank in front of "left".
    if (text.startsWith(u' ' + kLeft) && text.contains(QStringLiteral(" : ")))
        return announcement;
    return std::nullopt;
}

bool FriendsOnServers::lineArrived(const QString& displayLine) {
    const std::optional<Announcement> announcement = read(displayLine);
    if (!announcement)
        return false;
    bool changed = memberLeft(announcement->member);
    if (announcement->playing) {
        m_playing.append(*announcement->playing);
        changed = true;
    }
    return changed;
}

bool FriendsOnServers::memberLeft(const QString& member) {
    return m_playing.removeIf([&](const Playing& p) { return p.member == member; }) > 0;
}

bool FriendsOnServers::clear() {
    const bool changed = !m_playing.isEmpty();
    m_playing.clear();
    return changed;
}

QStringList FriendsOnServers::membersOn(const QString& address, const QString& port) const {
    QStringList members;
    for (const Playing& p : m_playing) {
        if (p.address.compare(address, Qt::CaseInsensitive) == 0 && samePort(p.port, port))
            members.append(p.member);
    }
    return members;
}
