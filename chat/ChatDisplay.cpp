#include "chat/ChatDisplay.h"

#include "chat/ChatDisplayAccessible.h"
#include "chat/EmoticonCodes.h"

#include <QAccessible>
#include <QClipboard>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMenu>
#include <QPainter>
#include <QScrollBar>
#include <QTextBoundaryFinder>
#include <QTextLayout>

#include <algorithm>

// The pictures are compiled into the quorvel_ui static library; nothing else references that object
// file, so the linker would drop it unless it is initialised explicitly. Q_INIT_RESOURCE has to run
// from the global namespace.
static void initDisplayPictures() {
    Q_INIT_RESOURCE(emoticons);
}

namespace {
constexpr qreal kMargin = 4;
constexpr qreal kPictureSize = 19;
} // namespace

struct ChatDisplay::Laid {
    std::unique_ptr<QTextLayout> layout;
    qreal height = 0;
    QList<EmoticonHit> pictures;
};

ChatDisplay::ChatDisplay(QWidget* parent)
    : QAbstractScrollArea(parent) {
    static const bool resources = (initDisplayPictures(), ChatDisplayAccessible::install(), true);
    Q_UNUSED(resources);
    setFocusPolicy(Qt::StrongFocus);
    viewport()->setCursor(Qt::IBeamCursor);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    verticalScrollBar()->setSingleStep(1);
}

ChatDisplay::~ChatDisplay() = default;

void ChatDisplay::appendLine(const QString& text, const QColor& colour) {
    m_lines.append(text, colour.rgb());
    rangeLater();
    if (QAccessible::isActive()) {
        const qsizetype line = m_lines.count() - 1;
        QAccessibleTextInsertEvent inserted(this, int(m_lines.textStart(line) - 1), u'\n' + text);
        QAccessible::updateAccessibility(&inserted);
    }
}

void ChatDisplay::clear() {
    m_lines.clear();
    m_anchor = m_position = 0;
    updateRange();
    viewport()->update();
}

void ChatDisplay::removeFirstLines(qsizetype lines) {
    const int top = verticalScrollBar()->value();
    m_lines.removeFirst(lines);
    m_anchor = m_position = 0;
    updateRange();
    // What the reader was looking at stays in view.
    verticalScrollBar()->setValue(int(std::max<qsizetype>(0, top - lines)));
    viewport()->update();
}

void ChatDisplay::replaceNewCodes() {
    m_lines.convertNewLines();
    viewport()->update();
}

void ChatDisplay::recolour(const QColor& from, const QColor& to) {
    if (from == to)
        return;
    m_lines.recolour(from.rgb(), to.rgb());
    viewport()->update();
}

QColor ChatDisplay::lineColour(qsizetype line) const {
    return QColor(QRgb(m_lines.colour(line)));
}

void ChatDisplay::scrollToNewest() {
    updateRange();
    verticalScrollBar()->setValue(verticalScrollBar()->maximum());
}

void ChatDisplay::scrollToLine(qsizetype line) {
    verticalScrollBar()->setValue(int(std::min<qsizetype>(line, verticalScrollBar()->maximum())));
}

ChatDisplay::Laid ChatDisplay::layOut(qsizetype line) const {
    Laid laid;
    const QString text = m_lines.text(line);
    laid.layout = std::make_unique<QTextLayout>(text, font());
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    laid.layout->setTextOption(option);
    if (m_lines.isConverted(line))
        laid.pictures = findEmoticons(text);
    if (!laid.pictures.isEmpty()) {
        // A code keeps its two characters, unseen: the first spaced to the picture's width, the
        // second to none, so positions in the layout stay those of the text.
        const QFontMetricsF metrics(font());
        QList<QTextLayout::FormatRange> formats;
        for (const EmoticonHit& hit : laid.pictures) {
            for (int i = 0; i < EmoticonCodes::codeLength; ++i) {
                QTextLayout::FormatRange range;
                range.start = int(hit.position + i);
                range.length = 1;
                range.format.setForeground(Qt::transparent);
                range.format.setFontLetterSpacingType(QFont::AbsoluteSpacing);
                const qreal advance = metrics.horizontalAdvance(text.at(hit.position + i));
                range.format.setFontLetterSpacing(i == 0 ? kPictureSize - advance : -advance);
                formats.append(range);
            }
        }
        laid.layout->setFormats(formats);
    }
    const qreal width = std::max<qreal>(1, viewport()->width() - 2 * kMargin);
    laid.layout->beginLayout();
    for (QTextLine row = laid.layout->createLine(); row.isValid(); row = laid.layout->createLine()) {
        row.setLineWidth(width);
        // A row with a picture is as tall as the picture, the text in its middle.
        const qreal height = laid.pictures.isEmpty() ? row.height() : std::max(row.height(), kPictureSize);
        row.setPosition(QPointF(kMargin, laid.height + (height - row.height()) / 2));
        laid.height += height;
    }
    laid.layout->endLayout();
    return laid;
}

