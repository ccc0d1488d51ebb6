#pragma once

#include <QString>

// The chat server the server box names: a host, signed on to in clear on the port of the settings
// file, or "tls://host" (or "tls://host:port"), signed on to over TLS, by default on the server's
// TLS port.
struct ChatAddress {
    QString host;
    quint16 port = 0;
    bool tls = false;

    static ChatAddress parse(const QString& serverBox, quint16 plainPort);
};
