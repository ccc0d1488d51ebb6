#pragma once

#include <QDialog>

class QLineEdit;
class QPlainTextEdit;
class QPushButton;
class QTcpSocket;

// The news dialog: posts a headline and a text to the chat server.
class Form9 : public QDialog {
    Q_OBJECT
public:
    explicit Form9(QTcpSocket& chat, QWidget* parent = nullptr);

    QLineEdit* Text1;
    QLineEdit* Text2;
    QPushButton* Command1;

    void Command1_Click();

private:
    QTcpSocket& m_chat;
};