template <typename Visit> void ChatDisplay::forEachShownLine(Visit visit) const {
    qreal top = kMargin;
    const qreal bottom = viewport()->height();
    for (qsizetype line = verticalScrollBar()->value(); line < m_lines.count() && top < bottom; ++line) {
        const Laid laid = layOut(line);
        if (!visit(line, laid, top))
            return;
        top += laid.height;
    }
}

void ChatDisplay::rangeLater() {
    // Lines come in bursts (a read may hold hundreds): the range follows once the burst is in.
    if (std::exchange(m_rangePending, true))
        return;
    QMetaObject::invokeMethod(this, &ChatDisplay::updateRange, Qt::QueuedConnection);
}

void ChatDisplay::updateRange() {
    m_rangePending = false;
    // The last value shows the last line at the bottom: as many lines as fit there, counted upwards.
    const qreal available = viewport()->height() - kMargin;
    qsizetype fit = 0;
    qreal used = 0;
    for (qsizetype line = m_lines.count() - 1; line >= 0; --line) {
        used += layOut(line).height;
        if (used > available && fit > 0)
            break;
        ++fit;
    }
    QScrollBar* bar = verticalScrollBar();
    bar->setPageStep(int(std::max<qsizetype>(1, fit)));
    bar->setRange(0, int(m_lines.count() - fit));
}

const QImage& ChatDisplay::picture(int number) const {
    QImage& image = m_pictures[std::size_t(number - 1)];
    if (image.isNull())
        image.load(QStringLiteral(":/emoticons/%1.png").arg(number));
    return image;
}

void ChatDisplay::paintEvent(QPaintEvent*) {
    QPainter painter(viewport());
    const qsizetype from = selectionStart(), to = selectionEnd();
    forEachShownLine([&](qsizetype line, const Laid& laid, qreal top) {
        QList<QTextLayout::FormatRange> selection;
        const qsizetype start = m_lines.textStart(line);
        const qsizetype first = std::max(from, start), last = std::min(to, start + m_lines.length(line));
        if (first < last) {
            QTextLayout::FormatRange range;
            range.start = int(first - start);
            range.length = int(last - first);
            range.format.setBackground(palette().brush(QPalette::Highlight));
            range.format.setForeground(palette().brush(QPalette::HighlightedText));
            selection.append(range);
        }
        painter.setPen(lineColour(line));
        laid.layout->draw(&painter, QPointF(0, top), selection);
        for (const EmoticonHit& hit : laid.pictures) {
            const QTextLine row = laid.layout->lineForTextPosition(int(hit.position));
            const QPointF at(row.cursorToX(int(hit.position)),
                             top + row.y() + (row.height() - kPictureSize) / 2);
            painter.drawImage(QRectF(at, QSizeF(kPictureSize, kPictureSize)), picture(hit.picture));
        }
        return true;
    });
}

void ChatDisplay::resizeEvent(QResizeEvent* event) {
    QAbstractScrollArea::resizeEvent(event);
    const bool atEnd = verticalScrollBar()->value() >= verticalScrollBar()->maximum();
    updateRange();
    if (atEnd)
        verticalScrollBar()->setValue(verticalScrollBar()->maximum());
}

void ChatDisplay::changeEvent(QEvent* event) {
    QAbstractScrollArea::changeEvent(event);
    if (event->type() == QEvent::FontChange) {
        updateRange();
        viewport()->update();
    }
}

void ChatDisplay::scrollContentsBy(int, int) {
    viewport()->update();
}

qsizetype ChatDisplay::offsetAt(const QPoint& point) const {
    if (m_lines.isEmpty())
        return 0;
    if (point.y() < kMargin)
        return m_lines.textStart(verticalScrollBar()->value());
    qsizetype found = m_lines.characterCount();
    forEachShownLine([&](qsizetype line, const Laid& laid, qreal top) {
        if (point.y() >= top + laid.height)
            return true;
        const qsizetype start = m_lines.textStart(line);
        found = start + m_lines.length(line);
        for (int i = 0; i < laid.layout->lineCount(); ++i) {
            const QTextLine row = laid.layout->lineAt(i);
            if (point.y() < top + row.y() + row.height() || i == laid.layout->lineCount() - 1) {
                found = start + row.xToCursor(point.x());
                break;
            }
        }
        return false;
    });
    return found;
}

