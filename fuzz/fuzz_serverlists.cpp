// Any bytes as a favourites or master server list: the lines as the browser lists them, and each
// entry cut into description, address and port as the chosen-server fields are filled.
#include "browser/ServerEntry.h"
#include "common/TextFile.h"
#include "common/Windows1252.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QString text = Windows1252::decode(QByteArray(reinterpret_cast<const char*>(data), qsizetype(size)));
    for (const QString& line : TextFile::splitLines(text)) {
        if (line.contains(u'\r') || line.contains(u'\n'))
            __builtin_trap();
        const QStringList fields = ServerEntry::fields(line);
        // Joined again, the fields give back the line they came from.
        if (fields.join(ServerEntry::Separator) != line)
            __builtin_trap();
    }
    return 0;
}
