#include "server/MasterListHttp.h"

#include "server/AddressRules.h"
#include "server/BudgetedListener.h"
#include "server/TlsPort.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QSslSocket>

MasterListHttp::MasterListHttp(const QString& folder, const ServerLimits& limits, QObject* parent)
    : QObject(parent)
    , m_folder(folder)
    , m_limits(limits)
    , m_listener(new BudgetedListener(this)) {
    connect(m_listener, &QTcpServer::newConnection, this, &MasterListHttp::onNewConnection);
}

quint16 MasterListHttp::listen(const QHostAddress& address, quint16 port) {
    return m_listener->listen(address, port) ? m_listener->serverPort() : 0;
}

quint16 MasterListHttp::listenTls(const QHostAddress& address, quint16 port,
                                  const TlsCredentials& credentials) {
    const TlsPort::Rules rules{m_limits.tlsHandshakeMs, m_limits.tlsHandshakesAtOnce,
                               m_limits.httpConnectionsPerAddress};
    m_tls = new TlsPort(
        credentials, rules, [this](const QString& from) { return m_connectionsByAddress.value(from); }, this);
    if (m_budget)
        m_tls->setDescriptorBudget(m_budget);
    connect(m_tls, &TlsPort::encrypted, this, &MasterListHttp::adopt);
    return m_tls->listen(address, port) ? m_tls->port() : 0;
}

void MasterListHttp::setDescriptorBudget(DescriptorBudget* budget) {
    m_budget = budget;
    m_listener->setBudget(budget);
}

void MasterListHttp::onNewConnection() {
    while (QTcpSocket* socket = m_listener->takeConnection())
        adopt(socket);
}

void MasterListHttp::adopt(QTcpSocket* socket) {
    const QString address = AddressRules::text(socket->peerAddress());
    auto* connection = new HttpConnection(
        socket, m_limits.httpMaxHeadBytes, m_limits.httpIdleMs,
        [this](const HttpRequestHead& request) { return respond(request); }, this);
    connection->setProperty("address", address);
    connect(connection, &HttpConnection::finished, this, &MasterListHttp::onFinished);
    ++m_connections;
    // The web port shares the process with the chat: its connections are capped per
    // address and in all, so that no crowd of them can take the chat's descriptors.
    const int fromAddress = ++m_connectionsByAddress[address];
    if (fromAddress > m_limits.httpConnectionsPerAddress || m_connections > m_limits.httpMaxConnections)
        connection->refuse(503);
}

qint64 MasterListHttp::queuedBytes() const {
    qint64 queued = 0;
    for (const HttpConnection* connection : findChildren<HttpConnection*>(Qt::FindDirectChildrenOnly))
        queued += connection->queuedBytes();
    return queued;
}

void MasterListHttp::onFinished(HttpConnection* connection) {
    const QString address = connection->property("address").toString();
    if (--m_connectionsByAddress[address] <= 0)
        m_connectionsByAddress.remove(address);
    --m_connections;
    connection->deleteLater();
}

HttpConnection::Response MasterListHttp::respond(const HttpRequestHead& request) const {
    static const QRegularExpression listPath(QStringLiteral("^/quorvel/(qvllist-[a-z0-9-]+\\.qvl)$"));
    const bool isHead = request.method == "HEAD";
    const bool isGet = request.method == "GET";
    // The target is matched as sent, percent signs and all, so "%2e%2e" is never a folder.
    const QRegularExpressionMatch match = listPath.match(QString::fromLatin1(request.target));
    auto file = std::make_shared<QFile>(QDir(m_folder).filePath(match.captured(1)));
    HttpConnection::Response response;
    if (!(isGet || isHead) || !match.hasMatch() || !file->open(QIODevice::ReadOnly)) {
        response.status = 404;
        response.contentType = "text/plain";
        response.body = "Not found\r\n";
        return response;
    }
    response.contentType = "text/plain; charset=windows-1252";
    response.file = file;
    response.headersOnly = isHead;
    return response;
}
