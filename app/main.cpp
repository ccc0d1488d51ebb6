#include "ancillary/Artwork.h"
#include "ancillary/SplashWindow.h"
#include "app/Form1.h"
#include "common/SystemServices.h"

#include <QApplication>

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Quorvel"));
    QApplication::setWindowIcon(Artwork::applicationIcon());
    QApplication::setQuitOnLastWindowClosed(false);
    SystemServices system(ProgramFolder::forExecutable(QApplication::applicationDirPath()));
    Form1 main(system.services());
    QObject::connect(&main, &Form1::programEnded, &app, &QApplication::quit, Qt::QueuedConnection);
    // A refused second copy says so before any window shows.
    if (!main.Form_Load())
        return 0;
    main.show();
    auto* splash = new SplashWindow(system.desktop, &main);
    splash->show();
    splash->mainWindowReady();
    return QApplication::exec();
}
