#include "server/PasswordHash.h"

#include <QCryptographicHash>
#include <QPasswordDigestor>
#include <QRandomGenerator>

namespace PasswordHash {

QByteArray newSalt() {
    QByteArray salt(16, '\0');
    QRandomGenerator::system()->fillRange(reinterpret_cast<quint32*>(salt.data()), salt.size() / 4);
    return salt;
}

QByteArray derive(const QString& password, const QByteArray& salt, int iterations) {
    return QPasswordDigestor::deriveKeyPbkdf2(QCryptographicHash::Sha256, password.toUtf8(), salt, iterations,
                                              32);
}

bool matches(const QByteArray& expected, const QByteArray& actual) {
    if (expected.size() != actual.size())
        return false;
    unsigned char difference = 0;
    for (qsizetype i = 0; i < expected.size(); ++i)
        difference |= static_cast<unsigned char>(expected[i] ^ actual[i]);
    return difference == 0;
}

} // namespace PasswordHash
