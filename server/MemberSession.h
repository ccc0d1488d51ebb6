#pragma once

#include "server/ServerClock.h"
#include "server/ServerLimits.h"

#include <QDateTime>
#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>

class QTcpSocket;

// One connection: reads segments and frames them into messages, applies the flood and
// size limits, and writes each outgoing message on its own, CR LF ended and flushed.
// Knows nothing of the room; it hands accepted messages on and reports when it is gone.
class MemberSession : public QObject {
    Q_OBJECT
public:
    // Checking: a LOGIN or NEWACCOUNT is being worked on; nothing else is heard until it is answered.
    enum class State { Connected, Checking, AwaitingNick, SignedOn, Closing };

    MemberSession(QTcpSocket* socket, const ServerLimits& limits, NowFunction now, QObject* parent = nullptr);

    QString address() const { return m_address; }
    State state() const { return m_state; }
    void setState(State state) { m_state = state; }
    QString accountName() const { return m_accountName; }
    void setAccountName(const QString& name) { m_accountName = name; }
    QString displayName() const { return m_displayName; }
    void setDisplayName(const QString& name) { m_displayName = name; }

    // Writes one message followed by CR LF as its own write. A member that has stopped reading
    // and let too much pile up is dropped instead.
    void send(const QString& message);
    // The same for a message already encoded and CR LF ended, so a broadcast encodes once.
    void sendEncoded(const QByteArray& line);
    // Sends what is queued, then closes.
    void closeAfterSending();
    // Closes at once, from the event loop, so that callers iterating over the room stay valid.
    void drop(const QString& reason);

    // One keep-alive interval has passed: PING, or drop after three silent intervals.
    void keepAliveTick();

signals:
    void messageReceived(MemberSession* session, const QStringList& fields);
    // Emitted once, when the connection has ended for whatever reason.
    void gone(MemberSession* session);

private:
    void onReadyRead();
    void onDisconnected();
    bool admitByFloodRule();

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
    int m_silentTicks = 0;
    bool m_goneReported = false;
};
