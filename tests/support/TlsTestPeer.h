#pragma once

#include "TestCertificates.h"

#include <QSslServer>
#include <QTcpSocket>

// Plays a TLS server on 127.0.0.1: shows the given certificate and keeps what reaches it once
// the connection is encrypted.
class TlsTestPeer {
public:
    explicit TlsTestPeer(const TestCertificate& shown) {
        QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
        configuration.setLocalCertificate(shown.certificate());
        configuration.setPrivateKey(shown.key());
        m_server.setSslConfiguration(configuration);
        QObject::connect(&m_server, &QSslServer::pendingConnectionAvailable, [this] {
            while (QTcpSocket* socket = m_server.nextPendingConnection())
                QObject::connect(socket, &QTcpSocket::readyRead,
                                 [this, socket] { received += socket->readAll(); });
        });
        m_server.listen(QHostAddress::LocalHost, 0);
    }
    quint16 port() const { return m_server.serverPort(); }
    QByteArray received;

private:
    QSslServer m_server;
};
