#include "server/HttpConnection.h"

#include <QTcpSocket>
#include <QTimer>

namespace {

// Answers written but not yet taken by a client that sends requests without reading: past
// this, further requests wait in the socket until the client reads (or the deadline ends it).
constexpr qint64 MaxUnsentBytes = 64 * 1024;

QByteArray reason(int status) {
    switch (status) {
    case 200:
        return "OK";
    case 400:
        return "Bad Request";
    case 404:
        return "Not Found";
    case 408:
        return "Request Timeout";
    case 431:
        return "Request Header Fields Too Large";
    case 503:
        return "Service Unavailable";
    case 505:
        return "HTTP Version Not Supported";
    default:
        return "Error";
    }
}

} // namespace

HttpConnection::HttpConnection(QTcpSocket* socket, qint64 maxHeadBytes, int idleMs, Handler handler,
                               QObject* parent)
    : QObject(parent)
    , m_socket(socket)
    , m_maxHeadBytes(maxHeadBytes)
    , m_handler(std::move(handler))
    , m_deadline(new QTimer(this)) {
    m_socket->setParent(this);
    // Qt holds no more than this before we look at it; the rest waits in the kernel.
    m_socket->setReadBufferSize(maxHeadBytes);
    m_deadline->setSingleShot(true);
    m_deadline->setInterval(idleMs);
    connect(m_deadline, &QTimer::timeout, this, &HttpConnection::onTimeout);
    connect(m_socket, &QTcpSocket::readyRead, this, &HttpConnection::serve);
    connect(m_socket, &QTcpSocket::bytesWritten, this, &HttpConnection::serve);
    connect(m_socket, &QTcpSocket::disconnected, this, &HttpConnection::onDisconnected);
    connect(m_socket, &QTcpSocket::errorOccurred, this, &HttpConnection::onDisconnected);
    m_deadline->start();
    // The connection may have waited in the listener's queue, where what it sent and a hang-up
    // were signalled to nobody. Queued, so that whoever made us has connected to finished() first.
    QMetaObject::invokeMethod(
        this,
        [this] {
            serve();
            if (m_socket->state() == QAbstractSocket::UnconnectedState)
                onDisconnected();
        },
        Qt::QueuedConnection);
}

void HttpConnection::serve() {
    while (!m_closing && m_socket->bytesToWrite() < MaxUnsentBytes) {
        // Never more than the limit (and the blank line's four bytes) in hand.
        m_buffer += m_socket->read(std::max<qint64>(0, m_maxHeadBytes + 4 - m_buffer.size()));
        HttpRequestHead head;
        switch (HttpRequestHead::parse(m_buffer, m_maxHeadBytes, &head)) {
        case HttpRequestHead::Result::Incomplete:
            return;
        case HttpRequestHead::Result::Malformed:
            refuse(400);
            return;
        case HttpRequestHead::Result::BadVersion:
            refuse(505);
            return;
        case HttpRequestHead::Result::TooLarge:
            refuse(431);
            return;
        case HttpRequestHead::Result::Complete:
            break;
        }
        m_buffer.remove(0, head.length);
        // We never read a body, so what follows one cannot be told from it: close after.
        write(m_handler(head), head.closeAfter || head.hasBody);
        // Each request, with its answer, has the whole idle time again.
        m_deadline->start();
    }
}

void HttpConnection::refuse(int status) {
    Response response;
    response.status = status;
    response.contentType = "text/plain";
    response.body = reason(status) + "\r\n";
    write(response, true);
}

void HttpConnection::write(const Response& response, bool close) {
    QByteArray out = "HTTP/1.1 " + QByteArray::number(response.status) + ' ' + reason(response.status) +
                     "\r\nContent-Type: " + response.contentType +
                     "\r\nContent-Length: " + QByteArray::number(response.body.size()) + "\r\n";
    if (close)
        out += "Connection: close\r\n";
    out += "\r\n";
    if (!response.headersOnly)
        out += response.body;
    m_socket->write(out);
    if (close) {
        m_closing = true;
        // The client has the idle time to read the answer; then it is cut off.
        m_deadline->start();
        m_socket->disconnectFromHost();
    }
}

void HttpConnection::onTimeout() {
    // A client that sent part of a request is told why, and has the idle time once more to
    // read it; one that sent nothing, or did not read, is cut off.
    if (!m_closing && !m_buffer.isEmpty() && m_socket->bytesToWrite() == 0) {
        refuse(408);
        return;
    }
    m_closing = true;
    m_socket->abort();
    onDisconnected();
}

void HttpConnection::onDisconnected() {
    if (m_finished || (m_socket->state() != QAbstractSocket::UnconnectedState && !m_closing))
        return;
    m_finished = true;
    m_deadline->stop();
    emit finished(this);
}
