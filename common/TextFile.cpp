#include "common/TextFile.h"

#include "common/Windows1252.h"

#include <QFile>
#include <QSaveFile>

namespace TextFile {

QStringList splitLines(const QString& text) {
    QStringList lines;
    qsizetype start = 0;
    const qsizetype n = text.size();
    for (qsizetype i = 0; i < n; ++i) {
        const QChar c = text.at(i);
        if (c != u'\r' && c != u'\n')
            continue;
        lines.append(text.mid(start, i - start));
        if (c == u'\r' && i + 1 < n && text.at(i + 1) == u'\n')
            ++i;
        start = i + 1;
    }
    if (start < n)
        lines.append(text.mid(start));
    return lines;
}

QStringList readLines(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return splitLines(Windows1252::decode(file.readAll()));
}

bool writeLines(const QString& path, const QStringList& lines, QString* error) {
    QSaveFile file(path);
    if (file.open(QIODevice::WriteOnly)) {
        for (const QString& line : lines) {
            file.write(Windows1252::encode(line));
            file.write("\r\n", 2);
        }
        if (file.commit())
            return true;
    }
    if (error)
        *error = file.errorString();
    return false;
}

} // namespace TextFile
