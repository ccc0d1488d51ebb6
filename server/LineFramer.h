#pragma once

#include <QByteArray>
#include <QStringList>

// The client sends each message in one write, mostly without a terminator, so one received
// segment is one message; a trailing CR LF is tolerated and a segment holding several
// CR LF-separated messages (coalesced by TCP, or a private-window line) is split. Two sends
// merged by TCP with no line end between them are split again where a command word followed by
// "|¿|" starts inside the first one's text. Nothing is carried from one segment to the next.
namespace LineFramer {

QStringList messagesOf(const QByteArray& segment);

// One piece without line ends, cut into the messages glued together in it.
QStringList splitMerged(const QString& piece);

} // namespace LineFramer
