#pragma once

#include "chat/ProfileFields.h"

#include <QDialog>

class Form1;
class QPushButton;

// "Quorvel - Sign On"
class Form7 : public QDialog {
    Q_OBJECT
public:
    explicit Form7(Form1& main, QWidget* parent = nullptr);

    ProfileFields fields;
    QPushButton* Command1; // "Sign On"
    QPushButton* Command2; // "Cancel"

    void Command1_Click();
    void Command2_Click();
    // Opens the person's mail program through the desktop service.
    void openMailProgram();

private:
    Form1& m_main;
};
