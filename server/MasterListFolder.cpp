#include "server/MasterListFolder.h"

#include <QDir>
#include <QFile>

namespace MasterListFolder {

QStringList listNames() {
    return {QStringLiteral("qvllist-kingpin.qvl"),       QStringLiteral("qvllist-teamfortress.qvl"),
            QStringLiteral("qvllist-counterstrike.qvl"), QStringLiteral("qvllist-dod.qvl"),
            QStringLiteral("qvllist-half-life.qvl"),     QStringLiteral("qvllist-rtcw.qvl")};
}

bool fillMissing(const QString& folder, QString* error) {
    if (!QDir().mkpath(folder)) {
        if (error)
            *error = QStringLiteral("cannot create %1").arg(folder);
        return false;
    }
    const QDir dir(folder);
    for (const QString& name : listNames()) {
        const QString target = dir.filePath(name);
        if (QFile::exists(target))
            continue;
        QFile sample(QStringLiteral(":/masterlists/") + name);
        QFile out(target);
        if (!sample.open(QIODevice::ReadOnly) || !out.open(QIODevice::WriteOnly) ||
            out.write(sample.readAll()) < 0) {
            if (error)
                *error = QStringLiteral("cannot write %1").arg(target);
            return false;
        }
    }
    return true;
}

} // namespace MasterListFolder
