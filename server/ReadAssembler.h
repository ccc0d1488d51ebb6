#pragma once

#include <QByteArray>

// Where one connection's reads end and its messages end. The client sends each message in one
// write, so a read normally ends on a message boundary even without a line end. Not always: a
// read stops when our buffer is full, and a long message crosses the internet in several TCP
// segments that may arrive apart. So the unterminated end of a read large enough to have been
// cut is held back briefly; the next read completes it, unless that read starts a message of
// its own, which shows the held piece was whole.
class ReadAssembler {
public:
    // The smallest segment size every IPv4 host must accept: a read shorter than this was sent
    // in one piece.
    static constexpr qsizetype MayBeCutBytes = 536;

    // Takes one read; returns the bytes up to a message boundary, for LineFramer::messagesOf.
    QByteArray take(const QByteArray& read);
    // Gives up waiting for the rest: what is held, as it is.
    QByteArray release();
    bool isHolding() const { return !m_held.isEmpty(); }
    qsizetype heldBytes() const { return m_held.size(); }

private:
    QByteArray m_held;
};
