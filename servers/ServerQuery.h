#pragma once

#include "servers/GameQuery.h"
#include "servers/SourceExchange.h"

#include <QElapsedTimer>
#include <QObject>

#include <optional>

class QTimer;
class QUdpSocket;

// Where the query reads the game and the server, at the moment it sends and when a reply comes.
class QueryTarget {
public:
    virtual ~QueryTarget() = default;
    virtual QString gameKey() const = 0;
    virtual QString serverAddress() const = 0;
    virtual QString serverPort() const = 0;
};

// What the query hands on for every datagram that arrives.
class QueryResultSink {
public:
    virtual ~QueryResultSink() = default;
    // replyMs: the time since the last request went out, when one did.
    virtual void showReply(const ServerStatus& status, qint64 bytes, std::optional<qint64> replyMs) = 0;
};

// One UDP socket that asks a game server for its status and passes every reply to the parser of
// the game selected when it arrives. There is no retry: a silent server changes nothing.
// A Half-Life server gets the "info" request first; today's servers no longer answer it, so when
// nothing has come back a second later the A2S exchange follows (SourceExchange), and its answers
// are shown through the same sink. A server that answers "info" is never asked the A2S way.
class ServerQuery : public QObject {
    Q_OBJECT
public:
    ServerQuery(const QueryTarget& target, QueryResultSink& sink, QObject* parent = nullptr);

    // Checks the address and port fields and sends the selected game's request. A host name is
    // looked up first; one that does not resolve sends nothing and says nothing.
    GameQuery::Check send();

    quint16 localPort() const;

    static constexpr int kSourceFallbackMs = 1000;

private:
    void sendTo(const QString& host, quint16 port, const QByteArray& datagram);
    void readReplies();
    void askTheSourceWay();

    const QueryTarget& m_target;
    QueryResultSink& m_sink;
    QUdpSocket* m_socket;
    QElapsedTimer m_sinceRequest;
    // Half-Life: how long the "info" request waits for an answer before the A2S exchange starts.
    QTimer* m_sourceFallback;
    SourceExchange m_exchange;
    QString m_host;
    quint16 m_port = 0;
};
