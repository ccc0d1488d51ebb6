// Any bytes as "Settings.ini": read keys as the game starter does, write one, and read it back.
#include "common/INI.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static QTemporaryDir folder;
    const QString file = folder.filePath(QStringLiteral("Settings.ini"));
    {
        QFile out(file);
        if (!out.open(QIODevice::WriteOnly | QIODevice::Truncate))
            return 0;
        out.write(reinterpret_cast<const char*>(data), qint64(size));
    }
    const QString section = QStringLiteral("Options");
    (void)INI::readString(file, section, QStringLiteral("KingpinMMClient"), QStringLiteral("0"), 255);
    (void)INI::readString(file, QStringLiteral("Other"), QStringLiteral("KingpinMMClient"), QString(), 1);
    if (INI::writeString(file, section, QStringLiteral("KingpinMMClient"), QStringLiteral("1")) &&
        INI::readString(file, section, QStringLiteral("KingpinMMClient"), QString(), 255) != QStringLiteral("1"))
        __builtin_trap();
    return 0;
}
