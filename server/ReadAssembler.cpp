#include "server/ReadAssembler.h"

#include "server/LineFramer.h"

#include <utility>

QByteArray ReadAssembler::take(const QByteArray& read) {
    QByteArray text = release();
    if (!text.isEmpty() && LineFramer::startsMessage(read))
        text += '\n';
    text += read;
    if (text.endsWith('\n') || read.size() < MayBeCutBytes)
        return text;
    const qsizetype boundary = text.lastIndexOf('\n') + 1;
    m_held = text.sliced(boundary);
    text.truncate(boundary);
    return text;
}

QByteArray ReadAssembler::release() {
    return std::exchange(m_held, {});
}
