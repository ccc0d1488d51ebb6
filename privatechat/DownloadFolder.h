#pragma once

#include <QString>

namespace DownloadFolder {

// Where downloads go at start-up: the system's download folder, made when it is missing (a new
// account often has none yet), else the home folder, so that the first offer can always be saved.
QString initial();

// wanted when it exists or can be made, otherwise fallback.
QString usable(const QString& wanted, const QString& fallback);

} // namespace DownloadFolder
