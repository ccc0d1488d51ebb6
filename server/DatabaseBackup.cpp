#include "server/DatabaseBackup.h"

#include <QFile>
#include <QFileInfo>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QTextStream>

#include <filesystem>

#ifdef Q_OS_UNIX
#include <unistd.h>
#endif

namespace {

// VACUUM INTO writes the database as one read transaction sees it: a snapshot, however the
// server writes meanwhile (in WAL mode its writes go on and are simply not in the copy). It
// needs nothing beyond the Qt driver, which SQLite's backup API would (the library itself).
bool copySnapshot(const AccountStore::Config& database, const QString& target, QString* error) {
    const QString connection = QStringLiteral("backup");
    bool copied = false;
    {
        QSqlDatabase db = QSqlDatabase::addDatabase(database.driver, connection);
        db.setDatabaseName(database.databaseName);
        // The snapshot starts once the server's writer lets go of a lock it holds for a moment.
        db.setConnectOptions(QStringLiteral("QSQLITE_BUSY_TIMEOUT=10000"));
        if (!db.open()) {
            *error = db.lastError().text();
        } else {
            QSqlQuery vacuum(db);
            vacuum.prepare(QStringLiteral("VACUUM INTO ?"));
            vacuum.addBindValue(target);
            copied = vacuum.exec();
            if (!copied)
                *error = vacuum.lastError().text();
        }
    }
    QSqlDatabase::removeDatabase(connection);
    return copied;
}

// On disk before it takes the backup's name, so that a crash leaves the old backup or the new one.
bool flushToDisk(const QString& path) {
#ifdef Q_OS_UNIX
    QFile file(path);
    return file.open(QIODevice::ReadOnly) && ::fsync(file.handle()) == 0;
#else
    Q_UNUSED(path);
    return true;
#endif
}

} // namespace

int runBackupCommand(const AccountStore::Config& database, const QStringList& command, QTextStream& out,
                     QTextStream& err) {
    if (command.size() != 2) {
        err << "quorvel-server: usage: backup FILE\n";
        return 2;
    }
    if (database.driver != QLatin1String("QSQLITE")) {
        err << "quorvel-server: backup copies SQLite databases; back up " << database.driver
            << " with its own tools (pg_dump for PostgreSQL)\n";
        return 2;
    }
    // Opening a missing database would create an empty one, and a backup of nothing.
    if (!QFileInfo(database.databaseName).isFile()) {
        err << "quorvel-server: there is no database " << database.databaseName << '\n';
        return 1;
    }
    const QString target = QFileInfo(command.at(1)).absoluteFilePath();
    // The copy is renamed into place: over the database itself it would pull it from under the server.
    if (QFileInfo(target).canonicalFilePath() == QFileInfo(database.databaseName).canonicalFilePath()) {
        err << "quorvel-server: " << target << " is the database itself; name another file\n";
        return 2;
    }
    const QString part = target + QStringLiteral(".part");
    QFile::remove(part);
    QString error;
    if (!copySnapshot(database, part, &error) || !flushToDisk(part)) {
        QFile::remove(part);
        err << "quorvel-server: the backup failed: " << error << '\n';
        return 1;
    }
    std::error_code renamed;
    std::filesystem::rename(part.toStdU16String(), target.toStdU16String(), renamed);
    if (renamed) {
        QFile::remove(part);
        err << "quorvel-server: cannot write " << target << ": " << QString::fromStdString(renamed.message())
            << '\n';
        return 1;
    }
    out << "quorvel-server: " << database.databaseName << " copied to " << target << '\n';
    return 0;
}
