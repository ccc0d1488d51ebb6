#pragma once

#include <QDateTime>
#include <QSslConfiguration>
#include <QString>

// The server's certificate chain and private key, read from PEM files as certificate authorities
// and ACME clients write them (fullchain.pem and privkey.pem). Every new TLS connection takes the
// configuration in force when it arrives, so loading again replaces the certificate for newcomers
// while the connections already made keep theirs.
class TlsCredentials {
public:
    TlsCredentials(QString certificateFile, QString keyFile);

    // Reads both files; on any fault keeps what was loaded before and returns false with the reason.
    bool load(QString* error);
    QString certificateFile() const { return m_certificateFile; }
    QString keyFile() const { return m_keyFile; }
    bool isLoaded() const { return !m_configuration.localCertificate().isNull(); }
    QSslConfiguration configuration() const { return m_configuration; }
    // "CN=chat.example.org, valid until 2027-01-01 00:00:00 UTC", for the log.
    QString describe(const QDateTime& now) const;

private:
    QString m_certificateFile;
    QString m_keyFile;
    QSslConfiguration m_configuration;
};
