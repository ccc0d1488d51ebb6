#include "chat/Form7.h"

#include "chat/ChatSession.h"
#include "common/Services.h"
#include "chat/PasswordRule.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

Form7::Form7(ChatSession& session, Services& services, QWidget* parent)
    : QDialog(parent)
    , Command1(new QPushButton(QStringLiteral("Sign On"), this))
    , Command2(new QPushButton(QStringLiteral("Cancel"), this))
    , m_session(session)
    , m_services(services) {
    setObjectName(QStringLiteral("Form7"));
    setWindowTitle(QStringLiteral("Quorvel - Sign On"));
    auto* layout = new QVBoxLayout(this);
    auto* form = new QFormLayout;
    layout->addLayout(form);
    fields.build(this, form);
    fields.text1[ProfileFields::AccountName]->setText(session.nickname());
    auto* mail = new QLabel(QStringLiteral("Questions? <a href=\"mailto:\">Write an e-mail</a>"), this);
    mail->setObjectName(QStringLiteral("lblMail"));
    mail->setAccessibleName(QStringLiteral("Write an e-mail"));
    layout->addWidget(mail);
    connect(mail, &QLabel::linkActivated, this, &Form7::openMailProgram);

    Command1->setObjectName(QStringLiteral("Command1"));
    Command1->setToolTip(QStringLiteral("Sign on to Quorvel"));
    Command1->setDefault(true);
    Command2->setObjectName(QStringLiteral("Command2"));
    Command2->setToolTip(QStringLiteral("Cancel this operation"));
    auto* buttons = new QDialogButtonBox(this);
    buttons->addButton(Command1, QDialogButtonBox::AcceptRole);
    buttons->addButton(Command2, QDialogButtonBox::RejectRole);
    layout->addWidget(buttons);
    connect(Command1, &QPushButton::clicked, this, &Form7::Command1_Click);
    connect(Command2, &QPushButton::clicked, this, &Form7::Command2_Click);
    // The buttons' own roles would close the dialog before the password check.
    disconnect(buttons, nullptr, this, nullptr);
}

void Form7::Command1_Click() {
    const QString password = fields.text1[ProfileFields::Password]->text();
    m_session.setPassword(password);
    if (!PasswordRule::isAcceptable(password)) {
        m_services.prompts.message(QStringLiteral("Quorvel"), QStringLiteral("invald password"),
                                          Prompts::Icon::Critical);
        return;
    }
    const QString name = fields.text1[ProfileFields::AccountName]->text();
    if (!name.isEmpty())
        m_session.setNickname(name);
    m_session.signOn();
    accept();
}

void Form7::Command2_Click() { reject(); }

void Form7::openMailProgram() {
    m_services.desktop.openWithShell(QStringLiteral("mailto:"));
}
