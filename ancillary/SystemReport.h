#pragma once

#include <QStringList>

// What Qt can tell about the machine, one line each, for the about box's system information: the
// operating system, the Qt version, the program folder, the screens and the network interfaces.
QStringList systemReport(const QString& programFolder);
