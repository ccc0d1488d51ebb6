#include "app/SingleInstance.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

SingleInstance::SingleInstance(const QString& programFolder) {
    const QByteArray key = QCryptographicHash::hash(QFileInfo(programFolder).absoluteFilePath().toUtf8(),
                                                    QCryptographicHash::Sha1)
                               .toHex()
                               .left(16);
    // The user's own runtime folder: in the shared temporary folder, a lock that another account's
    // crashed copy left behind could not be taken over, and this program would never start again.
    QString folder = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
    if (folder.isEmpty())
        folder = QDir::tempPath();
    m_lock = std::make_unique<QLockFile>(
        QDir(folder).filePath(QStringLiteral("quorvel-%1.lock").arg(QLatin1String(key))));
    m_lock->setStaleLockTime(0);
}

bool SingleInstance::acquire() { return m_lock->tryLock(0); }
