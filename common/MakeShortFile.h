#pragma once

#include <QString>

namespace MakeShortFile {

// The short (8.3) form of an existing path on Windows, so that a folder with blanks can be put
// on a command line unquoted. Elsewhere, or when the platform cannot give one, the path as it is.
QString shortPath(const QString& path);

} // namespace MakeShortFile
