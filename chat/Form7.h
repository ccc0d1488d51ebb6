#pragma once

#include "chat/ProfileFields.h"

#include <QDialog>

class ChatSession;
class QPushButton;
struct Services;

// "Quorvel - Sign On"
class Form7 : public QDialog {
    Q_OBJECT
public:
    Form7(ChatSession& session, Services& services, QWidget* parent = nullptr);

    ProfileFields fields;
    QPushButton* Command1; // "Sign On"
    QPushButton* Command2; // "Cancel"

    void Command1_Click();
    void Command2_Click();
    // Opens the person's mail program through the desktop service.
    void openMailProgram();

private:
    ChatSession& m_session;
    Services& m_services;
};
