#include "chat/DisplayColours.h"

#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>

namespace DisplayColours {

void recolour(QTextDocument& document, const QColor& from, const QColor& to) {
    if (from == to)
        return;
    QTextCharFormat format;
    format.setForeground(to);
    QTextCursor cursor(&document);
    cursor.beginEditBlock();
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        for (auto it = block.begin(); !it.atEnd(); ++it) {
            const QTextFragment fragment = it.fragment();
            if (fragment.charFormat().foreground().color() != from)
                continue;
            cursor.setPosition(fragment.position());
            cursor.setPosition(fragment.position() + fragment.length(), QTextCursor::KeepAnchor);
            cursor.mergeCharFormat(format);
        }
    }
    cursor.endEditBlock();
}

} // namespace DisplayColours
