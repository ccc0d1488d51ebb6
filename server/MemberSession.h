#pragma once

#include "server/DeliveryQueue.h"
#include "server/ReadAssembler.h"
#include "server/ServerClock.h"
#include "server/ServerLimits.h"

#include <QDateTime>
#include <QElapsedTimer>
#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QTimer>

class QTcpSocket;
class ServerMetrics;

// One connection: reads segments and frames them into messages, applies the flood and
// size limits, and writes what its DeliveryQueue allows, CR LF ended, gathered into as few
// writes as the client's read rules permit. Knows nothing of the room; it hands accepted
// messages on and reports when it is gone.
class MemberSession : public QObject {
    Q_OBJECT
public:
    // Checking: a LOGIN or NEWACCOUNT is being worked on; nothing else is heard until it is answered.
    enum class State { Connected, Checking, AwaitingNick, SignedOn, Closing };

    MemberSession(QTcpSocket* socket, const ServerLimits& limits, NowFunction now, QObject* parent = nullptr);

    // Where each write's delivery wait is counted; none by default.
    void setMetrics(ServerMetrics* metrics) { m_metrics = metrics; }
    QString address() const { return m_address; }
    State state() const { return m_state; }
    void setState(State state) { m_state = state; }
    QString accountName() const { return m_accountName; }
    void setAccountName(const QString& name) { m_accountName = name; }
    QString displayName() const { return m_displayName; }
    void setDisplayName(const QString& name) { m_displayName = name; }

    // Queues one message, CR LF ended; what is queued goes out once the event loop is back, so
    // messages produced together share a write. A member that has stopped reading and let too
    // much pile up is dropped instead.
    void send(const QString& message);
    // The same for a message already encoded and CR LF ended, so a broadcast encodes once;
    // with its kind given, a broadcast also classifies once.
    void sendEncoded(const QByteArray& line);
    void sendEncoded(const QByteArray& line, DeliveryQueue::Kind kind);
    // Sends what is queued, then closes.
    void closeAfterSending();
    // Closes at once, from the event loop, so that callers iterating over the room stay valid.
    void drop(const QString& reason);

    // Bytes not yet taken by the kernel: the delivery queue and the socket's own buffer.
    qint64 pendingOutputBytes() const;
    quint16 peerPort() const;

    // One keep-alive interval has passed: PING, or drop after three silent intervals.
    void keepAliveTick();

signals:
    void messageReceived(MemberSession* session, const QStringList& fields);
    // Emitted once, when the connection has ended for whatever reason.
    void gone(MemberSession* session);

private:
    void flush();
    void write(const QList<QByteArray>& lines);
    QByteArray pingLine() const;
    void onReadyRead();
    void handleText(const QByteArray& text);
    void dropForLongLine();
    void onDisconnected();
    bool admitByFloodRule(bool isPing);

    QTcpSocket* m_socket;
    ServerLimits m_limits;
    NowFunction m_now;
    QString m_address;
    State m_state = State::Connected;
    QString m_accountName;
    QString m_displayName;
    QList<QDateTime> m_recentMessages;
    bool m_floodNoticeSent = false;
    bool m_heardSinceTick = true;
    bool m_heardAnything = false;
    int m_silentTicks = 0;
    bool m_goneReported = false;
    ReadAssembler m_assembler;
    QTimer m_cutReadTimer;
    DeliveryQueue m_queue;
    QElapsedTimer m_clock; // the queue's times: real milliseconds, whatever the server's clock says
    bool m_flushPosted = false;
    // One segment's worth, so that a write reaches the client whole and is handled as one read.
    qsizetype m_maxWrite = 1400;
    ServerMetrics* m_metrics = nullptr;
};
