#include "common/TlsTrust.h"

#include "common/INI.h"

#include <QCryptographicHash>

namespace {

const QString Section = QStringLiteral("Certificates");

// What the system's authorities leave unsaid about a self-signed certificate: nobody vouches for it.
// Anything else (expired, another host's name, revoked, a broken signature) is a fault of the
// certificate itself, and the person is never asked to accept it.
bool onlyUnvouched(const QList<QSslError>& errors) {
    for (const QSslError& error : errors) {
        switch (error.error()) {
        case QSslError::SelfSignedCertificate:
        case QSslError::SelfSignedCertificateInChain:
        case QSslError::UnableToGetLocalIssuerCertificate:
        case QSslError::UnableToVerifyFirstCertificate:
        case QSslError::CertificateUntrusted:
            continue;
        default:
            return false;
        }
    }
    return true;
}

QString faults(const QList<QSslError>& errors) {
    QStringList texts;
    for (const QSslError& error : errors)
        if (!texts.contains(error.errorString()))
            texts << error.errorString();
    return texts.join(QStringLiteral("; "));
}

} // namespace

std::optional<QString> TlsTrustStore::pinned(const QString& server) const {
    const QString value = INI::readString(m_file, Section, server, {}, 256);
    if (value.isEmpty())
        return std::nullopt;
    return value;
}

bool TlsTrustStore::pin(const QString& server, const QString& fingerprint) {
    return INI::writeString(m_file, Section, server, fingerprint);
}

QString TlsTrust::fingerprint(const QSslCertificate& certificate) {
    return QString::fromLatin1(
        QCryptographicHash::hash(certificate.toDer(), QCryptographicHash::Sha256).toHex(':').toUpper());
}

QString TlsTrust::serverKey(const QString& host, quint16 port) {
    return host.toLower() + u':' + QString::number(port);
}

TlsJudgement TlsTrust::judge(const QString& server, const QList<QSslError>& errors,
                             const QSslCertificate& certificate, const std::optional<QString>& pinned) {
    // A certificate the authorities vouch for is renewed every few months; a pin never stands in its way.
    if (errors.isEmpty())
        return {TlsJudgement::Verdict::Trusted, {}};
    const QString shown = fingerprint(certificate);
    if (pinned && *pinned == shown)
        return {TlsJudgement::Verdict::Trusted, {}};
    if (pinned) {
        return {
            TlsJudgement::Verdict::Refused,
            QStringLiteral("The certificate of %1 has changed since you accepted it, and no certificate "
                           "authority vouches for the new one. Someone may be listening in between, so "
                           "nothing was sent.\n\nAccepted: %2\nShown now: %3\n\nIf the community told you "
                           "it has a new certificate, compare its fingerprint with the one shown now, then "
                           "remove the line for %1 from TrustedServers.ini and sign on again.")
                .arg(server, *pinned, shown)};
    }
    if (!onlyUnvouched(errors)) {
        return {TlsJudgement::Verdict::Refused,
                QStringLiteral("The certificate of %1 cannot be trusted (%2), so nothing was sent.")
                    .arg(server, faults(errors))};
    }
    return {TlsJudgement::Verdict::AskFirstUse,
            QStringLiteral("No certificate authority vouches for the certificate of %1; it is the server's "
                           "own (self-signed). Compare its fingerprint with the one your community publishes:"
                           "\n\n%2\n\nTrust this certificate for %1 from now on?")
                .arg(server, shown)};
}
