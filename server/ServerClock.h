#pragma once

#include <QDateTime>

#include <functional>

// "Now" as the server sees it. Ban expiry, last-seen times and flood windows all read it,
// so tests can move time forward without waiting.
using NowFunction = std::function<QDateTime()>;

inline NowFunction systemNow() {
    return [] { return QDateTime::currentDateTimeUtc(); };
}
