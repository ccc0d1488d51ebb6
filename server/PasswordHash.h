#pragma once

#include <QByteArray>
#include <QString>

// Passwords are kept only as salted PBKDF2-SHA256 hashes; the iteration count is stored
// beside each hash so it can be raised later without invalidating old accounts.
namespace PasswordHash {

inline constexpr int DefaultIterations = 20000;

// What is kept of one password.
struct Stored {
    QByteArray salt;
    QByteArray hash;
    int iterations = DefaultIterations;
};

QByteArray newSalt();
QByteArray derive(const QString& password, const QByteArray& salt, int iterations);
Stored make(const QString& password, int iterations);
// Compares in time independent of where the first difference lies.
bool matches(const QByteArray& expected, const QByteArray& actual);

// How many derivations this process has run: the work behind an answer, counted rather than timed.
quint64 derivationCount();

} // namespace PasswordHash
