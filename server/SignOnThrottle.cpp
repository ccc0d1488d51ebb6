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

SignOnThrottle::Record& SignOnThrottle::recordOf(QHash<QString, Record>& records, const QString& key,
                                                 qint64 now) const {
    Record& record = records[key];
    if (record.nextTurn <= now && now - record.lastFailure >= m_settings.forgetAfterMs)
        record = Record{};
    return record;
}

bool SignOnThrottle::isTrusted(const QString& address, const QString& accountKey) const {
    return m_trusted.value(accountKey).contains(address);
}

qint64 SignOnThrottle::admit(const QString& address, const QString& accountKey) {
    const qint64 now = m_clock();
    if (++m_admitted % 256 == 0)
        forgetQuiet(now);
    Record& byAddress = recordOf(m_byAddress, address, now);
    Record* byAccount = isTrusted(address, accountKey) ? nullptr : &recordOf(m_byAccount, accountKey, now);
    qint64 turn = std::max(now, byAddress.nextTurn);
    if (byAccount)
        turn = std::max(turn, byAccount->nextTurn);
    byAddress.nextTurn = std::max(byAddress.nextTurn, turn + spacingAfter(byAddress.failures));
    if (byAccount)
        byAccount->nextTurn = std::max(byAccount->nextTurn, turn + spacingAfter(byAccount->failures));
    return turn - now;
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
            return it->nextTurn <= now && now - it->lastFailure >= m_settings.forgetAfterMs;
        });
    }
}
