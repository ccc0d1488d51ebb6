#include "server/SignOnPace.h"

#include <algorithm>

namespace {
constexpr qint64 MinuteMs = 60 * 1000;
}

SignOnPace::SignOnPace(Settings settings, Clock clock)
    : m_settings(settings)
    , m_clock(std::move(clock)) {}

qint64 SignOnPace::waitBefore(const QString& address, const QString& accountKey, bool* byAddress) {
    const qint64 now = m_clock();
    qint64 accountWait = 0;
    if (m_settings.accountSpacingMs > 0) {
        if (const auto last = m_lastByAccount.constFind(accountKey); last != m_lastByAccount.cend())
            accountWait = std::max<qint64>(0, *last + m_settings.accountSpacingMs - now);
    }
    qint64 addressWait = 0;
    const QList<qint64> recent = m_recentByAddress.value(address);
    if (m_settings.perAddressPerMinute > 0 && recent.size() >= m_settings.perAddressPerMinute) {
        // The oldest of the last perAddressPerMinute sign-ons must be a minute old.
        addressWait =
            std::max<qint64>(0, recent.at(recent.size() - m_settings.perAddressPerMinute) + MinuteMs - now);
    }
    *byAddress = addressWait > accountWait;
    return std::max(accountWait, addressWait);
}

void SignOnPace::signedOn(const QString& address, const QString& accountKey) {
    const qint64 now = m_clock();
    if (++m_signOns % 256 == 0)
        forgetOld(now);
    m_lastByAccount.insert(accountKey, now);
    QList<qint64>& recent = m_recentByAddress[address];
    recent.append(now);
    while (recent.size() > std::max(m_settings.perAddressPerMinute, 1))
        recent.removeFirst();
}

void SignOnPace::forgetOld(qint64 now) {
    m_lastByAccount.removeIf([&](const auto it) { return now - it.value() >= m_settings.accountSpacingMs; });
    m_recentByAddress.removeIf([&](const auto it) { return now - it.value().last() >= MinuteMs; });
}
