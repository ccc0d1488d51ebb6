#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

// The fixed texts and the small parsers of the direct file connection.
namespace TransferText {

inline constexpr qint64 BlockSize = 1028;
inline constexpr int LowestPort = 10;
inline constexpr int HighestPort = 50000;

inline const QByteArray Info = QByteArrayLiteral("INFO");
inline const QByteArray Send = QByteArrayLiteral("SEND");
inline const QByteArray More = QByteArrayLiteral("MORE");
inline const QByteArray Done = QByteArrayLiteral("DONE");
inline const QByteArray FieldSeparator = QByteArrayLiteral("|@|");

// Whether a read of the direct connection is the command word: its text before the first "|@|" is
// exactly the word. The words hold no "|", so that is the word at the start followed by the end or by
// "|@|"; a block of data is not searched to its end.
bool isCommand(QByteArrayView chunk, QByteArrayView word);

// The leading decimal value of a text as the user typed it: leading blanks skipped, digits read up to
// the first other character; text without leading digits counts as 0. Huge values saturate.
qint64 leadingNumber(const QString& text);

// Whether a port answer may be used: 10 to 50000 by its leading value.
bool usablePort(const QString& answer);

// The name under which an offered file is saved: the last piece of the sender's path, with "\" and "/"
// both taken as separators. Empty when the name cannot be used safely (empty, ".", "..", a character
// or length that the file system cannot hold), so that a download never leaves the download folder.
QString saveName(const QString& senderPath);

// How many blocks the sender puts on the wire for a file of this size: every full block and one more
// that holds the rest and the filler.
inline qint64 blocksFor(qint64 size) {
    return size / BlockSize + 1;
}

} // namespace TransferText
