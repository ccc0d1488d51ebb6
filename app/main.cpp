#include "ancillary/Artwork.h"
#include "ancillary/SplashWindow.h"
#include "app/Form1.h"
#include "app/QuitSignals.h"
#include "common/EnvironmentDefault.h"
#include "common/FreedMemory.h"
#include "common/QtEventLoop.h"
#include "common/SystemServices.h"

#include <QApplication>

int main(int argc, char** argv) {
    useQtEventLoop();
    // On GNOME, Xfce, MATE and the other GTK desktops Qt's GTK theme starts GTK, and GTK opens the GL
    // driver at once only to choose window visuals: 50 MB more with Mesa's software renderer, before
    // any window shows. The theme uses GTK for dialogs and settings, which never draw with GL.
    EnvironmentDefault noGtkGlProbe("GDK_GL", "disable");
    QApplication app(argc, argv);
    noGtkGlProbe.restore();
    QApplication::setApplicationName(QStringLiteral("Quorvel"));
    QApplication::setWindowIcon(Artwork::applicationIcon());
    // Desktops match the window to quorvel.desktop (and so to its icon) by this name.
    QGuiApplication::setDesktopFileName(QStringLiteral("quorvel"));
    QApplication::setQuitOnLastWindowClosed(false);
    SystemServices system(ProgramFolder::forExecutable(QApplication::applicationDirPath()));
    Form1 main(system.services());
    QObject::connect(&main, &Form1::programEnded, &app, &QApplication::quit, Qt::QueuedConnection);
    // A refused second copy says so before any window shows; until it runs, a quit signal just ends it.
    if (!main.Form_Load())
        return 0;
    QuitSignals quitSignals;
    QObject::connect(&quitSignals, &QuitSignals::received, &main, &Form1::mnuExit_Click);
    main.show();
    auto* splash = new SplashWindow(system.desktop, &main);
    splash->show();
    splash->mainWindowReady();
    // Start-up ends with the start-up picture; what it used and freed goes back to the system then.
    QObject::connect(splash, &QObject::destroyed, &main, &returnFreedMemory, Qt::QueuedConnection);
    return QApplication::exec();
}
