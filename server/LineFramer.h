#pragma once

#include <QByteArray>
#include <QStringList>

// The client sends each message in one write, mostly without a terminator, so one received
// segment is one message; a trailing CR LF is tolerated and a segment holding several
// CR LF-separated messages (coalesced by TCP, or a private-window line) is split.
// Nothing is carried from one segment to the next.
namespace LineFramer {

QStringList messagesOf(const QByteArray& segment);

} // namespace LineFramer
