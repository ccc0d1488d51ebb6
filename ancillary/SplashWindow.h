#pragma once

#include <QWidget>

class Desktop;
class QLabel;
class QPushButton;
class QTimer;

// The start-up window: our picture, "Please wait", the version and a link to the product's web page.
// It stays up for a moment once the main window is ready, then its timer closes it; a click or a key
// on it closes it at once.
class SplashWindow : public QWidget {
    Q_OBJECT
public:
    static constexpr int ShownAfterReadyMs = 2000;

    explicit SplashWindow(Desktop& desktop, QWidget* parent = nullptr);

    QLabel* imgLogo;
    QLabel* lblWait;
    QLabel* lblVersion;
    QPushButton* lblURL; // captioned with the address, drawn as a link
    QTimer* tmrSplash;

    // Starts the timer that closes the window.
    void mainWindowReady();
    void lblURL_Click();
    void tmrSplash_Timer();

protected:
    void showEvent(QShowEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    Desktop& m_desktop;
};
