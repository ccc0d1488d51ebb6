#include "server/SignOnThrottle.h"

#include <algorithm>

SignOnThrottle::SignOnThrottle(Settings settings, Clock clock)
    : m_settings(settings)
    , m_clock(std::move(clock)) {}

qint64 SignOnThrottle::spacingAfter(int failures) const {
    if (m_settings.firstDelayMs <= 0 || failures < m_settings.freeFailures)
        return 0;
    const int doublings = std::min(failures - m_settings.freeFailures, 30);
    return std::min<qint64>(qint64(m_settings.firstDelayMs) << doublings, m_settings.longestDelayMs);
}

void SignOnThrottle::Record::settle(qint64 now) {
    while (!waiting.isEmpty() && waiting.first().turn <= now)
        settledNext = std::max(settledNext, waiting.takeFirst().next);
}

SignOnThrottle::Record& SignOnThrottle::recordOf(QHash<QString, Record>& records, const QString& key,
                                                 qint64 now) const {
    Record& record = records[key];
    record.settle(now);
    if (record.waiting.isEmpty() && record.nextTurn() <= now &&
        now - record.lastFailure >= m_settings.forgetAfterMs)
        record = Record{};
    return record;
}

bool SignOnThrottle::isTrusted(const QString& address, const QString& accountKey) const {
    return m_trusted.value(accountKey).contains(address);
}

SignOnThrottle::Ticket SignOnThrottle::admit(const QString& address, const QString& accountKey) {
    const qint64 now = m_clock();
    if (++m_admitted % 256 == 0)
        forgetQuiet(now);
    Record& byAddress = recordOf(m_byAddress, address, now);
    Record* byAccount = isTrusted(address, accountKey) ? nullptr : &recordOf(m_byAccount, accountKey, now);
    qint64 turn = std::max(now, byAddress.nextTurn());
    if (byAccount)
        turn = std::max(turn, byAccount->nextTurn());
    if (turn > now && !byAddress.waiting.isEmpty())
        return {-1, 0};
    const Ticket ticket{turn - now, ++m_lastTicket};
    for (Record* record : {&byAddress, byAccount}) {
        if (record)
            record->waiting.append(
                {ticket.id, turn, std::max(record->nextTurn(), turn + spacingAfter(record->failures))});
    }
    return ticket;
}

void SignOnThrottle::giveBack(const QString& address, const QString& accountKey, qint64 ticketId) {
    for (QHash<QString, Record>* records : {&m_byAddress, &m_byAccount}) {
        const auto found = records->find(records == &m_byAddress ? address : accountKey);
        if (found != records->end())
            found->waiting.removeIf([ticketId](const Booking& booking) { return booking.id == ticketId; });
    }
}

void SignOnThrottle::failed(const QString& address, const QString& accountKey) {
    const qint64 now = m_clock();
    for (Record* record : {&recordOf(m_byAddress, address, now), &recordOf(m_byAccount, accountKey, now)}) {
        ++record->failures;
        record->lastFailure = now;
    }
}

void SignOnThrottle::succeeded(const QString& address, const QString& accountKey) {
    // The address keeps its failures: signing on to an account of one's own must not clear the
    // way for more guesses at others.
    m_byAccount.remove(accountKey);
    m_trusted[accountKey].insert(address);
}

void SignOnThrottle::forgetQuiet(qint64 now) {
    for (QHash<QString, Record>* records : {&m_byAddress, &m_byAccount}) {
        records->removeIf([&](const QHash<QString, Record>::iterator it) {
            it->settle(now);
            return it->waiting.isEmpty() && it->nextTurn() <= now &&
                   now - it->lastFailure >= m_settings.forgetAfterMs;
        });
    }
}
