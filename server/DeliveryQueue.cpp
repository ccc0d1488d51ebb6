#include "server/DeliveryQueue.h"

#include <algorithm>

namespace {

// "|¿|" as it travels: the inverted question mark is the byte 0xBF.
constexpr char Separator[] = "|\xBF|";
constexpr qsizetype SeparatorSize = sizeof(Separator) - 1;

QByteArray fieldAt(const QByteArray& line, qsizetype start) {
    qsizetype end = line.indexOf(Separator, start);
    const qsizetype lineEnd = line.indexOf("\r\n", start);
    if (end < 0 || (lineEnd >= 0 && lineEnd < end))
        end = lineEnd;
    return end < 0 ? line.mid(start) : line.mid(start, end - start);
}

enum class Presence { None, Arrival, Departure };

// JOIN and LIST add a name to the client's list, PART takes it away; the name is the one field.
Presence presenceOf(const QByteArray& line, QByteArray* name) {
    const QByteArray word = line.first(std::min<qsizetype>(line.size(), 4));
    const Presence presence = word == "PART"                     ? Presence::Departure
                              : word == "JOIN" || word == "LIST" ? Presence::Arrival
                                                                 : Presence::None;
    if (presence == Presence::None || line.mid(4, SeparatorSize) != Separator)
        return Presence::None;
    *name = fieldAt(line, 4 + SeparatorSize);
    return presence;
}

} // namespace

DeliveryQueue::Kind DeliveryQueue::classify(const QByteArray& line, bool everyMsgEndsRead) {
    const QByteArray word = fieldAt(line, 0);
    if (word == "PING")
        return Kind::Ping;
    if (word == "PMSG" || word == "PART" || word == "NICK" || word == "INVALID" || word == "DONER")
        return Kind::EndsRead;
    if (word != "MSG")
        return Kind::Ordinary;
    if (everyMsgEndsRead)
        return Kind::EndsRead;
    // The client splits the display line on single blanks; the word after the sender decides.
    const QByteArray display = fieldAt(line, word.size() + SeparatorSize);
    const QByteArray second = display.split(' ').value(1);
    return second.toLower() == "/me" ? Kind::EndsRead : Kind::Ordinary;
}

void DeliveryQueue::append(const QByteArray& line, Kind kind, qint64 nowMs) {
    QByteArray name;
    const Presence presence = kind == Kind::Ping ? Presence::None : presenceOf(line, &name);
    // A change the member has not been told of yet is undone by its opposite.
    if (presence == Presence::Departure) {
        if (const auto arrival = m_queuedArrivals.constFind(name); arrival != m_queuedArrivals.cend()) {
            cancel(m_main, *arrival);
            m_queuedArrivals.erase(arrival);
            return;
        }
    } else if (presence == Presence::Arrival) {
        if (const auto departure = m_queuedDepartures.constFind(name);
            departure != m_queuedDepartures.cend()) {
            cancel(m_parts, *departure);
            m_queuedDepartures.erase(departure);
            return;
        }
    }
    const qint64 order = m_nextOrder++;
    if (presence == Presence::Departure) {
        m_parts.push_back({line, kind, order, nowMs});
        m_queuedDepartures.insert(name, order);
    } else {
        m_main.push_back({line, kind, order, nowMs});
        if (presence == Presence::Arrival)
            m_queuedArrivals.insert(name, order);
    }
    m_queuedBytes += line.size();
}

void DeliveryQueue::cancel(Line& line, qint64 order) {
    const auto found =
        std::lower_bound(line.begin(), line.end(), order,
                         [](const Entry& entry, qint64 wanted) { return entry.order < wanted; });
    if (found == line.end() || found->order != order || found->cancelled)
        return;
    found->cancelled = true;
    m_queuedBytes -= found->line.size();
    found->line.clear();
}

void DeliveryQueue::dropCancelled(Line& line) {
    while (!line.empty() && line.front().cancelled)
        line.pop_front();
}

void DeliveryQueue::taken(const Entry& entry, qint64 nowMs) {
    m_queuedBytes -= entry.line.size();
    m_lastWriteWaitMs = std::max(m_lastWriteWaitMs, nowMs - entry.queuedAtMs);
    if (entry.kind == Kind::Ping)
        m_unanswered.push_back(nowMs);
    QByteArray name;
    const Presence presence = presenceOf(entry.line, &name);
    QHash<QByteArray, qint64>& queued =
        presence == Presence::Departure ? m_queuedDepartures : m_queuedArrivals;
    if (presence != Presence::None && queued.value(name, -1) == entry.order)
        queued.remove(name);
}

QList<QByteArray> DeliveryQueue::takeWrite(qsizetype maxBytes, qint64 nowMs,
                                           const std::function<QByteArray()>& makeProbe) {
    QList<QByteArray> batch;
    m_lastWriteWaitMs = 0;
    if (m_awaiting)
        return batch;
    qsizetype bytes = 0;
    // Ordinary messages, up to the first read-ending one of the main line; they pass PARTs.
    for (dropCancelled(m_main); !m_main.empty() && m_main.front().kind != Kind::EndsRead;
         dropCancelled(m_main)) {
        const Entry& next = m_main.front();
        if (!batch.isEmpty() && bytes + next.line.size() > maxBytes)
            return batch;
        bytes += next.line.size();
        batch.append(next.line);
        taken(next, nowMs);
        m_main.pop_front();
    }
    // Then the oldest read-ending message, behind its probe.
    dropCancelled(m_parts);
    Line* ending = nullptr;
    if (!m_main.empty())
        ending = &m_main;
    if (!m_parts.empty() && (!ending || m_parts.front().order < m_main.front().order))
        ending = &m_parts;
    if (!ending)
        return batch;
    const QByteArray probe = makeProbe();
    const Entry& last = ending->front();
    if (!batch.isEmpty() && bytes + probe.size() + last.line.size() > maxBytes)
        return batch;
    m_answersBeforeProbe = qsizetype(m_unanswered.size());
    m_unanswered.push_back(nowMs);
    batch.append(probe);
    batch.append(last.line);
    taken(last, nowMs);
    ending->pop_front();
    m_awaiting = true;
    return batch;
}

QList<QByteArray> DeliveryQueue::takeAll() {
    QList<QByteArray> all;
    for (;;) {
        dropCancelled(m_main);
        dropCancelled(m_parts);
        Line* next = m_main.empty() ? &m_parts : &m_main;
        if (!m_main.empty() && !m_parts.empty() && m_parts.front().order < m_main.front().order)
            next = &m_parts;
        if (next->empty())
            break;
        all.append(next->front().line);
        next->pop_front();
    }
    m_queuedBytes = 0;
    m_queuedArrivals.clear();
    m_queuedDepartures.clear();
    return all;
}

bool DeliveryQueue::pingAnswered() {
    if (!m_unanswered.empty())
        m_unanswered.pop_front();
    if (!m_awaiting)
        return false;
    if (m_answersBeforeProbe > 0) {
        // An answer to a PING written before the probe: it says nothing about the awaited read.
        --m_answersBeforeProbe;
        return false;
    }
    m_awaiting = false;
    return true;
}

bool DeliveryQueue::forgetOlderThan(qint64 cutoffMs) {
    bool waitEnded = false;
    while (!m_unanswered.empty() && m_unanswered.front() < cutoffMs) {
        m_unanswered.pop_front();
        if (m_answersBeforeProbe > 0) {
            --m_answersBeforeProbe;
        } else if (m_awaiting) {
            m_awaiting = false;
            waitEnded = true;
        }
    }
    return waitEnded;
}
