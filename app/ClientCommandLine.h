#pragma once

#include <QString>
#include <QStringList>

// The client's own options: --help and --version, answered on standard output before any window
// or display is opened. Every other argument is left to QApplication (-platform, -style, ...).
namespace ClientCommandLine {

enum class Action { Run, ShowHelp, ShowVersion };

// arguments: argv without the program name.
Action actionFor(const QStringList& arguments);
QString helpText();
QString versionText();

} // namespace ClientCommandLine
