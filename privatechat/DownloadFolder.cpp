#include "privatechat/DownloadFolder.h"

#include <QDir>
#include <QStandardPaths>

namespace DownloadFolder {

QString initial() {
    return usable(QStandardPaths::writableLocation(QStandardPaths::DownloadLocation),
                  QStandardPaths::writableLocation(QStandardPaths::HomeLocation));
}

QString usable(const QString& wanted, const QString& fallback) {
    return !wanted.isEmpty() && QDir().mkpath(wanted) ? wanted : fallback;
}

} // namespace DownloadFolder
