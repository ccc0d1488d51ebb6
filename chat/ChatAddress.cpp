#include "chat/ChatAddress.h"

#include "chat/ChatProtocol.h"

#include <QUrl>

ChatAddress ChatAddress::parse(const QString& serverBox, quint16 plainPort) {
    const QString text = serverBox.trimmed();
    static const QString scheme = QStringLiteral("tls://");
    if (!text.startsWith(scheme, Qt::CaseInsensitive))
        return {serverBox, plainPort, false};
    // QUrl knows IPv6 brackets and ports; the rest of an address (a path, a slash) is ignored.
    const QUrl url(QStringLiteral("tls://") + text.mid(scheme.size()));
    const int port = url.port(ChatProtocol::DefaultTlsChatPort);
    return {url.host(), quint16(port > 0 && port <= 65535 ? port : ChatProtocol::DefaultTlsChatPort), true};
}
