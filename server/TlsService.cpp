#include "server/TlsService.h"

#include "server/ChatServer.h"
#include "server/MasterListHttp.h"

#include <QDateTime>
#include <QTextStream>

TlsService::TlsService(const TlsOptions& options, QTextStream& log, QObject* parent)
    : QObject(parent)
    , m_options(options)
    , m_log(log)
    , m_credentials(options.certificateFile, options.keyFile) {}

bool TlsService::start(const QHostAddress& address, ChatServer& chat, MasterListHttp& http, QString* error) {
    if (!m_credentials.load(error))
        return false;
    if (!chat.listenTls(address, m_options.chatPort, m_credentials)) {
        *error = QStringLiteral("cannot listen for TLS chat on port %1: %2")
                     .arg(m_options.chatPort)
                     .arg(chat.tlsErrorString());
        return false;
    }
    m_chatPort = chat.tlsPort();
    m_httpsPort = http.listenTls(address, m_options.httpsPort, m_credentials);
    if (m_httpsPort == 0) {
        *error = QStringLiteral("cannot listen for HTTPS on port %1").arg(m_options.httpsPort);
        return false;
    }
    return true;
}

QString TlsService::summary() const {
    return QStringLiteral("TLS chat port %1, https port %2, certificate %3")
        .arg(m_chatPort)
        .arg(m_httpsPort)
        .arg(m_credentials.describe(QDateTime::currentDateTimeUtc()));
}

void TlsService::reload() {
    if (!m_credentials.isLoaded())
        return;
    QString error;
    if (m_credentials.load(&error))
        m_log << "quorvel-server: certificate reloaded: "
              << m_credentials.describe(QDateTime::currentDateTimeUtc()) << Qt::endl;
    else
        m_log << "quorvel-server: certificate not reloaded, the one in force stays: " << error << Qt::endl;
}
