#pragma once

#include "server/HttpRequestHead.h"

#include <QByteArray>
#include <QObject>
#include <QString>

#include <functional>
#include <memory>

class QFile;
class QTcpSocket;
class QTimer;

// One connection to the master-list web server: reads request heads within the limits, hands
// each complete one to the server's handler and writes the answer. Malformed, oversized and
// foreign-version requests are answered (400, 431, 505) and the connection closed; so is a
// connection that takes longer than the idle time to send a request or to read an answer.
class HttpConnection : public QObject {
    Q_OBJECT
public:
    struct Response {
        int status = 200;
        QByteArray contentType;
        QByteArray body;
        // When set, the body is this open file instead, written in pieces as the client takes
        // them, so that a big list costs a connection no more than a piece or two of memory.
        std::shared_ptr<QFile> file;
        // HEAD: Content-Length of the body, but no body.
        bool headersOnly = false;
    };
    using Handler = std::function<Response(const HttpRequestHead&)>;

    HttpConnection(QTcpSocket* socket, qint64 maxHeadBytes, int idleMs, Handler handler,
                   QObject* parent = nullptr);

    // Writes a complete response with "Connection: close", then closes.
    void refuse(int status);
    // Answer bytes waiting in the process for the client to take them.
    qint64 queuedBytes() const;

signals:
    // An answer with this status was written (or begun, for a list sent in pieces).
    void answered(int status);
    // The connection has ended; emitted once.
    void finished(HttpConnection* connection);

private:
    void serve();
    void onBytesWritten();
    void write(const Response& response, bool close);
    void writeMoreOfFile();
    void closeAfterAnswer();
    void onTimeout();
    void onDisconnected();

    QTcpSocket* m_socket;
    qint64 m_maxHeadBytes;
    Handler m_handler;
    QTimer* m_deadline;
    QByteArray m_buffer;
    std::shared_ptr<QFile> m_file;
    qint64 m_fileLeft = 0;
    bool m_closeAfterFile = false;
    bool m_closing = false;
    bool m_sentFin = false;
    bool m_finished = false;
};
