#include "server/LineFramer.h"

#include "common/Windows1252.h"

namespace LineFramer {

QStringList messagesOf(const QByteArray& segment) {
    QStringList messages;
    for (const QByteArray& piece : segment.split('\n')) {
        QByteArray line = piece;
        if (line.endsWith('\r'))
            line.chop(1);
        if (!line.isEmpty())
            messages.append(Windows1252::decode(line));
    }
    return messages;
}

} // namespace LineFramer
