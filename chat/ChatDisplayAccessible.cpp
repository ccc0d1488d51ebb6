#include "chat/ChatDisplayAccessible.h"

#include "chat/ChatDisplay.h"

#include <QWidget>

ChatDisplayAccessible::ChatDisplayAccessible(ChatDisplay* display)
    : QAccessibleWidget(display, QAccessible::EditableText) {}

void ChatDisplayAccessible::install() {
    QAccessible::installFactory([](const QString& className, QObject* object) -> QAccessibleInterface* {
        if (className == QLatin1String("ChatDisplay") && object && object->isWidgetType())
            return new ChatDisplayAccessible(static_cast<ChatDisplay*>(object));
        return nullptr;
    });
}

ChatDisplay* ChatDisplayAccessible::display() const {
    return static_cast<ChatDisplay*>(widget());
}

void* ChatDisplayAccessible::interface_cast(QAccessible::InterfaceType type) {
    if (type == QAccessible::TextInterface)
        return static_cast<QAccessibleTextInterface*>(this);
    return QAccessibleWidget::interface_cast(type);
}

QAccessible::State ChatDisplayAccessible::state() const {
    QAccessible::State s = QAccessibleWidget::state();
    s.readOnly = true;
    s.multiLine = true;
    s.selectableText = true;
    return s;
}

QString ChatDisplayAccessible::text(QAccessible::Text which) const {
    if (which == QAccessible::Value)
        return display()->lines().plainText();
    return QAccessibleWidget::text(which);
}

void ChatDisplayAccessible::selection(int selectionIndex, int* startOffset, int* endOffset) const {
    const bool has = selectionIndex == 0 && display()->hasSelection();
    *startOffset = has ? int(display()->selectionStart()) : 0;
    *endOffset = has ? int(display()->selectionEnd()) : 0;
}

int ChatDisplayAccessible::selectionCount() const {
    return display()->hasSelection() ? 1 : 0;
}

void ChatDisplayAccessible::addSelection(int startOffset, int endOffset) {
    display()->setSelection(startOffset, endOffset);
}

void ChatDisplayAccessible::removeSelection(int selectionIndex) {
    if (selectionIndex == 0)
        display()->setSelection(display()->selectionEnd(), display()->selectionEnd());
}

void ChatDisplayAccessible::setSelection(int selectionIndex, int startOffset, int endOffset) {
    if (selectionIndex == 0)
        display()->setSelection(startOffset, endOffset);
}

int ChatDisplayAccessible::cursorPosition() const {
    return int(display()->selectionEnd());
}

void ChatDisplayAccessible::setCursorPosition(int position) {
    display()->setSelection(position, position);
    display()->scrollToLine(display()->lines().lineAt(position));
}

QString ChatDisplayAccessible::text(int startOffset, int endOffset) const {
    return display()->lines().textBetween(startOffset, endOffset);
}

int ChatDisplayAccessible::characterCount() const {
    return int(display()->lines().characterCount());
}

QRect ChatDisplayAccessible::characterRect(int offset) const {
    const QRect rect = display()->characterRect(offset);
    if (rect.isEmpty())
        return rect;
    return QRect(display()->viewport()->mapToGlobal(rect.topLeft()), rect.size());
}

int ChatDisplayAccessible::offsetAtPoint(const QPoint& point) const {
    return int(display()->offsetAt(display()->viewport()->mapFromGlobal(point)));
}

void ChatDisplayAccessible::scrollToSubstring(int startIndex, int) {
    display()->scrollToLine(display()->lines().lineAt(startIndex));
}

QString ChatDisplayAccessible::attributes(int offset, int* startOffset, int* endOffset) const {
    // One run per line: its colour.
    const ChatLines& lines = display()->lines();
    if (lines.isEmpty()) {
        *startOffset = *endOffset = offset;
        return {};
    }
    const qsizetype line = lines.lineAt(offset);
    *startOffset = int(lines.textStart(line) - 1);
    *endOffset = int(lines.textStart(line) + lines.length(line));
    const QColor colour = display()->lineColour(line);
    return QStringLiteral("color:rgb(%1,%2,%3);").arg(colour.red()).arg(colour.green()).arg(colour.blue());
}
