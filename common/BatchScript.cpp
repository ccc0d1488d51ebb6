#include "common/BatchScript.h"

#include "common/TextFile.h"

#include <QDir>
#include <QProcess>

namespace BatchScript {

std::optional<Command> firstCommand(const QString& text, const QString& startFolder) {
    QString folder = startFolder;
    for (const QString& raw : TextFile::splitLines(text)) {
        const QString line = raw.trimmed();
        const QString lower = line.toLower();
        if (line.isEmpty() || lower.startsWith(u'@') || lower.startsWith(QStringLiteral("echo ")) ||
            lower == QStringLiteral("cls") || lower.startsWith(QStringLiteral("rem ")))
            continue;
        if (lower == QStringLiteral("cd\\") || lower == QStringLiteral("cd \\")) {
            folder = QDir::rootPath();
            continue;
        }
        if (lower.startsWith(QStringLiteral("cd "))) {
            folder = QDir(folder).filePath(line.mid(3).trimmed());
            continue;
        }
        QStringList words = QProcess::splitCommand(line);
        if (words.isEmpty())
            continue;
        const QString program = QDir(folder).filePath(words.takeFirst());
        return Command{folder, program, words};
    }
    return std::nullopt;
}

} // namespace BatchScript
