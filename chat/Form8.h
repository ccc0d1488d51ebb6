#pragma once

#include "chat/ProfileFields.h"

#include <QDialog>

class Form1;
class QPushButton;

// The account and profile dialog. Its profile fields become the identification entries that answer
// "/WHOAMI"; opened for a new account, it also sends the account request.
class Form8 : public QDialog {
    Q_OBJECT
public:
    enum class Purpose { Profile, NewAccount };
    Form8(Form1& main, Purpose purpose, QWidget* parent = nullptr);

    ProfileFields fields;
    QPushButton* Command1;

    void Command1_Click();

private:
    Form1& m_main;
    Purpose m_purpose;
};
