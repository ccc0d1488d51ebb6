#pragma once

#include <QString>

// A password is a number greater than zero: the sign-on dialog has always refused anything else,
// so the account dialog and the server refuse it at account creation too, before an account that
// could never sign on is made.
namespace PasswordRule {

bool isAcceptable(const QString& entry);

// What the password fields' tool tips tell the person.
inline const QString Hint = QStringLiteral("A number greater than zero, for example 4821");

} // namespace PasswordRule
