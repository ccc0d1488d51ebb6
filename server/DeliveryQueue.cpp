#include "server/DeliveryQueue.h"

#include <algorithm>

namespace {

// "|¿|" as it travels: the inverted question mark is the byte 0xBF.
constexpr char Separator[] = "|\xBF|";

QByteArray fieldAt(const QByteArray& line, qsizetype start) {
    qsizetype end = line.indexOf(Separator, start);
    const qsizetype lineEnd = line.indexOf("\r\n", start);
    if (end < 0 || (lineEnd >= 0 && lineEnd < end))
        end = lineEnd;
    return end < 0 ? line.mid(start) : line.mid(start, end - start);
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
    const QByteArray display = fieldAt(line, word.size() + qsizetype(sizeof(Separator) - 1));
    const QByteArray second = display.split(' ').value(1);
    return second.toLower() == "/me" ? Kind::EndsRead : Kind::Ordinary;
}

void DeliveryQueue::append(const QByteArray& line, Kind kind) {
    m_queue.push_back({line, kind});
    m_queuedBytes += line.size();
}

QList<QByteArray> DeliveryQueue::takeWrite(qsizetype maxBytes, qint64 nowMs) {
    QList<QByteArray> batch;
    qsizetype bytes = 0;
    while (!m_awaiting && !m_queue.empty()) {
        const Entry& next = m_queue.front();
        if (!batch.isEmpty() && bytes + next.line.size() > maxBytes)
            break;
        bytes += next.line.size();
        batch.append(next.line);
        noteWritten(next, nowMs);
        m_queuedBytes -= next.line.size();
        m_queue.pop_front();
    }
    return batch;
}

QList<QByteArray> DeliveryQueue::takeAll(qint64 nowMs) {
    QList<QByteArray> all;
    for (const Entry& entry : m_queue) {
        all.append(entry.line);
        noteWritten(entry, nowMs);
    }
    m_queue.clear();
    m_queuedBytes = 0;
    return all;
}

void DeliveryQueue::noteWritten(const Entry& entry, qint64 nowMs) {
    if (entry.kind == Kind::Ping) {
        m_unanswered.push_back(nowMs);
    } else if (entry.kind == Kind::EndsRead) {
        m_awaiting = true;
        m_answersBeforeProbe = qsizetype(m_unanswered.size());
        m_probesSent = 0;
        m_answersSinceEnd = 0;
        m_nextProbeAtMs = nowMs + m_probeDelayMs;
    }
}

void DeliveryQueue::probeWritten(qint64 nowMs) {
    m_unanswered.push_back(nowMs);
    ++m_probesSent;
    // 1x, 2x, 4x, then 8x the first wait: a client behind a long dialog gets few probes (each
    // one lost costs a round trip later), and one that has closed it waits at most 4 s by default.
    m_nextProbeAtMs = nowMs + (qint64(m_probeResendMs) << std::min(m_probesSent - 1, 3));
}

bool DeliveryQueue::pingAnswered(qint64 nowMs) {
    if (!m_unanswered.empty())
        m_unanswered.pop_front();
    if (!m_awaiting)
        return false;
    if (m_answersBeforeProbe > 0) {
        // An answer to a PING written before the read-ending message: it says nothing about that read.
        --m_answersBeforeProbe;
        // As many answers as probes: every probe may have been one of them, so waiting for the
        // resend time would only add delay.
        if (m_probesSent > 0 && ++m_answersSinceEnd >= m_probesSent)
            m_nextProbeAtMs = nowMs;
        return false;
    }
    m_awaiting = false;
    m_nextProbeAtMs = -1;
    return true;
}

void DeliveryQueue::forgetOlderThan(qint64 cutoffMs) {
    while (!m_unanswered.empty() && m_unanswered.front() < cutoffMs) {
        m_unanswered.pop_front();
        if (m_answersBeforeProbe > 0)
            --m_answersBeforeProbe;
    }
}
