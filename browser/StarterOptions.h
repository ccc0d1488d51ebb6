#pragma once

#include <QWidget>

class QComboBox;
class QLineEdit;
class QPushButton;

// "Game Starter Options": the chosen game's folder and the master-list source.
class StarterOptions : public QWidget {
    Q_OBJECT
public:
    static inline const QString QuorvelMasterList = QStringLiteral("Quorvel Master List");

    explicit StarterOptions(QWidget* parent = nullptr);

    QLineEdit* Text1;  // the game folder, short form, no trailing backslash
    QComboBox* Combo2; // the master-list source
    QPushButton* cmdGetPath0;
};
