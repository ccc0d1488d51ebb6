#pragma once

#include <QByteArray>
#include <QSslCertificate>
#include <QSslKey>
#include <QString>
#include <QStringList>

// Certificates made by the tests themselves (OpenSSL, P-256 keys, SHA-256), so that real TLS
// handshakes on 127.0.0.1 can be checked against an authority, a self-signed certificate, an
// expired one or one for another host.
struct TestCertificate {
    QByteArray certificatePem;
    QByteArray keyPem;

    QSslCertificate certificate() const { return QSslCertificate(certificatePem, QSsl::Pem); }
    QSslKey key() const { return QSslKey(keyPem, QSsl::Ec, QSsl::Pem, QSsl::PrivateKey); }
    // Writes both PEM files; false when either cannot be written.
    bool write(const QString& certificatePath, const QString& keyPath) const;
};

struct TestCertificateRequest {
    QString commonName = QStringLiteral("localhost");
    // Subject alternative names; the loopback address is always among them unless emptied.
    QStringList dnsNames{QStringLiteral("localhost")};
    QStringList ipAddresses{QStringLiteral("127.0.0.1")};
    // Validity relative to now.
    qint64 validFromSecs = -3600;
    qint64 validUntilSecs = 30 * 24 * 3600;
    bool isAuthority = false;
    // Signed by this one; self-signed when null.
    const TestCertificate* issuer = nullptr;
};

namespace TestCertificates {
TestCertificate make(const TestCertificateRequest& request);
// A certificate authority of the test's own, to stand for the system's authorities.
TestCertificate authority();
// A certificate for localhost and 127.0.0.1, signed by `issuer` (self-signed when null).
TestCertificate forLocalhost(const TestCertificate* issuer);
} // namespace TestCertificates
