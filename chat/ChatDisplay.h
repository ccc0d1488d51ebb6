#pragma once

#include "chat/ChatLines.h"

#include <QAbstractScrollArea>
#include <QImage>

#include <array>
#include <memory>

class QTextLayout;

// The chat room's display. Its lines live in a compact ChatLines; only the lines in view are laid
// out, each time they are drawn or pointed at, and no layout is kept for the others. A rich-text box
// kept a layout, a block and formats for every line ever shown, some 750 bytes a line; this keeps
// about 80.
//
// The scroll bar counts lines: its value is the line at the top of the view, so lines arriving below
// leave a reader who has scrolled back exactly where they were. Emoticon codes of converted lines are
// drawn as pictures; selecting and copying give the text with the codes. Offsets of the selection
// and of assistive technology are those of ChatLines::plainText().
class ChatDisplay : public QAbstractScrollArea {
    Q_OBJECT
public:
    explicit ChatDisplay(QWidget* parent = nullptr);
    ~ChatDisplay() override;

    void appendLine(const QString& text, const QColor& colour);
    void clear();
    void removeFirstLines(qsizetype lines);
    // The emoticon pass: the codes of the lines added since the last pass become pictures.
    void replaceNewCodes();
    // Lines written in one colour are written in another.
    void recolour(const QColor& from, const QColor& to);
    // Shows the last line at the bottom of the view.
    void scrollToNewest();
    void scrollToLine(qsizetype line);

    const ChatLines& lines() const { return m_lines; }
    qsizetype lineCount() const { return m_lines.count(); }
    QColor lineColour(qsizetype line) const;
    // The display's text as a rich-text box gives it: each line after a line break, each picture
    // one object replacement character.
    QString toPlainText() const { return m_lines.shownText(); }

    bool hasSelection() const { return m_anchor != m_position; }
    qsizetype selectionStart() const { return std::min(m_anchor, m_position); }
    qsizetype selectionEnd() const { return std::max(m_anchor, m_position); }
    void setSelection(qsizetype anchor, qsizetype position);
    QString selectedText() const;
    void selectAll();
    void copy() const;

    // Where a character of plainText() is drawn, in the display's coordinates; empty when out of view.
    QRect characterRect(qsizetype offset) const;
    // The offset of plainText() at a point of the display's viewport.
    qsizetype offsetAt(const QPoint& point) const;

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;
    void scrollContentsBy(int dx, int dy) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

private:
    struct Laid;
    Laid layOut(qsizetype line) const;
    // The lines in view from the top, each with where it starts, until the view or the lines end.
    template <typename Visit> void forEachShownLine(Visit visit) const;
    void rangeLater();
    void updateRange();
    const QImage& picture(int number) const;
    void selectionChanged();

    ChatLines m_lines;
    qsizetype m_anchor = 0;
    qsizetype m_position = 0;
    bool m_selecting = false;
    bool m_rangePending = false;
    mutable std::array<QImage, 10> m_pictures;
};
