#pragma once

#include <QByteArray>
#include <QString>

#include <vector>

// The lines of the chat display, kept compactly: the text of all lines back to back in one UTF-8
// buffer (chat text is Windows-1252, so mostly one byte a character) and twelve bytes a line for where
// it ends and its colour. Nothing is laid out here; the display lays out the few lines it shows.
//
// Emoticon codes stay in the text. A pass marks the lines added since the previous pass as converted,
// and the display draws the codes of converted lines as pictures; copying gives the codes back.
class ChatLines {
public:
    qsizetype count() const { return qsizetype(m_lines.size()); }
    bool isEmpty() const { return m_lines.empty(); }
    void append(QStringView text, quint32 rgb);
    void clear();
    // Drops the first lines (the greeting once a sign-on has succeeded).
    void removeFirst(qsizetype lines);

    QString text(qsizetype line) const;
    // 0xRRGGBB
    quint32 colour(qsizetype line) const { return m_lines[std::size_t(line)].colour & 0xFFFFFF; }
    // Whether the line's emoticon codes are shown as pictures.
    bool isConverted(qsizetype line) const { return m_lines[std::size_t(line)].colour & Converted; }
    // Characters (UTF-16) of the line's text.
    qsizetype length(qsizetype line) const;

    // Marks every line added since the last pass as converted. Lines of a read whose handling ended
    // early, and so skipped its pass, are converted by the next pass with the ones after them.
    void convertNewLines();
    // Every line written in the colour from is written in to.
    void recolour(quint32 fromRgb, quint32 toRgb);

    // The display as one text: each line begins with a line break, and each converted emoticon is one
    // object replacement character, as a rich-text box shows a picture.
    QString shownText() const;
    // The same with the codes themselves: what copying and assistive technology get. Offsets into it
    // are the offsets of textStart() and lineAt().
    QString plainText(qsizetype fromLine = 0, qsizetype toLine = -1) const;
    // plainText() from one offset to another, without making the whole of it.
    QString textBetween(qsizetype from, qsizetype to) const;
    // Where line N's text starts in plainText(): after its line break.
    qsizetype textStart(qsizetype line) const;
    // The line that holds an offset of plainText() (its line break belongs to it).
    qsizetype lineAt(qsizetype offset) const;
    qsizetype characterCount() const { return isEmpty() ? 0 : textStart(count() - 1) + length(count() - 1); }

private:
    static constexpr quint32 Converted = 0x1000000;
    struct Line {
        quint32 byteEnd; // where the line's UTF-8 ends in m_text
        quint32 charEnd; // UTF-16 characters of all lines up to and including this one
        quint32 colour;  // 0xRRGGBB, and the converted mark
    };
    qsizetype byteStart(qsizetype line) const {
        return line == 0 ? 0 : m_lines[std::size_t(line - 1)].byteEnd;
    }
    qsizetype charStart(qsizetype line) const {
        return line == 0 ? 0 : m_lines[std::size_t(line - 1)].charEnd;
    }

    QByteArray m_text;
    std::vector<Line> m_lines;
    qsizetype m_convertedLines = 0;
};
