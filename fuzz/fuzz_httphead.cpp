// Any bytes as what a client sends the master-list web server, cut into arrivals at each NUL byte:
// the request head parser alone, then a connection serving the requests in turn. Each write is one
// whole response, and nothing follows one that closes the connection.
#include "FakeConnection.h"

#include "server/HttpConnection.h"
#include "server/HttpRequestHead.h"

#include <QCoreApplication>

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    static QCoreApplication app(*argc, *argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArray buffer(reinterpret_cast<const char*>(data), qsizetype(size));
    HttpRequestHead head;
    const auto result = HttpRequestHead::parse(buffer, 8192, &head);
    if (result == HttpRequestHead::Result::Complete &&
        (head.length <= 0 || head.length > buffer.size() || head.method.isEmpty() || head.target.isEmpty()))
        __builtin_trap();

    auto* socket = new FakeConnection;
    socket->connectToHost(QString(), 0, QIODevice::ReadWrite, QAbstractSocket::AnyIPProtocol);
    HttpConnection connection(socket, 8192, 60000, [](const HttpRequestHead& request) {
        HttpConnection::Response response;
        response.contentType = "text/plain";
        response.body = request.target;
        response.headersOnly = request.method == "HEAD";
        return response;
    });
    for (const QByteArray& arrival : buffer.split('\0'))
        socket->deliver(arrival);
    for (qsizetype i = 0; i < socket->written.size(); ++i) {
        const QByteArray& answer = socket->written.at(i);
        const qsizetype headEnd = answer.indexOf("\r\n\r\n");
        if (!answer.startsWith("HTTP/1.1 ") || headEnd < 0 ||
            (answer.first(headEnd + 2).contains("\r\nConnection: close\r\n") && i + 1 < socket->written.size()))
            __builtin_trap();
    }
    return 0;
}
