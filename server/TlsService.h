#pragma once

#include "server/TlsCredentials.h"
#include "server/TlsOptions.h"

#include <QHostAddress>
#include <QObject>

class ChatServer;
class MasterListHttp;
class QTextStream;

// The TLS side of the server: loads the certificate, opens the TLS chat and HTTPS ports beside
// the plain ones, and loads the certificate again on request (SIGHUP). A reload changes what
// newcomers are shown; members already online keep their connections as they are.
class TlsService : public QObject {
    Q_OBJECT
public:
    TlsService(const TlsOptions& options, QTextStream& log, QObject* parent = nullptr);

    // Opens both ports; false with the reason when the certificate cannot be used or a port not opened.
    bool start(const QHostAddress& address, ChatServer& chat, MasterListHttp& http, QString* error);
    // "TLS chat port N, https port M, certificate CN=..., valid until ...", for the start line.
    QString summary() const;
    // Reads the files again; a faulty pair is logged and the certificate in force stays.
    void reload();

private:
    TlsOptions m_options;
    QTextStream& m_log;
    TlsCredentials m_credentials;
    quint16 m_chatPort = 0;
    quint16 m_httpsPort = 0;
};
