#pragma once

class QColor;
class QTextDocument;

namespace DisplayColours {

// Every piece of text written in from is written in to: a new colour scheme reaches the lines
// already shown, so history stays readable on a new background.
void recolour(QTextDocument& document, const QColor& from, const QColor& to);

} // namespace DisplayColours
