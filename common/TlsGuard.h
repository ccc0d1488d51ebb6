#pragma once

#include "common/TlsTrust.h"

#include <QObject>
#include <QString>

class Prompts;
class QSslSocket;

// Stands by a socket's TLS handshakes and decides on the certificate the server shows: what the
// system's authorities vouch for goes on; a self-signed certificate seen for the first time is
// shown to the person by its fingerprint and, once accepted, remembered (trust on first use); a
// changed, expired or misnamed one is refused with an explanation. A refused handshake never
// completes, so nothing the owner wrote is ever sent, in clear or otherwise; the socket's own
// error and close signals for it are held back, and the guard says instead what happened.
class TlsGuard : public QObject {
    Q_OBJECT
public:
    TlsGuard(QSslSocket& socket, TlsTrustStore& store, Prompts& prompts, QObject* parent = nullptr);

    // The server of the next handshake, as the store names it (TlsTrust::serverKey).
    void setServer(const QString& server) { m_server = server; }

signals:
    // The connection was ended during its handshake; the reason, for the person (empty when
    // they declined the certificate themselves and know why).
    void refused(const QString& explanation);
    // The person accepted the certificate and it is remembered: connect again to use it.
    void accepted();

private:
    void onSslErrors(const QList<QSslError>& errors);

    QSslSocket& m_socket;
    TlsTrustStore& m_store;
    Prompts& m_prompts;
    QString m_server;
};
