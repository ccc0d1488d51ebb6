#pragma once

#include <QByteArray>
#include <QStringList>

// The client sends each message in one write, mostly without a terminator, so one received
// segment is one message; a trailing CR LF is tolerated and a segment holding several
// CR LF-separated messages (coalesced by TCP, or a private-window line) is split. Two sends
// merged by TCP with no line end between them are split again where a command word followed by
// "|¿|" starts inside the first one's text. Where a read ends is ReadAssembler's business.
namespace LineFramer {

QStringList messagesOf(const QByteArray& segment);

// One piece without line ends, cut into the messages glued together in it.
QStringList splitMerged(const QString& piece);

// Whether the bytes begin with a client command word and its separator, as a message does.
bool startsMessage(const QByteArray& bytes);

} // namespace LineFramer
