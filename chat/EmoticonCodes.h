#pragma once

#include <QList>
#include <QString>
#include <QStringList>
#include <QStringView>

// The emoticon codes of the chat display. Picture N (1 to 10) belongs to the code at position N of
// the list, so the order is part of the contract with the pictures in assets/emoticons.
namespace EmoticonCodes {

// The codes as the program has always written them: one comma-separated list, split on ",".
inline constexpr QStringView list = u":),;),:z,:d,:(,:|,:m,:<,:o,:x";

// The ten codes in picture order: codes()[N - 1] is shown as picture N.
const QStringList& codes();

// Every code is exactly two characters long: the replacement turns two characters into one.
inline constexpr qsizetype codeLength = 2;

// The picture number (1 to 10) of the two characters at text[at], text[at + 1], or 0 when they are
// not a code. Case-sensitive: ":D" is not ":d".
int pictureAt(QStringView text, qsizetype at);

} // namespace EmoticonCodes

struct EmoticonHit {
    qsizetype position; // index of the code's first character in the searched text
    int picture;        // 1 to 10

    friend bool operator==(const EmoticonHit&, const EmoticonHit&) = default;
};

// The code occurrences in text[from..], left to right, positions relative to the start of text.
// No code's second character can start another code (none is ':' or ';'), so codes never overlap and
// this single left-to-right scan finds exactly what a search for each code in turn would find.
QList<EmoticonHit> findEmoticons(QStringView text, qsizetype from = 0);
