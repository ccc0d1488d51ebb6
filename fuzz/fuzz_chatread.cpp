// Whatever the chat server sends: decoding, splitting into pieces and fields, reading any field.
#include "chat/ChatLine.h"
#include "chat/ChatMessage.h"
#include "common/Windows1252.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArray bytes(reinterpret_cast<const char*>(data), qsizetype(size));
    const QString read = Windows1252::decode(bytes);
    for (const QStringList& fields : ChatMessage::splitRead(read)) {
        const ChatLine line(ChatMessage::field(fields, 1));
        (void)line.actionText();
        (void)line.senderName();
        (void)line.fromThirdWord().split(QStringLiteral("|@|"));
    }
    // What we would send back must encode to exactly one byte per character.
    if (Windows1252::encode(read).size() != read.size())
        __builtin_trap();
    return 0;
}
