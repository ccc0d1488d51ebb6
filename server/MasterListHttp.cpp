#include "server/MasterListHttp.h"

#include "server/AddressRules.h"
#include "server/BudgetedListener.h"
#include "server/ServerMetrics.h"
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

void MasterListHttp::setMetrics(ServerMetrics* metrics, const QPair<QHostAddress, int>& allowedFrom) {
    m_metrics = metrics;
    m_metricsFrom = allowedFrom;
    metrics->addGauge("quorvel_web_connections", "Open connections to the web port.",
                      [this] { return m_connections; });
}

bool MasterListHttp::mayReadMetrics(const QHostAddress& peer) const {
    // An IPv4 client of a dual-stack listener arrives as ::ffff:a.b.c.d; the subnet is written as IPv4.
    return m_metrics && !m_metricsFrom.first.isNull() &&
           QHostAddress(AddressRules::text(peer)).isInSubnet(m_metricsFrom);
}

void MasterListHttp::onNewConnection() {
    while (QTcpSocket* socket = m_listener->takeConnection())
        adopt(socket);
}

void MasterListHttp::adopt(QTcpSocket* socket) {
    const QString address = AddressRules::text(socket->peerAddress());
    auto* connection = new HttpConnection(
        socket, m_limits.httpMaxHeadBytes, m_limits.httpIdleMs,
        [this, peer = socket->peerAddress()](const HttpRequestHead& request) { return respond(request, peer); },
        this);
    if (m_metrics)
        connect(connection, &HttpConnection::answered, this,
                [metrics = m_metrics](int status) { metrics->webAnswers(status).add(); });
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

HttpConnection::Response MasterListHttp::respond(const HttpRequestHead& request,
                                                 const QHostAddress& peer) const {
    static const QRegularExpression listPath(QStringLiteral("^/quorvel/(qvllist-[a-z0-9-]+\\.qvl)$"));
    const bool isHead = request.method == "HEAD";
    const bool isGet = request.method == "GET";
    if ((isGet || isHead) && request.target == "/metrics" && mayReadMetrics(peer)) {
        HttpConnection::Response response;
        response.contentType = "text/plain; version=0.0.4; charset=utf-8";
        response.body = m_metrics->render();
        response.headersOnly = isHead;
        return response;
    }
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
