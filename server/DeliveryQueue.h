#pragma once

#include <QByteArray>
#include <QList>

#include <deque>

// What one member still has to receive, and when it may go out.
//
// The client handles a read piece by piece and stops after certain messages (a PMSG, a PART,
// a "/me" line, ...): whatever follows them in the same read is dropped. So one write carries any
// number of ordinary messages and at most one read-ending message, as its last. After that nothing
// more goes out until the client has answered a PING (the probe) written after it: the client
// answers a PING only while handling it, so the answer proves the read with the read-ending
// message is over. A probe written too soon lands in that same read and is dropped too; it is
// sent again, later each time.
//
// Answers carry nothing to tell one PING from another, but TCP keeps order both ways and the
// client answers in order. So the queue counts: PINGs written and not yet answered, oldest first.
// Those written before the read-ending message are answered before any probe; that many answers
// are passed over, and the next one is the probe's. A probe lost behind the read-ending message is
// never answered, so it is counted until the forgetting horizon (see forgetOlderThan).
//
// Plain class, no sockets: the session asks it what to write and tells it what was answered.
class DeliveryQueue {
public:
    enum class Kind { Ordinary, EndsRead, Ping };

    // probeDelayMs: pause between a read-ending message and the first probe; probeResendMs: the
    // first wait for an answer before the probe is sent again, doubled at each resend.
    DeliveryQueue(int probeDelayMs, int probeResendMs)
        : m_probeDelayMs(probeDelayMs)
        , m_probeResendMs(probeResendMs) {}

    // How the client treats a CR LF-ended message: INVALID, DONER, NICK, PART, PMSG and "/me"
    // lines end its read; so does every MSG when everyMsgEndsRead (the server cannot know who
    // ignores whom). A PART ends the read only when it removed a name, which is the usual case.
    static Kind classify(const QByteArray& line, bool everyMsgEndsRead);

    void append(const QByteArray& line, Kind kind);
    bool isEmpty() const { return m_queue.empty(); }
    qint64 queuedBytes() const { return m_queuedBytes; }
    // A read-ending message went out and the client's read that holds it is not known to be over.
    bool awaitingRead() const { return m_awaiting; }

    // The messages for the next write, oldest first: ordinary ones up to maxBytes (the first
    // always), ending early after a read-ending one. Empty while a read is awaited.
    QList<QByteArray> takeWrite(qsizetype maxBytes, qint64 nowMs);
    // Everything queued, read rules aside, for a connection that is about to be closed.
    QList<QByteArray> takeAll(qint64 nowMs);

    // When the next probe is due (ms, same clock as nowMs), or -1 when none is wanted.
    qint64 nextProbeAtMs() const { return m_awaiting ? m_nextProbeAtMs : -1; }
    void probeWritten(qint64 nowMs);
    // The read-ending message has not left whole yet: the pause starts again.
    void postponeProbe(qint64 nowMs) { m_nextProbeAtMs = nowMs + m_probeDelayMs; }
    // One PING answer came in. True when it ended the wait: the queue may be written again.
    bool pingAnswered(qint64 nowMs);
    // PINGs written before cutoffMs and still unanswered are taken as lost. A client that has
    // handled a PING answers it at once, and one that sends nothing for that long is dropped.
    void forgetOlderThan(qint64 cutoffMs);

    qsizetype unansweredPings() const { return qsizetype(m_unanswered.size()); }

private:
    struct Entry {
        QByteArray line;
        Kind kind;
    };
    void noteWritten(const Entry& entry, qint64 nowMs);

    int m_probeDelayMs;
    int m_probeResendMs;
    std::deque<Entry> m_queue;
    qint64 m_queuedBytes = 0;
    // Write times of PINGs not yet answered, oldest first.
    std::deque<qint64> m_unanswered;
    bool m_awaiting = false;
    // Of m_unanswered, how many at the front were written before the awaited read-ending message.
    qsizetype m_answersBeforeProbe = 0;
    int m_probesSent = 0;
    int m_answersSinceEnd = 0;
    qint64 m_nextProbeAtMs = -1;
};
