#pragma once

#include <QFormLayout>
#include <QLineEdit>
#include <QString>

#include <array>

// The six fields the sign-on and account dialogs share, with their captions and limits.
// Index 5 is the password, as the sign-on dialog has always addressed it.
struct ProfileFields {
    static constexpr int AccountName = 0;
    static constexpr int Age = 1;
    static constexpr int Email = 2;
    static constexpr int Website = 3;
    static constexpr int Hobbies = 4;
    static constexpr int Password = 5;

    std::array<QLineEdit*, 6> text1{};

    // Builds the fields into the form in the order the person fills them in.
    void build(QWidget* owner, QFormLayout* form);
    // "Age : 23", "Email : ...": label caption, a blank, the text; one entry per profile field.
    QStringList identificationEntries() const;
    static QString caption(int index);
};
