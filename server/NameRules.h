#pragma once

#include <QString>

// What a member name (account name and display name alike) may be, and when two names are
// the same name.
namespace NameRules {

inline constexpr int MaxNameLength = 20;

// Joins an account name to the tag of a second session's display name ("alice@home"). Account
// names may not contain it, so no display name can take a name a future account will want.
inline constexpr QChar SessionTagMark = u'@';

// 1 to 20 visible characters (letters, digits, punctuation, symbols: no blank, no control, no
// soft hyphen or other invisible character), no "<", ">" or "|" (they frame the sender in chat
// lines and separate fields), and only characters Windows-1252 can carry.
bool isValidName(const QString& name);

// A valid name without the session tag mark.
bool isValidAccountName(const QString& name);

// The display name a second session of `account` may take: a valid name of the form
// account + "@" + tag, with a tag of at least one character.
bool isSessionName(const QString& name, const QString& account);

// Two names are the same name when their keys are equal: compatibility forms folded ("²" is
// "2", "™" is "TM"), letter case folded, and anything invisible left out, so "Bob" cannot
// pose as "bob" nor "Quorvel" with a soft hyphen as "Quorvel".
QString key(const QString& name);

// Names that look alike have the same look-alike key: the key above with accents left out
// ("alíce" is "alice"), and "i", "l", "1" and "|" as one letter, "o" and "0" as another, as many
// fonts draw them nearly alike ("aIice" with a capital i, "a1ice" and "alice" look the same).
QString lookAlikeKey(const QString& name);

} // namespace NameRules
