#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>

#include <deque>
#include <functional>

// What one member still has to receive, and when it may go out.
//
// The client handles a read piece by piece and stops after certain messages (a PMSG, a PART,
// a "/me" line, ...): whatever follows them in the same read is dropped. So one write carries any
// number of ordinary messages and at most one read-ending message, as its last, with a PING (the
// probe) right in front of it. Nothing more goes out until that PING is answered: the client
// answers while handling the read that holds both, and has taken that read whole before it
// handles any piece, so whatever we write after the answer lands in a later read. The probe sits
// before the read-ending message, so it is never lost behind one.
//
// Answers carry nothing to tell one PING from another, but TCP keeps order both ways and the
// client answers in order. So the queue counts: PINGs written and not yet answered, oldest first.
// Those written before the probe are answered first; that many answers are passed over, and the
// next one is the probe's.
//
// Joins and departures are kept to what the member's list needs: a PART for a name whose JOIN (or
// LIST) is still queued cancels it, and a JOIN for a name whose PART is still queued cancels that,
// so a member who is behind gets only the net change, however fast others sign on and off. PARTs
// wait in their own line, and the other messages that are not read-ending pass them: a member's
// list may lag behind the chat, never the chat behind the list.
//
// Plain class, no sockets: the session asks it what to write and tells it what was answered.
class DeliveryQueue {
public:
    enum class Kind { Ordinary, EndsRead, Ping };

    // How the client treats a CR LF-ended message: INVALID, DONER, NICK, PART, PMSG and "/me"
    // lines end its read; so does every MSG when everyMsgEndsRead (the server cannot know who
    // ignores whom). A PART ends the read only when it removed a name, which is the usual case.
    static Kind classify(const QByteArray& line, bool everyMsgEndsRead);

    // nowMs: the time it was queued, on the clock given to takeWrite.
    void append(const QByteArray& line, Kind kind, qint64 nowMs = 0);
    qint64 queuedBytes() const { return m_queuedBytes; }
    // A read-ending message went out and the client's read that holds it is not known to be over.
    bool awaitingRead() const { return m_awaiting; }

    // The messages for the next write, oldest first: ordinary ones up to maxBytes (the first
    // always), closed by the oldest read-ending one behind a probe made by makeProbe. Empty while
    // a read is awaited.
    QList<QByteArray> takeWrite(qsizetype maxBytes, qint64 nowMs,
                                const std::function<QByteArray()>& makeProbe);
    // How long the oldest message of the last takeWrite had waited.
    qint64 lastWriteWaitMs() const { return m_lastWriteWaitMs; }
    // Everything queued, in order, read rules aside, for a connection that is about to be closed.
    QList<QByteArray> takeAll();

    // A keep-alive PING was written outside the queue's writes.
    void pingWritten(qint64 nowMs) { m_unanswered.push_back(nowMs); }
    // One PING answer came in. True when it ended the wait: the queue may be written again.
    bool pingAnswered();
    // PINGs written before cutoffMs and still unanswered are taken as lost (a client that has
    // handled a PING answers it at once, and one that sends nothing for that long is dropped).
    // True when the probe itself was among them: the wait is over.
    bool forgetOlderThan(qint64 cutoffMs);

    qsizetype unansweredPings() const { return qsizetype(m_unanswered.size()); }

private:
    struct Entry {
        QByteArray line;
        Kind kind;
        qint64 order;
        qint64 queuedAtMs;
        bool cancelled = false;
    };
    using Line = std::deque<Entry>;

    static void dropCancelled(Line& line);
    void cancel(Line& line, qint64 order);
    void taken(const Entry& entry, qint64 nowMs);

    Line m_main;  // every message but PARTs, in order
    Line m_parts; // PARTs, in order
    // Names whose JOIN or LIST, or whose PART, is queued: the entry's order.
    QHash<QByteArray, qint64> m_queuedArrivals;
    QHash<QByteArray, qint64> m_queuedDepartures;
    qint64 m_nextOrder = 0;
    qint64 m_queuedBytes = 0;
    qint64 m_lastWriteWaitMs = 0;
    // Write times of PINGs not yet answered, oldest first.
    std::deque<qint64> m_unanswered;
    bool m_awaiting = false;
    // Of m_unanswered, how many at the front were written before the awaited probe.
    qsizetype m_answersBeforeProbe = 0;
};
