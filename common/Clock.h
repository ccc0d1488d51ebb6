#pragma once

#include <QDateTime>
#include <QString>

// Current date and time, and how the user's regional settings write them.
class Clock {
public:
    virtual ~Clock() = default;
    virtual QDateTime now() const = 0;
    // A time always with seconds and never with a zone name, as in 14:05:09.
    virtual QString timeText() const = 0;
    // A date with a four-digit year, as in 16/11/2003.
    virtual QString dateText() const = 0;
};

// Short formats of a locale, adjusted as above; shared by the system clock and its tests.
namespace RegionalFormat {
QString timeFormat(const QString& localeShortTimeFormat);
QString dateFormat(const QString& localeShortDateFormat);
} // namespace RegionalFormat
