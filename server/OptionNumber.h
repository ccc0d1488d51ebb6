#pragma once

#include <QCommandLineParser>
#include <QString>

// A number given on the command line, within its bounds; an option left out keeps *value. False,
// with the reason in *error, for anything else.
inline bool readOptionNumber(const QCommandLineParser& parser, const QString& name, qint64 minimum, qint64 maximum,
                             qint64* value, QString* error) {
    if (!parser.isSet(name))
        return true;
    bool ok = false;
    const qint64 read = parser.value(name).toLongLong(&ok);
    if (!ok || read < minimum || read > maximum) {
        *error = QStringLiteral("--%1 must be a number from %2 to %3").arg(name).arg(minimum).arg(maximum);
        return false;
    }
    *value = read;
    return true;
}
