#include "server/TlsOptions.h"

#include "chat/ChatProtocol.h"
#include "server/OptionNumber.h"
#include "server/ServerLimits.h"

#include <QCommandLineParser>

namespace {

const QString CertOption = QStringLiteral("tls-cert");
const QString KeyOption = QStringLiteral("tls-key");
const QString ChatPortOption = QStringLiteral("tls-chat-port");
const QString HttpsPortOption = QStringLiteral("https-port");
const QString OnlyOption = QStringLiteral("tls-only");
const QString HandshakeOption = QStringLiteral("tls-handshake-ms");

} // namespace

void TlsOptions::addTo(QCommandLineParser& parser) {
    parser.addOptions({
        {CertOption,
         QStringLiteral("PEM certificate chain (e.g. fullchain.pem); with --tls-key, opens the TLS ports."),
         QStringLiteral("file")},
        {KeyOption,
         QStringLiteral("PEM private key of the certificate, without pass phrase (e.g. privkey.pem)."),
         QStringLiteral("file")},
        {ChatPortOption,
         QStringLiteral("Chat port over TLS (default %1; 0 picks a free one).")
             .arg(ChatProtocol::DefaultTlsChatPort),
         QStringLiteral("port")},
        {HttpsPortOption,
         QStringLiteral("Master-list HTTPS port (default %1; 0 picks a free one).")
             .arg(ChatProtocol::DefaultHttpsPort),
         QStringLiteral("port")},
        {OnlyOption, QStringLiteral("Serve only over TLS: do not open the plain chat and HTTP ports.")},
        {HandshakeOption,
         QStringLiteral("Time a TLS connection has for its handshake in ms (default %1).")
             .arg(ServerLimits().tlsHandshakeMs),
         QStringLiteral("ms")},
    });
}

bool TlsOptions::read(const QCommandLineParser& parser, TlsOptions* options, ServerLimits* limits,
                      QString* error) {
    TlsOptions& o = *options;
    o.certificateFile = parser.value(CertOption);
    o.keyFile = parser.value(KeyOption);
    o.closePlainPorts = parser.isSet(OnlyOption);
    if (o.certificateFile.isEmpty() != o.keyFile.isEmpty()) {
        *error = QStringLiteral("--tls-cert and --tls-key go together");
        return false;
    }
    if (o.closePlainPorts && !o.enabled()) {
        *error = QStringLiteral("--tls-only needs --tls-cert and --tls-key");
        return false;
    }
    qint64 chatPort = ChatProtocol::DefaultTlsChatPort;
    qint64 httpsPort = ChatProtocol::DefaultHttpsPort;
    qint64 handshakeMs = limits->tlsHandshakeMs;
    if (!readOptionNumber(parser, ChatPortOption, 0, 65535, &chatPort, error) ||
        !readOptionNumber(parser, HttpsPortOption, 0, 65535, &httpsPort, error) ||
        !readOptionNumber(parser, HandshakeOption, 10, 3600 * 1000, &handshakeMs, error))
        return false;
    o.chatPort = quint16(chatPort);
    o.httpsPort = quint16(httpsPort);
    limits->tlsHandshakeMs = int(handshakeMs);
    return true;
}
