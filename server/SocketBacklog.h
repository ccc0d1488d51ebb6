#pragma once

#include <QSslSocket>
#include <QTcpSocket>

// What a connection has written that the kernel has not taken yet. Under TLS this is also what
// QSslSocket holds already encrypted: it encrypts at once, so bytesToWrite() alone stays near zero
// while a client that does not read lets the encrypted bytes pile up.
namespace SocketBacklog {

inline const QSslSocket* encryptedOf(const QTcpSocket* socket) {
    const auto* ssl = qobject_cast<const QSslSocket*>(socket);
    return ssl && ssl->mode() != QSslSocket::UnencryptedMode ? ssl : nullptr;
}

inline qint64 unsent(const QTcpSocket* socket) {
    const QSslSocket* ssl = encryptedOf(socket);
    return socket->bytesToWrite() + (ssl ? ssl->encryptedBytesToWrite() : 0);
}

// Whether bytes may go to the descriptor directly, past the socket: never under TLS.
inline bool isPlain(const QTcpSocket* socket) {
    return qobject_cast<const QSslSocket*>(socket) == nullptr;
}

// Calls `written` whenever the socket hands bytes on, plain or encrypted. QSslSocket reports the
// data it has encrypted before it moves the encrypted bytes on to the connection; so for it the
// call comes once the event loop is back, when what is left is counted right.
template <typename Slot> void onWritten(QTcpSocket* socket, QObject* context, Slot written) {
    auto* ssl = qobject_cast<QSslSocket*>(socket);
    if (!ssl) {
        QObject::connect(socket, &QIODevice::bytesWritten, context, written);
        return;
    }
    QObject::connect(ssl, &QIODevice::bytesWritten, context, written, Qt::QueuedConnection);
    QObject::connect(ssl, &QSslSocket::encryptedBytesWritten, context, written, Qt::QueuedConnection);
}

} // namespace SocketBacklog
