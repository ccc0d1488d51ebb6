#pragma once

#include "server/HttpConnection.h"
#include "server/ServerLimits.h"

#include <QHash>
#include <QHostAddress>
#include <QObject>
#include <QString>

class BudgetedListener;
class DescriptorBudget;
class QTcpSocket;
class TlsCredentials;
class TlsPort;
class ServerMetrics;

// Serves the master lists of the data folder: GET and HEAD of /quorvel/qvllist-<name>.qvl,
// 404 for every other path or method. Only names of that exact shape are looked up, so
// no request can reach a file outside the folder. Connections are capped per address and in
// all; each one is held to the head size and idle time of ServerLimits.
class MasterListHttp : public QObject {
    Q_OBJECT
public:
    explicit MasterListHttp(const QString& folder, const ServerLimits& limits = ServerLimits(),
                            QObject* parent = nullptr);

    // Returns the port listened on (useful with port 0), or 0 on failure.
    quint16 listen(const QHostAddress& address, quint16 port);
    // Also serves the lists over HTTPS on `port`, with the certificate in force at each connection;
    // returns that port, or 0 on failure. A connection counts against its address from the start
    // of its handshake.
    quint16 listenTls(const QHostAddress& address, quint16 port, const TlsCredentials& credentials);
    // Accept only while the process has descriptors to spare (none set: no such check).
    void setDescriptorBudget(DescriptorBudget* budget);
    // Counts every answer by status in metrics, and answers GET /metrics with them to clients
    // in the subnet allowedFrom (a null address: to nobody; everyone else gets 404).
    void setMetrics(ServerMetrics* metrics, const QPair<QHostAddress, int>& allowedFrom);
    int connectionCount() const { return m_connections; }
    // Answer bytes of all connections waiting in the process for their clients.
    qint64 queuedBytes() const;

private:
    void onNewConnection();
    void adopt(QTcpSocket* socket);
    void onFinished(HttpConnection* connection);
    HttpConnection::Response respond(const HttpRequestHead& request, const QHostAddress& peer) const;
    bool mayReadMetrics(const QHostAddress& peer) const;

    QString m_folder;
    ServerLimits m_limits;
    BudgetedListener* m_listener;
    TlsPort* m_tls = nullptr;
    DescriptorBudget* m_budget = nullptr;
    QHash<QString, int> m_connectionsByAddress;
    int m_connections = 0;
    ServerMetrics* m_metrics = nullptr;
    QPair<QHostAddress, int> m_metricsFrom;
};
