#pragma once

#include <QWidget>

class QComboBox;
class QLineEdit;

// The game browser. Only what the chat room needs is here yet: the game selector, the chosen-server
// fields, the playing state and the follow hand-over.
class GameStarter : public QWidget {
    Q_OBJECT
public:
    explicit GameStarter(QWidget* parent = nullptr);

    static inline const QString Playing = QStringLiteral("Playing");
    static inline const QString NotPlaying = QStringLiteral("Quorveling");

    QComboBox* Combo1;        // the game key: "*Home", "Half-Life", "Kingpin", "RTCW"
    QLineEdit* Text3;         // chosen server: name
    QLineEdit* Text2;         // chosen server: address
    QLineEdit* Text4;         // chosen server: port
    QLineEdit* txtPlayingGame; // "Playing" while a launched game runs, else "Quorveling"

    QString gameKey() const;
    void setGameKey(const QString& key);
    bool isPlaying() const;

    // Acts as the join button for a followed member's game.
    void follow();

Q_SIGNALS:
    void joinRequested();
};
