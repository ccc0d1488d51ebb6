#pragma once

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QFileInfo>

// Whole files for tests: a missing file reads as "<missing>"; writing makes the folders it needs.
inline QByteArray readBytes(const QString& path) {
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray("<missing>");
}

inline bool writeBytes(const QString& path, const QByteArray& bytes, bool executable = false) {
    QDir().mkpath(QFileInfo(path).path());
    QFile f(path);
    return f.open(QIODevice::WriteOnly) && f.write(bytes) == bytes.size() &&
           (!executable || f.setPermissions(f.permissions() | QFile::ExeOwner));
}
