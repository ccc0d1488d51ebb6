#pragma once

#include "servers/ServerAnswer.h"

#include <QHostAddress>
#include <QList>
#include <QObject>
#include <QString>

#include <map>
#include <memory>

class QUdpSocket;

// Asks every server of a list for its status at once, over one UDP socket: at most a bounded
// number of servers are being asked at any moment, a request that draws nothing within the
// timeout is sent again (a datagram may be lost), and a server still silent after the retries is
// reported as not answering. Each server of the list is reported exactly once, as its questions end.
class ServerListQuery : public QObject {
    Q_OBJECT
public:
    struct Target {
        QString address; // a dotted address or a host name
        quint16 port = 0;
    };
    struct Limits {
        int inFlight = 64;    // servers being asked at one time
        int retries = 2;      // sends again after a silence, per step of the questions
        int timeoutMs = 1000; // silence after which a request counts as lost
    };

    explicit ServerListQuery(QObject* parent = nullptr);
    ~ServerListQuery() override;

    void setLimits(const Limits& limits) { m_limits = limits; }

    // Starts over with this list; whatever was being asked is forgotten.
    void start(const QString& gameKey, const QList<Target>& targets);
    void stop();

    int total() const { return int(m_targets.size()); }
    int finishedCount() const { return m_finished; }
    int answeredCount() const { return m_answered; }

Q_SIGNALS:
    void serverStarted(int index);
    void serverFinished(int index, const ServerAnswer& answer);
    void allFinished();

private:
    struct Flight;
    using Key = std::pair<QHostAddress, quint16>;

    void launchMore();
    void launch(int index);
    void resolved(int index, const QHostAddress& address);
    void sendAll(Flight& flight, const QList<QByteArray>& datagrams);
    void readDatagrams();
    void timedOut(int index);
    void finish(int index);
    void reportIfAllFinished();

    Limits m_limits;
    QString m_game;
    QList<Target> m_targets;
    int m_next = 0;
    int m_finished = 0;
    int m_answered = 0;
    bool m_allReported = false;
    quint64 m_generation = 0;
    QUdpSocket* m_socket;
    std::map<int, std::unique_ptr<Flight>> m_flights;
    QMultiHash<Key, int> m_byAddress;
};
