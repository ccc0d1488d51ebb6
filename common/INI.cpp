#include "common/INI.h"

#include "common/Windows1252.h"

#include <QFile>
#include <QList>
#include <QSaveFile>

#include <optional>

namespace {

struct Line {
    QByteArray text;
    QByteArray end; // "\r\n", "\n", "\r" or nothing on the last line
};

QList<Line> splitLines(const QByteArray& bytes) {
    QList<Line> lines;
    qsizetype start = 0;
    for (qsizetype i = 0; i < bytes.size(); ++i) {
        const char c = bytes.at(i);
        if (c != '\r' && c != '\n')
            continue;
        const qsizetype endLength = c == '\r' && i + 1 < bytes.size() && bytes.at(i + 1) == '\n' ? 2 : 1;
        lines.append({bytes.mid(start, i - start), bytes.mid(i, endLength)});
        i += endLength - 1;
        start = i + 1;
    }
    if (start < bytes.size())
        lines.append({bytes.mid(start), {}});
    return lines;
}

QList<Line> readFile(const QString& file) {
    QFile f(file);
    if (!f.open(QIODevice::ReadOnly))
        return {};
    return splitLines(f.readAll());
}

// "[name]" gives name; any other line gives nothing.
std::optional<QString> sectionName(const QByteArray& line) {
    const QByteArray t = line.trimmed();
    if (!t.startsWith('[') || !t.contains(']'))
        return std::nullopt;
    return Windows1252::decode(t.mid(1, t.indexOf(']') - 1)).trimmed();
}

bool isKey(const QByteArray& line, const QString& key) {
    const qsizetype eq = line.indexOf('=');
    return eq >= 0 && Windows1252::decode(line.left(eq)).trimmed().compare(key, Qt::CaseInsensitive) == 0;
}

QString valueOf(const QByteArray& line) {
    QString value = Windows1252::decode(line.mid(line.indexOf('=') + 1)).trimmed();
    // A value wrapped in matching quotes is read without them.
    if (value.size() >= 2 && (value.front() == u'"' || value.front() == u'\'') &&
        value.back() == value.front())
        value = value.mid(1, value.size() - 2);
    return value;
}

bool sameSection(const QByteArray& line, const QString& section) {
    const auto name = sectionName(line);
    return name && name->compare(section, Qt::CaseInsensitive) == 0;
}

} // namespace

namespace INI {

QString readString(const QString& file, const QString& section, const QString& key, const QString& fallback,
                   int bufferSize) {
    QString found = fallback.trimmed();
    bool inSection = false;
    for (const Line& line : readFile(file)) {
        if (sectionName(line.text)) {
            inSection = sameSection(line.text, section);
        } else if (inSection && isKey(line.text, key)) {
            found = valueOf(line.text);
            break;
        }
    }
    return found.left(qMax(0, bufferSize - 1));
}

bool writeString(const QString& file, const QString& section, const QString& key, const QString& value) {
    QList<Line> lines = readFile(file);
    const Line entry{Windows1252::encode(key + u'=' + value), "\r\n"};
    qsizetype sectionAt = -1;
    qsizetype insertAt = -1; // after the section's last non-blank line
    for (qsizetype i = 0; i < lines.size(); ++i) {
        const QByteArray& text = lines.at(i).text;
        if (sectionName(text)) {
            if (sectionAt >= 0)
                break;
            if (sameSection(text, section))
                sectionAt = insertAt = i;
            continue;
        }
        if (sectionAt < 0)
            continue;
        if (isKey(text, key)) {
            lines[i].text = entry.text;
            insertAt = -1;
            break;
        }
        if (!text.trimmed().isEmpty())
            insertAt = i;
    }
    // The line before a new one must end, or the two would run together.
    auto endLineBefore = [&lines](qsizetype at) {
        if (at > 0 && lines.at(at - 1).end.isEmpty())
            lines[at - 1].end = "\r\n";
    };
    if (sectionAt < 0) {
        endLineBefore(lines.size());
        lines.append({Windows1252::encode(u'[' + section + u']'), "\r\n"});
        lines.append(entry);
    } else if (insertAt >= 0) {
        lines.insert(insertAt + 1, entry);
        endLineBefore(insertAt + 1);
    }

    QSaveFile out(file);
    if (!out.open(QIODevice::WriteOnly))
        return false;
    for (const Line& line : lines) {
        out.write(line.text);
        out.write(line.end);
    }
    return out.commit();
}

} // namespace INI
