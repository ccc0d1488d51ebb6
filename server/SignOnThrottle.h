#pragma once

#include <QHash>
#include <QSet>
#include <QString>

#include <algorithm>
#include <functional>

// Failed sign-ons make the following attempts wait their turn: per address, and per account name
// for addresses that have not signed on to that account before. Each failure past a few free
// ones doubles the spacing of turns, up to a ceiling, and a quiet spell forgets them all. So a
// guesser gets a handful of tries a minute, while a stranger failing on someone's name can at
// worst slow that member's sign-on from a new address and never lock them out. An attempt whose
// connection leaves before its turn gives the turn back, so opening and closing connections
// cannot push the turns of others away.
class SignOnThrottle {
public:
    struct Settings {
        int freeFailures = 3;
        int firstDelayMs = 1000; // 0 turns throttling off
        int longestDelayMs = 60 * 1000;
        int forgetAfterMs = 15 * 60 * 1000;
    };
    // Milliseconds on a clock that never goes back.
    using Clock = std::function<qint64()>;

    SignOnThrottle(Settings settings, Clock clock);

    struct Ticket {
        qint64 waitMs = 0;
        qint64 id = 0;
    };
    // How long this attempt waits before it is checked. Its turn is taken now, so attempts
    // waiting together are checked one spacing apart, not all at once. An address has at most one
    // attempt waiting: another one that would have to wait is refused (waitMs -1), so that nobody
    // can hold turns on a name by holding connections open.
    Ticket admit(const QString& address, const QString& accountKey);
    // The attempt left before its turn: the turn is free again.
    void giveBack(const QString& address, const QString& accountKey, qint64 ticketId);
    void failed(const QString& address, const QString& accountKey);
    void succeeded(const QString& address, const QString& accountKey);

private:
    struct Booking {
        qint64 id;
        qint64 turn;
        qint64 next; // the earliest turn of the attempt after it
    };
    struct Record {
        int failures = 0;
        qint64 lastFailure = 0;
        // The earliest next turn as left by attempts whose turn has come.
        qint64 settledNext = 0;
        // Attempts still waiting, in turn order.
        QList<Booking> waiting;

        qint64 nextTurn() const {
            return waiting.isEmpty() ? settledNext : std::max(settledNext, waiting.last().next);
        }
        void settle(qint64 now);
    };

    qint64 spacingAfter(int failures) const;
    // The record of key, emptied first when its failures are old enough to forget.
    Record& recordOf(QHash<QString, Record>& records, const QString& key, qint64 now) const;
    void forgetQuiet(qint64 now);
    bool isTrusted(const QString& address, const QString& accountKey) const;

    Settings m_settings;
    Clock m_clock;
    QHash<QString, Record> m_byAddress;
    QHash<QString, Record> m_byAccount;
    // Addresses each account has signed on from during this run.
    QHash<QString, QSet<QString>> m_trusted;
    int m_admitted = 0;
    qint64 m_lastTicket = 0;
};
