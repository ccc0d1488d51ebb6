// An empty Qt Widgets window the size of Quorvel's main window, run by scripts/bench-startup beside
// Quorvel and HexChat: what any Qt 6 Widgets program on this system holds before it does anything,
// so that Quorvel's own share of its memory can be told from the toolkit's.
#include <QApplication>
#include <QWidget>

int main(int argc, char* argv[]) {
    QApplication app(argc, argv);
    QWidget window;
    window.setWindowTitle(QStringLiteral("Empty Qt window"));
    window.resize(720, 520);
    window.show();
    return app.exec();
}
