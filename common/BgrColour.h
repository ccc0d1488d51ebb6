#pragma once

#include <QColor>

// Colours are kept as the whole numbers Windows uses: blue-green-red, &H80FF is orange.
namespace BgrColour {

inline QColor toColor(qint64 bgr) {
    return QColor(int(bgr & 0xFF), int((bgr >> 8) & 0xFF), int((bgr >> 16) & 0xFF));
}

inline qint64 fromColor(const QColor& c) {
    return qint64(c.red()) | (qint64(c.green()) << 8) | (qint64(c.blue()) << 16);
}

} // namespace BgrColour
