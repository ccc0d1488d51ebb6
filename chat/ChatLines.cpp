#include "chat/ChatLines.h"

#include "chat/EmoticonCodes.h"

#include <algorithm>
#include <limits>

void ChatLines::append(QStringView text, quint32 rgb) {
    const QByteArray utf8 = text.toUtf8();
    // Offsets are 32 bits: a display of 4 GB of text takes no more lines rather than wrapping round.
    constexpr qsizetype limit = std::numeric_limits<quint32>::max();
    if (m_text.size() + utf8.size() > limit || charStart(count()) + text.size() > limit)
        return;
    m_text.append(utf8);
    m_lines.push_back({quint32(m_text.size()), quint32(charStart(count()) + text.size()), rgb & 0xFFFFFF});
}

void ChatLines::clear() {
    // Given back rather than kept: a cleared display may stay small for the rest of the session.
    m_text = QByteArray();
    std::vector<Line>().swap(m_lines);
    m_convertedLines = 0;
}

void ChatLines::removeFirst(qsizetype lines) {
    lines = std::min(lines, count());
    if (lines <= 0)
        return;
    const quint32 bytes = quint32(byteStart(lines));
    const quint32 chars = quint32(charStart(lines));
    m_text.remove(0, bytes);
    m_lines.erase(m_lines.begin(), m_lines.begin() + lines);
    for (Line& line : m_lines) {
        line.byteEnd -= bytes;
        line.charEnd -= chars;
    }
    m_convertedLines = std::max<qsizetype>(0, m_convertedLines - lines);
}

QString ChatLines::text(qsizetype line) const {
    const qsizetype from = byteStart(line);
    return QString::fromUtf8(m_text.constData() + from, m_lines[std::size_t(line)].byteEnd - from);
}

qsizetype ChatLines::length(qsizetype line) const {
    return m_lines[std::size_t(line)].charEnd - charStart(line);
}

void ChatLines::convertNewLines() {
    for (auto line = m_lines.begin() + m_convertedLines; line != m_lines.end(); ++line)
        line->colour |= Converted;
    m_convertedLines = count();
}

void ChatLines::recolour(quint32 fromRgb, quint32 toRgb) {
    fromRgb &= 0xFFFFFF;
    toRgb &= 0xFFFFFF;
    for (Line& line : m_lines) {
        if ((line.colour & 0xFFFFFF) == fromRgb)
            line.colour = (line.colour & Converted) | toRgb;
    }
}

QString ChatLines::shownText() const {
    QString shown;
    for (qsizetype line = 0; line < count(); ++line) {
        shown += u'\n';
        const QString text = this->text(line);
        if (!isConverted(line)) {
            shown += text;
            continue;
        }
        qsizetype from = 0;
        for (const EmoticonHit& hit : findEmoticons(text)) {
            shown += QStringView(text).sliced(from, hit.position - from);
            shown += QChar(QChar::ObjectReplacementCharacter);
            from = hit.position + EmoticonCodes::codeLength;
        }
        shown += QStringView(text).sliced(from);
    }
    return shown;
}

QString ChatLines::plainText(qsizetype fromLine, qsizetype toLine) const {
    if (toLine < 0 || toLine > count())
        toLine = count();
    QString plain;
    for (qsizetype line = fromLine; line < toLine; ++line) {
        plain += u'\n';
        plain += text(line);
    }
    return plain;
}

QString ChatLines::textBetween(qsizetype from, qsizetype to) const {
    if (isEmpty() || to <= from)
        return {};
    const qsizetype first = lineAt(from), last = lineAt(to);
    // plainText() of these lines starts with the line break before the first of them.
    const qsizetype base = textStart(first) - 1;
    return plainText(first, last + 1).mid(from - base, to - from);
}

qsizetype ChatLines::textStart(qsizetype line) const {
    return charStart(line) + line + 1;
}

qsizetype ChatLines::lineAt(qsizetype offset) const {
    // The first line whose text ends at or after the offset.
    qsizetype low = 0, high = count() - 1;
    while (low < high) {
        const qsizetype middle = (low + high) / 2;
        if (textStart(middle) + length(middle) < offset)
            low = middle + 1;
        else
            high = middle;
    }
    return std::max<qsizetype>(0, low);
}
