// Emoticon search over arbitrary text: every hit must be a code at the position it names.
#include "chat/EmoticonCodes.h"
#include "common/Windows1252.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QString text = Windows1252::decode(QByteArray(reinterpret_cast<const char*>(data), qsizetype(size)));
    for (const EmoticonHit& hit : findEmoticons(text, 0)) {
        if (hit.picture < 1 || hit.picture > 10 ||
            text.mid(hit.position, EmoticonCodes::codeLength) != EmoticonCodes::codes().at(hit.picture - 1))
            __builtin_trap();
    }
    return 0;
}
