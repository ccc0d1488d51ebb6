#include "common/Clock.h"

#include <QRegularExpression>

namespace RegionalFormat {

QString timeFormat(const QString& localeShortTimeFormat) {
    QString f = localeShortTimeFormat;
    // No zone names, ever: the time is sent to the chat server and read by people elsewhere.
    f.remove(QRegularExpression(QStringLiteral("\\s*t+")));
    if (!f.contains(u's')) {
        const qsizetype minutes = f.lastIndexOf(QStringLiteral("mm"));
        if (minutes >= 0)
            f.insert(minutes + 2, QStringLiteral(":ss"));
        else
            f += QStringLiteral(":ss");
    }
    return f.trimmed();
}

QString dateFormat(const QString& localeShortDateFormat) {
    QString f = localeShortDateFormat;
    static const QRegularExpression years(QStringLiteral("y+"));
    f.replace(years, QStringLiteral("yyyy"));
    if (!f.contains(u'y'))
        f += QStringLiteral("/yyyy");
    return f;
}

} // namespace RegionalFormat
