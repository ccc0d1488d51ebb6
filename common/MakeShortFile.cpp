#include "common/MakeShortFile.h"

#ifdef Q_OS_WIN
#include <qt_windows.h>

#include <vector>
#endif

namespace MakeShortFile {

QString shortPath(const QString& path) {
#ifdef Q_OS_WIN
    const std::wstring longPath = path.toStdWString();
    const DWORD needed = GetShortPathNameW(longPath.c_str(), nullptr, 0);
    if (needed == 0)
        return path;
    std::vector<wchar_t> buffer(needed);
    const DWORD written = GetShortPathNameW(longPath.c_str(), buffer.data(), needed);
    if (written == 0 || written >= needed)
        return path;
    return QString::fromWCharArray(buffer.data(), int(written));
#else
    return path;
#endif
}

} // namespace MakeShortFile
