#include "common/ProgramFolder.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

namespace {

// The files the program ships and then treats as the user's own (they may replace the sounds).
void copyMissingShippedFiles(const QString& from, const QString& to) {
    const QDir source(from);
    const QDir target(to);
    for (const QString& name :
         source.entryList({QStringLiteral("*.wav"), QStringLiteral("*.qvl")}, QDir::Files | QDir::Readable)) {
        if (!target.exists(name))
            QFile::copy(source.filePath(name), target.filePath(name));
    }
}

} // namespace

QString ProgramFolder::installedDataFolder(const QString& executableFolder) {
    const QDir bin(executableFolder);
    if (bin.dirName() != u"bin")
        return {};
    const QString data = QDir::cleanPath(bin.filePath(QStringLiteral("../share/quorvel")));
    return QFileInfo(data).isDir() ? data : QString();
}

ProgramFolder ProgramFolder::forExecutable(const QString& executableFolder) {
    const QString installed = installedDataFolder(executableFolder);
    if (installed.isEmpty() && QFileInfo(executableFolder).isWritable())
        return ProgramFolder(executableFolder);
    const QString data = QStandardPaths::writableLocation(QStandardPaths::AppLocalDataLocation);
    QDir().mkpath(data);
    copyMissingShippedFiles(installed.isEmpty() ? executableFolder : installed, data);
    return ProgramFolder(data);
}

QString ProgramFolder::file(const QString& backslashName) const {
    QString name = backslashName;
    name.replace(u'\\', u'/');
    while (name.startsWith(u'/'))
        name.remove(0, 1);
    return QDir(m_path).filePath(name);
}
