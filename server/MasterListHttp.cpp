#include "server/MasterListHttp.h"

#include <QDir>
#include <QFile>
#include <QHttpServer>
#include <QHttpServerRequest>
#include <QHttpServerResponder>
#include <QRegularExpression>

MasterListHttp::MasterListHttp(const QString& folder, QObject* parent)
    : QObject(parent)
    , m_folder(folder)
    , m_http(new QHttpServer(this)) {
    // No routes: every request comes here, so the method and path checks are all in one place.
    m_http->setMissingHandler([this](const QHttpServerRequest& request, QHttpServerResponder&& responder) {
        respond(request, responder);
    });
}

quint16 MasterListHttp::listen(const QHostAddress& address, quint16 port) {
    const int bound = m_http->listen(address, port);
    return bound > 0 ? static_cast<quint16>(bound) : 0;
}

void MasterListHttp::respond(const QHttpServerRequest& request, QHttpServerResponder& responder) const {
    static const QRegularExpression listPath(QStringLiteral("^/quorvel/(qvllist-[a-z0-9-]+\\.qvl)$"));
    const bool isHead = request.method() == QHttpServerRequest::Method::Head;
    const bool isGet = request.method() == QHttpServerRequest::Method::Get;
    const QRegularExpressionMatch match = listPath.match(request.url().path(QUrl::FullyEncoded));
    QFile file(QDir(m_folder).filePath(match.captured(1)));
    if (!(isGet || isHead) || !match.hasMatch() || !file.open(QIODevice::ReadOnly)) {
        responder.write(QByteArray("Not found\r\n"), "text/plain",
                        QHttpServerResponder::StatusCode::NotFound);
        return;
    }
    const QByteArray body = file.readAll();
    if (isHead) {
        // The headers a GET would carry, its Content-Length included, and no body.
        responder.writeStatusLine(QHttpServerResponder::StatusCode::Ok);
        responder.writeHeader("Content-Type", "text/plain; charset=windows-1252");
        responder.writeHeader("Content-Length", QByteArray::number(body.size()));
        responder.writeBody(QByteArray());
        return;
    }
    responder.write(body, "text/plain; charset=windows-1252");
}
