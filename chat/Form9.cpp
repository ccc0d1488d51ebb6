#include "chat/Form9.h"

#include "chat/ChatMessage.h"
#include "chat/ChatProtocol.h"

#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

Form9::Form9(QTcpSocket& chat, QWidget* parent)
    : QDialog(parent)
    , Text1(new QLineEdit(this))
    , Text2(new QLineEdit(this))
    , Command1(new QPushButton(QStringLiteral("Post"), this))
    , m_chat(chat) {
    setObjectName(QStringLiteral("Form9"));
    setWindowTitle(QStringLiteral("Quorvel News"));
    Text1->setObjectName(QStringLiteral("Text1"));
    Text2->setObjectName(QStringLiteral("Text2"));
    Command1->setObjectName(QStringLiteral("Command1"));
    auto* form = new QFormLayout(this);
    auto* headline = new QLabel(QStringLiteral("Headline :"), this);
    headline->setBuddy(Text1);
    auto* text = new QLabel(QStringLiteral("News :"), this);
    text->setBuddy(Text2);
    Text1->setAccessibleName(QStringLiteral("Headline"));
    Text2->setAccessibleName(QStringLiteral("News"));
    form->addRow(headline, Text1);
    form->addRow(text, Text2);
    form->addRow(Command1);
    connect(Command1, &QPushButton::clicked, this, &Form9::Command1_Click);
}

void Form9::Command1_Click() {
    ChatMessage::send(m_chat, ChatMessage::build(ChatProtocol::News, {Text1->text(), Text2->text()}));
    accept();
}
