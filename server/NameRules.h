#pragma once

#include <QString>

// What a member name (account name and display name alike) may be.
namespace NameRules {

inline constexpr int MaxNameLength = 20;

// 1 to 20 characters, no blank, no "<", ">" or "|" (they frame the sender in chat lines
// and separate fields), no control characters, and only characters Windows-1252 can carry.
bool isValidName(const QString& name);

// Names are unique without regard to letter case, so "Bob" cannot pose as "bob".
QString key(const QString& name);

} // namespace NameRules
