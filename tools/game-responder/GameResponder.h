#pragma once

#include "FakeGameServer.h"

#include <QObject>
#include <QRandomGenerator>

#include <map>

class QUdpSocket;

// Answers the three status queries (and, for Half-Life servers of today, the A2S ones) on ports of
// 127.0.0.1, one pretend server per port.
class GameResponder : public QObject {
    Q_OBJECT
public:
    explicit GameResponder(QObject* parent = nullptr);

    // Binds 127.0.0.1:port (0 picks a free port) and returns the bound port, or 0 with the reason.
    quint16 listen(quint16 port, FakeGameServer server, QString* error = nullptr);
    // The server behind a bound port, to change between queries.
    FakeGameServer& server(quint16 port);
    // Each request is lost on the way with this chance (0 to 100), drawn from a generator with
    // this seed, so a run can be repeated.
    void setLoss(int percent, quint32 seed);

Q_SIGNALS:
    // Every request that reaches a port, before anything is decided about it.
    void heard(quint16 port, const QByteArray& request);
    void answered(quint16 port, const QByteArray& request);

private:
    void readRequests(QUdpSocket* socket);

    std::map<quint16, FakeGameServer> m_servers;
    int m_lossPercent = 0;
    QRandomGenerator m_random;
};