QRect ChatDisplay::characterRect(qsizetype offset) const {
    QRect rect;
    const qsizetype wanted = m_lines.isEmpty() ? -1 : m_lines.lineAt(offset);
    forEachShownLine([&](qsizetype line, const Laid& laid, qreal top) {
        if (line != wanted)
            return true;
        const int at = int(std::max<qsizetype>(0, offset - m_lines.textStart(line)));
        const QTextLine row = laid.layout->lineForTextPosition(at);
        if (row.isValid()) {
            const qreal x = row.cursorToX(at);
            const qreal next = row.cursorToX(at + 1);
            rect = QRectF(x, top + row.y(), std::max<qreal>(1, next - x), row.height()).toAlignedRect();
        }
        return false;
    });
    return rect;
}

void ChatDisplay::setSelection(qsizetype anchor, qsizetype position) {
    const qsizetype end = m_lines.characterCount();
    m_anchor = std::clamp<qsizetype>(anchor, 0, end);
    m_position = std::clamp<qsizetype>(position, 0, end);
    selectionChanged();
}

void ChatDisplay::selectAll() {
    setSelection(0, m_lines.characterCount());
}

QString ChatDisplay::selectedText() const {
    return m_lines.textBetween(selectionStart(), selectionEnd());
}

void ChatDisplay::copy() const {
    if (hasSelection())
        QGuiApplication::clipboard()->setText(selectedText());
}

void ChatDisplay::selectionChanged() {
    viewport()->update();
    QClipboard* clipboard = QGuiApplication::clipboard();
    if (hasSelection() && clipboard->supportsSelection())
        clipboard->setText(selectedText(), QClipboard::Selection);
    if (QAccessible::isActive()) {
        QAccessibleTextSelectionEvent changed(this, int(selectionStart()), int(selectionEnd()));
        QAccessible::updateAccessibility(&changed);
    }
}

void ChatDisplay::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton)
        return QAbstractScrollArea::mousePressEvent(event);
    const qsizetype at = offsetAt(event->position().toPoint());
    m_selecting = true;
    setSelection(event->modifiers() & Qt::ShiftModifier ? m_anchor : at, at);
}

void ChatDisplay::mouseMoveEvent(QMouseEvent* event) {
    if (!m_selecting)
        return QAbstractScrollArea::mouseMoveEvent(event);
    // Dragged past the top or the bottom, the view follows a line at a time.
    const QPoint at = event->position().toPoint();
    QScrollBar* bar = verticalScrollBar();
    if (at.y() < 0)
        bar->setValue(bar->value() - 1);
    else if (at.y() > viewport()->height())
        bar->setValue(bar->value() + 1);
    m_position = offsetAt(at);
    viewport()->update();
}

void ChatDisplay::mouseReleaseEvent(QMouseEvent* event) {
    if (!m_selecting)
        return QAbstractScrollArea::mouseReleaseEvent(event);
    m_selecting = false;
    selectionChanged();
}

void ChatDisplay::mouseDoubleClickEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton || m_lines.isEmpty())
        return QAbstractScrollArea::mouseDoubleClickEvent(event);
    // The word under the pointer.
    const qsizetype at = offsetAt(event->position().toPoint());
    const qsizetype line = m_lines.lineAt(at);
    const qsizetype start = m_lines.textStart(line);
    const QString text = m_lines.text(line);
    QTextBoundaryFinder words(QTextBoundaryFinder::Word, text);
    words.setPosition(int(std::clamp<qsizetype>(at - start, 0, text.size())));
    const qsizetype from = words.isAtBoundary() && words.boundaryReasons() & QTextBoundaryFinder::StartOfItem
                               ? words.position()
                               : words.toPreviousBoundary();
    words.setPosition(int(std::max<qsizetype>(0, from)));
    const qsizetype to = words.toNextBoundary();
    setSelection(start + std::max<qsizetype>(0, from), start + (to < 0 ? text.size() : to));
}

void ChatDisplay::keyPressEvent(QKeyEvent* event) {
    if (event == QKeySequence::Copy) {
        copy();
        return;
    }
    if (event == QKeySequence::SelectAll) {
        selectAll();
        return;
    }
    QAbstractScrollArea::keyPressEvent(event);
}

void ChatDisplay::contextMenuEvent(QContextMenuEvent* event) {
    auto* menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    QAction* copyAction = menu->addAction(tr("&Copy"), this, [this] { copy(); });
    copyAction->setShortcut(QKeySequence::Copy);
    copyAction->setEnabled(hasSelection());
    menu->addAction(tr("Select All"), this, [this] { selectAll(); })->setShortcut(QKeySequence::SelectAll);
    menu->popup(event->globalPos());
}
