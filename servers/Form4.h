#pragma once

#include <QWidget>

class GameStarter;
class QPushButton;

// "Playing": shown while a game started from the browser runs; its button brings the player back.
class Form4 : public QWidget {
    Q_OBJECT
public:
    explicit Form4(GameStarter& browser, QWidget* parent = nullptr);

    QPushButton* Command1;

    void Command1_Click();

Q_SIGNALS:
    // The player is back: the main window announces it and restores its menus.
    void resumed();

protected:
    void showEvent(QShowEvent* event) override;

private:
    GameStarter& m_browser;
};
