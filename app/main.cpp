#include "ancillary/Artwork.h"
#include "ancillary/SplashWindow.h"
#include "app/ClientCommandLine.h"
#include "app/Form1.h"
#include "app/QuitSignals.h"
#include "common/EnvironmentDefault.h"
#include "common/FreedMemory.h"
#include "common/QtEventLoop.h"
#include "common/SystemServices.h"

#include <QApplication>

#include <cstdio>

int main(int argc, char** argv) {
    // Answered before QApplication exists, which would need a display.
    QStringList arguments;
    for (int i = 1; i < argc; ++i)
        arguments.append(QString::fromLocal8Bit(argv[i]));
    if (const auto action = ClientCommandLine::actionFor(arguments);
        action != ClientCommandLine::Action::Run) {
        const QString text = action == ClientCommandLine::Action::ShowHelp ? ClientCommandLine::helpText()
                                                                           : ClientCommandLine::versionText();
        std::fputs(text.toLocal8Bit().constData(), stdout);
        return 0;
    }
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
    // Listened for before the running copy's lock is taken, so that a quit signal never finds the
    // program without its handler (the default would kill it). Until the main window is loaded, a
    // quit signal ends any box that is open and the program with it, saving nothing: a refused
    // second copy never writes its blank settings over the running copy's.
    QuitSignals quitSignals;
    bool loaded = false;
    bool quitBeforeLoaded = false;
    QObject::connect(&quitSignals, &QuitSignals::received, &main, [&] {
        if (loaded) {
            main.mnuExit_Click();
            return;
        }
        quitBeforeLoaded = true;
        QCoreApplication::exit(0); // ends the box's loop too, where quit() would wait for exec()
    });
    if (!main.Form_Load() || quitBeforeLoaded)
        return 0;
    loaded = true;
    main.show();
    auto* splash = new SplashWindow(system.desktop, &main);
    splash->show();
    splash->mainWindowReady();
    // Start-up ends with the start-up picture; what it used and freed goes back to the system then.
    QObject::connect(splash, &QObject::destroyed, &main, &returnFreedMemory, Qt::QueuedConnection);
    return QApplication::exec();
}
