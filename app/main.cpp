#include "app/Form1.h"
#include "common/SystemServices.h"

#include <QApplication>

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Quorvel"));
    QApplication::setQuitOnLastWindowClosed(false);
    SystemServices system(ProgramFolder::forExecutable(QApplication::applicationDirPath()));
    Form1 main(system.services());
    QObject::connect(&main, &Form1::programEnded, &app, &QApplication::quit, Qt::QueuedConnection);
    if (!main.Form_Load())
        return 0;
    main.show();
    return QApplication::exec();
}
