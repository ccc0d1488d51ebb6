#pragma once

#include <QString>

// Games installed under Wine keep Windows' indifference to letter case: the batch file and the
// options name "wolfmp.exe" where the disk holds "WolfMP.exe". Where the file system tells the two
// apart, a path is matched piece by piece without regard to case.
namespace FileNameCase {

// The path of the file or folder on disk that path names when case is ignored; path itself when it
// exists as written or nothing matches. Forward slashes only.
QString existingPath(const QString& path);

} // namespace FileNameCase
