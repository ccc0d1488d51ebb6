#pragma once

#include <QByteArray>
#include <QString>

// Every byte that crosses the chat socket or lands in a file of the program folder is Windows-1252.
// These two functions are the only place where that conversion happens.
namespace Windows1252 {

// Characters that have no Windows-1252 byte become '?', as the ANSI conversion of Windows does.
QByteArray encode(const QString& text);
QString decode(const QByteArray& bytes);

} // namespace Windows1252
