#pragma once

#include <QString>

// Private-profile ("INI") files as the platform's profile calls read and write them: sections and
// keys found case-insensitively, values trimmed and unquoted, one key written at a time with
// every other byte of the file kept. The file is Windows-1252; a missing file reads as empty.
namespace INI {

// The value of key in section, or fallback when either is missing, cut to bufferSize - 1
// characters as a fixed buffer of that size would hold it.
QString readString(const QString& file, const QString& section, const QString& key, const QString& fallback,
                   int bufferSize);

// Writes key=value into section, replacing the key's line or adding the key (and the section)
// with CR LF; saved atomically. False when the file cannot be written.
bool writeString(const QString& file, const QString& section, const QString& key, const QString& value);

} // namespace INI
