#include "chat/Form8.h"

#include "chat/ChatSession.h"
#include "common/Services.h"
#include "chat/ChatMessage.h"
#include "chat/ChatProtocol.h"
#include "chat/PasswordRule.h"

#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

Form8::Form8(ChatSession& session, Services& services, Purpose purpose, QWidget* parent)
    : QDialog(parent)
    , Command1(new QPushButton(this))
    , m_session(session)
    , m_services(services)
    , m_purpose(purpose) {
    setObjectName(QStringLiteral("Form8"));
    setWindowTitle(purpose == Purpose::NewAccount ? QStringLiteral("Quorvel - New Account")
                                                  : QStringLiteral("Quorvel - My Personal Profile"));
    auto* layout = new QVBoxLayout(this);
    auto* form = new QFormLayout;
    layout->addLayout(form);
    fields.build(this, form);
    fields.text1[ProfileFields::AccountName]->setText(session.nickname());
    if (purpose == Purpose::Profile) {
        // The profile edits only what other members see.
        for (int i : {ProfileFields::AccountName, ProfileFields::Password}) {
            fields.text1[std::size_t(i)]->setEnabled(false);
            form->setRowVisible(fields.text1[std::size_t(i)], false);
        }
    }
    // Show what is saved now, "Age : 23" back into "23".
    const QStringList saved = session.identificationEntries();
    const int profile[] = {ProfileFields::Age, ProfileFields::Email, ProfileFields::Website, ProfileFields::Hobbies};
    for (int i = 0; i < 4 && i < saved.size(); ++i) {
        const QString prefix = ProfileFields::caption(profile[i]) + QLatin1Char(' ');
        if (saved.at(i).startsWith(prefix))
            fields.text1[std::size_t(profile[i])]->setText(saved.at(i).mid(prefix.size()));
    }
    Command1->setObjectName(QStringLiteral("Command1"));
    Command1->setText(purpose == Purpose::NewAccount ? QStringLiteral("Create Account") : QStringLiteral("Save"));
    Command1->setDefault(true);
    layout->addWidget(Command1);
    connect(Command1, &QPushButton::clicked, this, &Form8::Command1_Click);
}

void Form8::Command1_Click() {
    auto text = [this](int i) { return fields.text1[std::size_t(i)]->text(); };
    // An account whose password the sign-on dialog refuses could never be used.
    if (m_purpose == Purpose::NewAccount && !PasswordRule::isAcceptable(text(ProfileFields::Password))) {
        m_services.prompts.message(QStringLiteral("Quorvel"), QStringLiteral("invald password"),
                                          Prompts::Icon::Critical);
        return;
    }
    m_session.setIdentificationEntries(fields.identificationEntries());
    if (m_purpose == Purpose::NewAccount) {
        m_session.accountRequested(text(ProfileFields::AccountName));
        m_session.send(ChatMessage::build(ChatProtocol::NewAccount,
                                          {text(ProfileFields::AccountName), text(ProfileFields::Password),
                                           text(ProfileFields::Age), text(ProfileFields::Email),
                                           text(ProfileFields::Website), text(ProfileFields::Hobbies)}));
    }
    accept();
}
