#pragma once

#include <QString>
#include <QStringList>

// The master lists served over HTTP live as plain files in the data folder, so a community
// edits them with any text editor. Samples built into the server fill in the missing ones.
namespace MasterListFolder {

// The six list files, as named in their URLs ("qvllist-kingpin.qvl", ...).
QStringList listNames();

// Copies each built-in sample whose file is missing; existing files are left alone.
// Returns false (with the reason) when the folder cannot be written.
bool fillMissing(const QString& folder, QString* error);

} // namespace MasterListFolder
