#pragma once

#include <QList>
#include <QSslCertificate>
#include <QSslError>
#include <QString>

#include <optional>

// The certificates the person accepted on first use, by server ("host:port"), kept in
// "\TrustedServers.ini" in the program folder: section [Certificates], one key per server whose
// value is the certificate's SHA-256 fingerprint. Deleting a line forgets that server.
class TlsTrustStore {
public:
    explicit TlsTrustStore(QString file)
        : m_file(std::move(file)) {}

    std::optional<QString> pinned(const QString& server) const;
    bool pin(const QString& server, const QString& fingerprint);
    QString file() const { return m_file; }

private:
    QString m_file;
};

// What to do with the certificate a server showed during the handshake.
struct TlsJudgement {
    enum class Verdict {
        Trusted,     // vouched for by the system's authorities, or accepted by the person before
        AskFirstUse, // a certificate nobody vouches for (self-signed), seen for the first time
        Refused,     // expired, for another host, changed since accepted, ...: never accepted silently
    };
    Verdict verdict = Verdict::Refused;
    // For the person: why it was refused, or what is asked.
    QString explanation;
};

namespace TlsTrust {

// "AB:CD:..." of the certificate's DER bytes, SHA-256.
QString fingerprint(const QSslCertificate& certificate);
// "host:port", the host in lower case: how a server is named in the store.
QString serverKey(const QString& host, quint16 port);

// The handshake's errors (empty when the system's authorities vouch for the certificate and it
// names the host), the certificate shown, and what the store holds for this server.
TlsJudgement judge(const QString& server, const QList<QSslError>& errors, const QSslCertificate& certificate,
                   const std::optional<QString>& pinned);

} // namespace TlsTrust
