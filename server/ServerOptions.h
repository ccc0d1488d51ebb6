#pragma once

#include "server/AccountStore.h"
#include "server/ServerLimits.h"
#include "server/TlsOptions.h"

#include <QHostAddress>
#include <QString>
#include <QStringList>

class QCoreApplication;

// Everything quorvel-server is told on its command line.
struct ServerOptions {
    QHostAddress listenAddress = QHostAddress::Any;
    quint16 chatPort = 0;
    quint16 httpPort = 0;
    QString dataFolder;
    QString messageOfTheDay;
    ServerLimits limits;
    AccountStore::Config database;
    TlsOptions tls;
    // Clients that may read /metrics on the web port; a null address: nobody.
    QPair<QHostAddress, int> metricsFrom;
    // An administration command ("op add NAME", "backup FILE", ...) run instead of the server; empty to
    // serve.
    QStringList command;

    // Handles --help and --version itself (and exits); on a bad value returns false with the reason.
    static bool parse(const QCoreApplication& app, ServerOptions* options, QString* error);
};
