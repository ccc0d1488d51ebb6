#pragma once

#include "chat/ProfileFields.h"

#include <QDialog>

class ChatSession;
class QPushButton;
struct Services;

// The account and profile dialog. Its profile fields become the identification entries that answer
// "/WHOAMI"; opened for a new account, it also sends the account request.
class Form8 : public QDialog {
    Q_OBJECT
public:
    enum class Purpose { Profile, NewAccount };
    Form8(ChatSession& session, Services& services, Purpose purpose, QWidget* parent = nullptr);

    ProfileFields fields;
    QPushButton* Command1;

    void Command1_Click();

private:
    ChatSession& m_session;
    Services& m_services;
    Purpose m_purpose;
};
