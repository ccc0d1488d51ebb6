#include "chat/ProfileFields.h"

#include "chat/PasswordRule.h"

#include <QLabel>

namespace {
struct FieldSpec {
    int index;
    const char* caption;
    const char* toolTip;
    int maxLength;
};

constexpr FieldSpec kFields[] = {
    {ProfileFields::AccountName, "Account Name :", "", 20},
    {ProfileFields::Password, "Password :", "", 20},
    {ProfileFields::Age, "Age :", "Up to 3(chrs) :)", 3},
    {ProfileFields::Email, "Email :", "Up to 50(chrs)", 50},
    {ProfileFields::Website, "Website :", "Enter the full address / Up to 75(chrs)", 75},
    {ProfileFields::Hobbies, "Hobbys :", "Up to 200(chrs)", 200},
};
} // namespace

QString ProfileFields::caption(int index) {
    for (const FieldSpec& f : kFields) {
        if (f.index == index)
            return QString::fromLatin1(f.caption);
    }
    return {};
}

void ProfileFields::build(QWidget* owner, QFormLayout* form) {
    for (const FieldSpec& f : kFields) {
        auto* edit = new QLineEdit(owner);
        edit->setObjectName(QStringLiteral("text1_%1").arg(f.index));
        edit->setToolTip(f.index == Password ? PasswordRule::Hint : QString::fromLatin1(f.toolTip));
        edit->setMaxLength(f.maxLength);
        edit->setAccessibleName(QString::fromLatin1(f.caption).chopped(2));
        auto* label = new QLabel(QString::fromLatin1(f.caption), owner);
        label->setBuddy(edit);
        form->addRow(label, edit);
        text1[std::size_t(f.index)] = edit;
    }
    text1[Password]->setEchoMode(QLineEdit::Password);
    text1[Website]->setText(QStringLiteral("http://"));
}

QStringList ProfileFields::identificationEntries() const {
    QStringList entries;
    for (int i : {Age, Email, Website, Hobbies})
        entries.append(caption(i) + QLatin1Char(' ') + text1[std::size_t(i)]->text());
    return entries;
}
