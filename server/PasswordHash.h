#pragma once

#include <QByteArray>
#include <QString>

// Passwords are kept only as salted PBKDF2-SHA256 hashes; the iteration count is stored
// beside each hash so it can be raised later without invalidating old accounts.
namespace PasswordHash {

inline constexpr int DefaultIterations = 20000;

QByteArray newSalt();
QByteArray derive(const QString& password, const QByteArray& salt, int iterations);
// Compares in time independent of where the first difference lies.
bool matches(const QByteArray& expected, const QByteArray& actual);

} // namespace PasswordHash
