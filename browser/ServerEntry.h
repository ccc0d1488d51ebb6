#pragma once

#include <QString>
#include <QStringList>

// One line of a server list: description, address and port joined by " - ". Nothing is quoted,
// so a description that holds " - " itself splits into more fields, and the first three are used.
namespace ServerEntry {

inline const QString Separator = QStringLiteral(" - ");

inline QString build(const QString& description, const QString& address, const QString& port) {
    return description + Separator + address + Separator + port;
}

inline QStringList fields(const QString& entry) {
    return entry.split(Separator);
}

} // namespace ServerEntry
