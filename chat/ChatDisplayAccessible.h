#pragma once

#include <QAccessibleWidget>

class ChatDisplay;

// What a screen reader learns of the chat display: a read-only, multi-line text holding every line,
// with the emoticon codes as written, the selection, and where each character is drawn.
class ChatDisplayAccessible : public QAccessibleWidget, public QAccessibleTextInterface {
public:
    explicit ChatDisplayAccessible(ChatDisplay* display);
    // Makes Qt describe every chat display through this class.
    static void install();

    void* interface_cast(QAccessible::InterfaceType type) override;
    QAccessible::State state() const override;
    QString text(QAccessible::Text which) const override;

    void selection(int selectionIndex, int* startOffset, int* endOffset) const override;
    int selectionCount() const override;
    void addSelection(int startOffset, int endOffset) override;
    void removeSelection(int selectionIndex) override;
    void setSelection(int selectionIndex, int startOffset, int endOffset) override;
    int cursorPosition() const override;
    void setCursorPosition(int position) override;
    QString text(int startOffset, int endOffset) const override;
    int characterCount() const override;
    QRect characterRect(int offset) const override;
    int offsetAtPoint(const QPoint& point) const override;
    void scrollToSubstring(int startIndex, int endIndex) override;
    QString attributes(int offset, int* startOffset, int* endOffset) const override;

private:
    ChatDisplay* display() const;
};
