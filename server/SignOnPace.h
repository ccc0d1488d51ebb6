#pragma once

#include <QHash>
#include <QList>
#include <QString>

#include <functional>

// How often one account, and one address, may sign on. Every sign-on and every departure costs
// each member a read of its own (see DeliveryQueue), so a member signing on and off in a loop
// would cost the whole room; the pace bounds that, and a member that must wait is told how long.
class SignOnPace {
public:
    struct Settings {
        int accountSpacingMs = 2000;  // between two sign-ons of one account; 0 = no limit
        int perAddressPerMinute = 12; // sign-ons from one address within a minute; 0 = no limit
    };
    // Milliseconds on a clock that never goes back.
    using Clock = std::function<qint64()>;

    SignOnPace(Settings settings, Clock clock);

    // 0 when this account may sign on from this address now, otherwise how many ms to wait.
    // byAddress tells which of the two limits is the reason.
    qint64 waitBefore(const QString& address, const QString& accountKey, bool* byAddress);
    void signedOn(const QString& address, const QString& accountKey);

private:
    void forgetOld(qint64 now);

    Settings m_settings;
    Clock m_clock;
    QHash<QString, qint64> m_lastByAccount;
    // Times of the sign-ons of the last minute, oldest first.
    QHash<QString, QList<qint64>> m_recentByAddress;
    int m_signOns = 0;
};
