#pragma once

#include <QString>
#include <QStringList>

// The program's small text files: Windows-1252, CR LF on write, any line end on read.
namespace TextFile {

// A missing or unreadable file reads as no lines. A final line end does not make an empty last line.
QStringList readLines(const QString& path);

// Each line followed by CR LF, written atomically so a crash never leaves half a file. On failure the
// system's reason goes to `error` when one is given.
bool writeLines(const QString& path, const QStringList& lines, QString* error = nullptr);

// Splits text on CR LF, LF or CR.
QStringList splitLines(const QString& text);

} // namespace TextFile
