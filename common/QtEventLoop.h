#pragma once

#include <QCoreApplication>

// Called before the application object exists: the process runs Qt's own event loop instead of
// GLib's. Under GLib every socket notifier switched on or off wakes the loop through an eventfd,
// and a file transfer switches one for each block it writes, on both ends: the transfer ran at
// about 0.42 of what its stop-and-wait exchange allows, and at about 0.6 without GLib. GTK's own
// dialogs need GLib's loop, so Qt's dialogs are used instead.
inline void useQtEventLoop() {
    qputenv("QT_NO_GLIB", "1");
    QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
}
