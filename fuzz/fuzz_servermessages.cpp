// Any bytes as one segment a member's client sent: framed into messages, cut into fields and
// cleaned as the chat room relays them.
#include "chat/ChatMessage.h"
#include "server/LineFramer.h"
#include "server/RelayedText.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArray segment(reinterpret_cast<const char*>(data), qsizetype(size));
    for (const QString& message : LineFramer::messagesOf(segment)) {
        const QStringList fields = ChatMessage::splitFields(message);
        if (fields.isEmpty())
            __builtin_trap();
        for (const QString& field : RelayedText::withoutControls(fields)) {
            for (const QChar c : field) {
                if (c != u'\t' && (c < u' ' || c == QChar(0x7F) || (c >= QChar(0x80) && c < QChar(0xA0))))
                    __builtin_trap();
            }
        }
    }
    return 0;
}
