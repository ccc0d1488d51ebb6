#include "app/SingleInstance.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFileInfo>

SingleInstance::SingleInstance(const QString& programFolder) {
    const QByteArray key = QCryptographicHash::hash(QFileInfo(programFolder).absoluteFilePath().toUtf8(),
                                                    QCryptographicHash::Sha1)
                               .toHex()
                               .left(16);
    m_lock = std::make_unique<QLockFile>(QDir::temp().filePath(QStringLiteral("quorvel-%1.lock").arg(QLatin1String(key))));
    m_lock->setStaleLockTime(0);
}

bool SingleInstance::acquire() { return m_lock->tryLock(0); }
