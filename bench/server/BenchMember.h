#pragma once

#include <QByteArray>
#include <QObject>
#include <QSslSocket>

// One member of the benchmark room, on either chat protocol: signs on, answers keep-alives,
// and counts the room lines it receives. Lines are reassembled across reads before counting.
// On Quorvel it also counts the lines the real client would have dropped: those behind a
// read-ending message in the same read.
class BenchMember : public QObject {
    Q_OBJECT
public:
    enum class Protocol { Quorvel, Irc };

    BenchMember(Protocol protocol, const QString& name, QObject* parent = nullptr);

    // Over TLS the member signs on once the handshake is done (the certificate is not checked:
    // the benchmark measures the server's cost, not trust).
    void connectTo(quint16 port, bool tls = false);
    // One room line; CR LF ended so that lines merged by TCP still split on the server.
    void say(const QByteArray& text);

    bool isReady() const { return m_ready; }
    qint64 roomLines() const { return m_roomLines; }
    qint64 lostToReadRules() const { return m_lostToReadRules; }
    bool hasFailed() const { return m_failed; }

signals:
    void ready();
    void roomLine(const QByteArray& line);

private:
    void onConnected();
    void onReadyRead();
    void handleLine(const QByteArray& line);

    Protocol m_protocol;
    QByteArray m_name;
    QSslSocket m_socket;
    QByteArray m_partial;
    bool m_ready = false;
    bool m_failed = false;
    qint64 m_roomLines = 0;
    qint64 m_lostToReadRules = 0;
    bool m_readEnded = false;
};
