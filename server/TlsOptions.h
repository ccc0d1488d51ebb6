#pragma once

#include <QString>

class QCommandLineParser;
struct ServerLimits;

// The command-line options of the TLS ports: off unless a certificate and key are given.
struct TlsOptions {
    QString certificateFile;
    QString keyFile;
    quint16 chatPort = 0;
    quint16 httpsPort = 0;
    // Serve only over TLS: the plain chat and master-list ports are not opened.
    bool closePlainPorts = false;

    bool enabled() const { return !certificateFile.isEmpty(); }

    static void addTo(QCommandLineParser& parser);
    // After the parser has processed the command line; on a bad value false with the reason.
    static bool read(const QCommandLineParser& parser, TlsOptions* options, ServerLimits* limits,
                     QString* error);
};
