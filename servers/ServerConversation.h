#pragma once

#include "servers/ServerAnswer.h"
#include "servers/SourceExchange.h"

#include <QByteArray>
#include <QList>
#include <QString>

// The questions the live list asks one server of a game, without the socket: what to send first,
// what to send again when nothing came back, and what each datagram from the server tells.
// Kingpin and RTCW answer their one status request. A Half-Life server is asked the old way
// ("info") and today's way (A2S_INFO) at once, and whichever answers is followed: waiting a
// second for each silent "info" would make a list of today's servers take as many seconds.
// Once a server has handed out its challenge, its info and its players are asked together.
class ServerConversation {
public:
    explicit ServerConversation(const QString& gameKey);

    // The first requests; empty for a key that is not a game.
    QList<QByteArray> start();
    // What the last step sent, to send again after a silence.
    const QList<QByteArray>& lastRequests() const { return m_last; }

    struct Step {
        bool useful = false;    // the datagram answered something (else it is passed over)
        QList<QByteArray> send; // the next requests
        bool finished = false;  // nothing more to ask
    };
    Step receive(const QByteArray& datagram);

    const ServerAnswer& answer() const { return m_answer; }
    ServerAnswer& answer() { return m_answer; }

private:
    Step quakeFamily(const QByteArray& datagram);
    Step halfLife(const QByteArray& datagram);
    void takeInfo(const ServerStatus& status);

    QString m_game;
    SourceExchange m_exchange;
    QList<QByteArray> m_last;
    ServerAnswer m_answer;
    bool m_havePlayers = false;
    bool m_playersAsked = false; // with the challenge, beside the info
};
