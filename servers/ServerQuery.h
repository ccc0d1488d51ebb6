#pragma once

#include "servers/GameQuery.h"

#include <QElapsedTimer>
#include <QObject>

#include <optional>

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
// the game selected when it arrives. There is no time-out and no retry: a silent server changes
// nothing.
class ServerQuery : public QObject {
    Q_OBJECT
public:
    ServerQuery(const QueryTarget& target, QueryResultSink& sink, QObject* parent = nullptr);

    // Checks the address and port fields and sends the selected game's request. A host name is
    // looked up first; one that does not resolve sends nothing and says nothing.
    GameQuery::Check send();

    quint16 localPort() const;

private:
    void sendTo(const QString& host, quint16 port, const QByteArray& datagram);
    void readReplies();

    const QueryTarget& m_target;
    QueryResultSink& m_sink;
    QUdpSocket* m_socket;
    QElapsedTimer m_sinceRequest;
};
