// Any bytes as "\Quorvel.ini": load what can be loaded, write it back, read it again.
#include "app/MainSettings.h"
#include "common/TextFile.h"
#include "common/Windows1252.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArray bytes(reinterpret_cast<const char*>(data), qsizetype(size));
    const MainSettings settings = MainSettings::parse(TextFile::splitLines(Windows1252::decode(bytes)));
    const QStringList lines = settings.lines();
    if (lines.size() < 11 || lines.size() > 11 + MainSettings::IdentificationLinesRead)
        __builtin_trap();
    return 0;
}
