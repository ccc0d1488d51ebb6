#include "common/FileNameCase.h"

#include <QDir>
#include <QFileInfo>

namespace FileNameCase {

QString existingPath(const QString& path) {
    if (path.isEmpty() || QFileInfo::exists(path))
        return path;
    const QStringList pieces = path.split(u'/');
    // An absolute path starts with an empty piece: the search starts at the root.
    QString found = pieces.first().isEmpty() ? QStringLiteral("/") : QString();
    for (qsizetype i = pieces.first().isEmpty() ? 1 : 0; i < pieces.size(); ++i) {
        const QString& piece = pieces.at(i);
        if (piece.isEmpty())
            continue;
        const QDir folder(found.isEmpty() ? QStringLiteral(".") : found);
        QString name = piece;
        if (!QFileInfo::exists(folder.filePath(piece))) {
            const QStringList entries =
                folder.entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
            const auto match = std::find_if(entries.begin(), entries.end(), [&piece](const QString& entry) {
                return entry.compare(piece, Qt::CaseInsensitive) == 0;
            });
            if (match == entries.end())
                return path;
            name = *match;
        }
        found = found.isEmpty() ? name : found.endsWith(u'/') ? found + name : found + u'/' + name;
    }
    return found;
}

} // namespace FileNameCase
