#include "common/ProgramFolder.h"

#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

ProgramFolder ProgramFolder::forExecutable(const QString& executableFolder) {
    if (QFileInfo(executableFolder).isWritable())
        return ProgramFolder(executableFolder);
    const QString data = QStandardPaths::writableLocation(QStandardPaths::AppLocalDataLocation);
    QDir().mkpath(data);
    return ProgramFolder(data);
}

QString ProgramFolder::file(const QString& backslashName) const {
    QString name = backslashName;
    name.replace(u'\\', u'/');
    while (name.startsWith(u'/'))
        name.remove(0, 1);
    return QDir(m_path).filePath(name);
}
