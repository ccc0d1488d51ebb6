#include "server/TlsCredentials.h"

#include <QFile>
#include <QSslKey>

#include <openssl/bio.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

#include <memory>

namespace {

// Whether the first certificate of the chain is the one the key belongs to. Qt only finds out at
// the first handshake; a reload must refuse the pair before it replaces a working one.
bool keyMatches(const QByteArray& certificatePem, const QByteArray& keyPem) {
    const std::unique_ptr<BIO, decltype(&BIO_free)> certBio(
        BIO_new_mem_buf(certificatePem.constData(), int(certificatePem.size())), &BIO_free);
    const std::unique_ptr<BIO, decltype(&BIO_free)> keyBio(
        BIO_new_mem_buf(keyPem.constData(), int(keyPem.size())), &BIO_free);
    const std::unique_ptr<X509, decltype(&X509_free)> certificate(
        PEM_read_bio_X509(certBio.get(), nullptr, nullptr, nullptr), &X509_free);
    const std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> key(
        PEM_read_bio_PrivateKey(keyBio.get(), nullptr, nullptr, nullptr), &EVP_PKEY_free);
    return certificate && key && X509_check_private_key(certificate.get(), key.get()) == 1;
}

bool readFile(const QString& path, QByteArray* bytes, QString* error) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        *error = QStringLiteral("cannot read %1: %2").arg(path, file.errorString());
        return false;
    }
    *bytes = file.readAll();
    return true;
}

QSsl::KeyAlgorithm algorithmOf(const QSslCertificate& certificate) {
    return certificate.publicKey().algorithm();
}

} // namespace

TlsCredentials::TlsCredentials(QString certificateFile, QString keyFile)
    : m_certificateFile(std::move(certificateFile))
    , m_keyFile(std::move(keyFile)) {}

bool TlsCredentials::load(QString* error) {
    QByteArray certificatePem;
    QByteArray keyPem;
    if (!readFile(m_certificateFile, &certificatePem, error) || !readFile(m_keyFile, &keyPem, error))
        return false;
    const QList<QSslCertificate> chain = QSslCertificate::fromData(certificatePem, QSsl::Pem);
    if (chain.isEmpty()) {
        *error = QStringLiteral("%1 holds no PEM certificate").arg(m_certificateFile);
        return false;
    }
    const QSslKey key(keyPem, algorithmOf(chain.first()), QSsl::Pem, QSsl::PrivateKey);
    if (key.isNull() || !keyMatches(certificatePem, keyPem)) {
        *error = QStringLiteral("%1 is not the private key of the certificate in %2 (or is protected by a "
                                "pass phrase)")
                     .arg(m_keyFile, m_certificateFile);
        return false;
    }
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    configuration.setLocalCertificateChain(chain);
    configuration.setPrivateKey(key);
    // TLS 1.0 and 1.1 are broken and withdrawn (RFC 8996); every client we serve speaks 1.2.
    configuration.setProtocol(QSsl::TlsV1_2OrLater);
    // Members prove who they are with their password, inside the encrypted connection.
    configuration.setPeerVerifyMode(QSslSocket::VerifyNone);
    m_configuration = configuration;
    return true;
}

QString TlsCredentials::describe(const QDateTime& now) const {
    const QSslCertificate certificate = m_configuration.localCertificate();
    const QString name = certificate.subjectInfo(QSslCertificate::CommonName).value(0);
    return QStringLiteral("CN=%1, valid until %2%3")
        .arg(name, certificate.expiryDate().toUTC().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss 'UTC'")),
             now > certificate.expiryDate() ? QStringLiteral(" (EXPIRED)") : QString());
}
