#include "server/PasswordHash.h"

#include <QRandomGenerator>

#include <openssl/evp.h>

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
    // OpenSSL's PBKDF2 gives the same bytes as QPasswordDigestor five times as fast: the cost
    // to a guesser is the iteration count, and a slow implementation only costs us sign-ons.
    const QByteArray utf8 = password.toUtf8();
    QByteArray key(32, '\0');
    if (PKCS5_PBKDF2_HMAC(utf8.constData(), int(utf8.size()),
                          reinterpret_cast<const unsigned char*>(salt.constData()), int(salt.size()),
                          iterations, EVP_sha256(), int(key.size()),
                          reinterpret_cast<unsigned char*>(key.data())) != 1)
        return {}; // never matches a stored hash
    return key;
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
