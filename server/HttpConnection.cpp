#include "server/HttpConnection.h"

#include "server/SocketBacklog.h"

#include <QFile>
#include <QTcpSocket>
#include <QTimer>

#include <sys/socket.h>

namespace {

// Answers written but not yet taken by a client that sends requests without reading: past
// this, further requests wait in the socket until the client reads (or the deadline ends it).
// The same bound holds a file being sent: the next piece is read only when the queue is below it.
constexpr qint64 MaxUnsentBytes = 64 * 1024;
constexpr qint64 FilePieceBytes = 32 * 1024;

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
    SocketBacklog::onWritten(m_socket, this, [this] { onBytesWritten(); });
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
    if (m_closing) {
        // Lingering after our answer: what the client still sends is read and dropped, so that
        // closing never meets unread data, which would reset the connection and could destroy
        // the answer before the client has read it.
        m_socket->readAll();
        return;
    }
    // Nothing is answered after an answer that closes the connection, not even a request that
    // was sent behind it.
    while (!m_closing && !m_file && SocketBacklog::unsent(m_socket) < MaxUnsentBytes) {
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

qint64 HttpConnection::queuedBytes() const {
    return SocketBacklog::unsent(m_socket);
}

void HttpConnection::onBytesWritten() {
    if (m_file) {
        // A client that keeps taking a long answer is not idle.
        m_deadline->start();
        writeMoreOfFile();
    } else if (m_closing) {
        closeAfterAnswer();
    } else {
        serve();
    }
}

void HttpConnection::write(const Response& response, bool close) {
    const qint64 length = response.file ? response.file->size() : response.body.size();
    QByteArray out = "HTTP/1.1 " + QByteArray::number(response.status) + ' ' + reason(response.status) +
                     "\r\nContent-Type: " + response.contentType +
                     "\r\nContent-Length: " + QByteArray::number(length) + "\r\n";
    if (close)
        out += "Connection: close\r\n";
    out += "\r\n";
    if (!response.headersOnly && !response.file)
        out += response.body;
    m_socket->write(out);
    emit answered(response.status);
    if (!response.headersOnly && response.file && length > 0) {
        m_file = response.file;
        m_fileLeft = length;
        m_closeAfterFile = close;
        writeMoreOfFile();
    } else if (close) {
        closeAfterAnswer();
    }
}

void HttpConnection::writeMoreOfFile() {
    while (m_file && SocketBacklog::unsent(m_socket) < MaxUnsentBytes) {
        const QByteArray piece = m_file->read(std::min(FilePieceBytes, m_fileLeft));
        if (piece.isEmpty()) {
            // The file was cut short while it was sent: the length given cannot be kept.
            m_file.reset();
            m_closing = true;
            m_socket->abort();
            onDisconnected();
            return;
        }
        m_socket->write(piece);
        m_fileLeft -= piece.size();
        if (m_fileLeft > 0)
            continue;
        m_file.reset();
        if (m_closeAfterFile)
            closeAfterAnswer();
        else
            serve(); // the next request sent meanwhile
    }
}

void HttpConnection::closeAfterAnswer() {
    if (!m_closing) {
        m_closing = true;
        // The client has the idle time to read the answer; then it is cut off.
        m_deadline->start();
    }
    // Once the answer has left, only our side is closed; the client closes its side when it has
    // read the answer (or the deadline ends it), and what it sends meanwhile is dropped.
    if (m_sentFin || SocketBacklog::unsent(m_socket) > 0)
        return;
    m_sentFin = true;
    ::shutdown(int(m_socket->socketDescriptor()), SHUT_WR);
    serve();
}

void HttpConnection::onTimeout() {
    // A client that sent part of a request is told why, and has the idle time once more to
    // read it; one that sent nothing, or did not read, is cut off.
    if (!m_closing && !m_buffer.isEmpty() && SocketBacklog::unsent(m_socket) == 0) {
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
