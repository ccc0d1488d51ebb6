#pragma once

#include <QWidget>

class QPushButton;

// "Resume Quorvel": shown while a game started from the browser runs; its button brings the
// player back.
class Form4 : public QWidget {
    Q_OBJECT
public:
    explicit Form4(QWidget* parent);

    QPushButton* Command1;

    void Command1_Click();

Q_SIGNALS:
    // The player is back: the browser and the chat window come back and the room is told.
    void resumed();
};
