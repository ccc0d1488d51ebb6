#pragma once

#include <QByteArray>
#include <QList>

#include <optional>

// Puts together an answer the server split over several datagrams (each starting with -2 as a
// little-endian 32-bit number: FE FF FF FF, where a whole answer has FF FF FF FF).
// Parts may come in any order; a set is given out once every part of it is in: the payloads in
// order, the first starting FF FF FF FF as a whole answer does. Only a few incomplete sets are kept:
// a new one beyond that drops the oldest, so a server that never finishes a set costs nothing lasting.
class SplitReplies {
public:
    // GoldSrc (Half-Life): id, then one byte whose low nibble is the part count and high nibble the
    // part number. Source: id, count byte, number byte, then a 2-byte part size.
    enum class Layout { GoldSrc, Source };
    static constexpr qsizetype kOpenSets = 4;

    explicit SplitReplies(Layout layout)
        : m_layout(layout) {}

    static bool isPart(const QByteArray& datagram);

    // The whole answer when this part completes its set; nullopt while parts are missing or when the
    // part is malformed (too short, a number outside its count, a compressed Source set).
    std::optional<QByteArray> add(const QByteArray& part);
    qsizetype openSets() const { return m_sets.size(); }

private:
    struct Set {
        quint32 id = 0;
        QList<std::optional<QByteArray>> parts;
    };
    Layout m_layout;
    QList<Set> m_sets; // oldest first
};
