#include "servers/SplitReplies.h"

#include <QtEndian>

namespace {

struct Header {
    quint32 id = 0;
    int count = 0;
    int number = 0;
    qsizetype payloadAt = 0;
};

std::optional<Header> readHeader(const QByteArray& part, SplitReplies::Layout layout) {
    const bool goldSrc = layout == SplitReplies::Layout::GoldSrc;
    const qsizetype headerSize = goldSrc ? 9 : 12;
    if (!SplitReplies::isPart(part) || part.size() < headerSize)
        return std::nullopt;
    Header h;
    h.id = qFromLittleEndian<quint32>(part.constData() + 4);
    const auto at = [&part](qsizetype i) { return int(quint8(part.at(i))); };
    h.count = goldSrc ? at(8) & 0x0f : at(8);
    h.number = goldSrc ? at(8) >> 4 : at(9);
    h.payloadAt = headerSize;
    // A Source id with its top bit set marks a bzip2-compressed set, which no server of the games
    // we query sends; it is refused rather than handed on as garbage.
    if (!goldSrc && (h.id & 0x80000000u))
        return std::nullopt;
    if (h.count < 1 || h.number >= h.count)
        return std::nullopt;
    return h;
}

} // namespace

bool SplitReplies::isPart(const QByteArray& datagram) {
    return datagram.startsWith("\xfe\xff\xff\xff");
}

std::optional<QByteArray> SplitReplies::add(const QByteArray& part) {
    const std::optional<Header> h = readHeader(part, m_layout);
    if (!h)
        return std::nullopt;
    auto set = std::find_if(m_sets.begin(), m_sets.end(), [&h](const Set& s) { return s.id == h->id; });
    if (set != m_sets.end() && set->parts.size() != h->count)
        return std::nullopt; // a part that disagrees with its set about the count
    if (set == m_sets.end()) {
        if (m_sets.size() == kOpenSets)
            m_sets.removeFirst();
        m_sets.append(Set{h->id, QList<std::optional<QByteArray>>(h->count)});
        set = m_sets.end() - 1;
    }
    set->parts[h->number] = part.mid(h->payloadAt);
    QByteArray whole;
    for (const std::optional<QByteArray>& p : std::as_const(set->parts)) {
        if (!p)
            return std::nullopt;
        whole += *p;
    }
    m_sets.erase(set);
    return whole;
}
