#pragma once

#include "server/HttpRequestHead.h"

#include <QByteArray>
#include <QObject>
#include <QString>

#include <functional>

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
        // HEAD: Content-Length of the body, but no body.
        bool headersOnly = false;
    };
    using Handler = std::function<Response(const HttpRequestHead&)>;

    HttpConnection(QTcpSocket* socket, qint64 maxHeadBytes, int idleMs, Handler handler,
                   QObject* parent = nullptr);

    // Writes a complete response with "Connection: close", then closes.
    void refuse(int status);

signals:
    // The connection has ended; emitted once.
    void finished(HttpConnection* connection);

private:
    void serve();
    void write(const Response& response, bool close);
    void onTimeout();
    void onDisconnected();

    QTcpSocket* m_socket;
    qint64 m_maxHeadBytes;
    Handler m_handler;
    QTimer* m_deadline;
    QByteArray m_buffer;
    bool m_closing = false;
    bool m_finished = false;
};
