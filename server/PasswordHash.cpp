#include "server/PasswordHash.h"

#include <QCryptographicHash>
#include <QPasswordDigestor>
#include <QRandomGenerator>

#include <atomic>

namespace PasswordHash {

namespace {
std::atomic<quint64> derivations{0};
}

QByteArray newSalt() {
    QByteArray salt(16, '\0');
    QRandomGenerator::system()->fillRange(reinterpret_cast<quint32*>(salt.data()), salt.size() / 4);
    return salt;
}

QByteArray derive(const QString& password, const QByteArray& salt, int iterations) {
    derivations.fetch_add(1, std::memory_order_relaxed);
    return QPasswordDigestor::deriveKeyPbkdf2(QCryptographicHash::Sha256, password.toUtf8(), salt, iterations,
                                              32);
}

Stored make(const QString& password, int iterations) {
    Stored stored;
    stored.salt = newSalt();
    stored.iterations = iterations;
    stored.hash = derive(password, stored.salt, iterations);
    return stored;
}

bool matches(const QByteArray& expected, const QByteArray& actual) {
    if (expected.size() != actual.size())
        return false;
    unsigned char difference = 0;
    for (qsizetype i = 0; i < expected.size(); ++i)
        difference |= static_cast<unsigned char>(expected[i] ^ actual[i]);
    return difference == 0;
}

quint64 derivationCount() {
    return derivations.load(std::memory_order_relaxed);
}

} // namespace PasswordHash
