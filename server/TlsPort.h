#pragma once

#include <QHash>
#include <QHostAddress>
#include <QObject>
#include <QString>

#include <functional>

class BudgetedListener;
class DescriptorBudget;
class QSslSocket;
class QTimer;
class TlsCredentials;

// A listening port that speaks TLS: it takes connections, holds each through its handshake and
// hands it on once encrypted. A connection in its handshake already counts against its address,
// together with the owner's established ones; a handshake that is not done within its deadline
// is cut off. Only so many handshakes run at once; newcomers beyond them wait in the kernel's
// queue, so that a crowd of handshakes (each costs a key exchange and a signature on the room's
// thread) takes a bounded share of the event loop.
class TlsPort : public QObject {
    Q_OBJECT
public:
    struct Rules {
        int handshakeMs = 10 * 1000;
        int handshakesAtOnce = 16;
        // Connections per address, handshakes and established together; 0 means no cap.
        int perAddress = 8;
    };
    // How many established connections the owner holds from an address.
    using CountFrom = std::function<int(const QString& address)>;

    TlsPort(const TlsCredentials& credentials, Rules rules, CountFrom establishedFrom,
            QObject* parent = nullptr);

    bool listen(const QHostAddress& address, quint16 port);
    quint16 port() const;
    QString errorString() const;
    void setDescriptorBudget(DescriptorBudget* budget);
    int handshakesUnderWay() const { return int(m_underWay.size()); }

signals:
    // The handshake succeeded. The taker owns the socket from here (and reparents it).
    void encrypted(QSslSocket* socket);
    // A connection ended before it was encrypted: refused, failed or too slow.
    void handshakeFailed(const QString& address);

private:
    void onNewConnection();
    void start(QSslSocket* socket, const QString& address);
    void finish(QSslSocket* socket, bool succeeded);

    const TlsCredentials& m_credentials;
    Rules m_rules;
    CountFrom m_establishedFrom;
    BudgetedListener* m_listener;
    struct Handshake {
        QString address;
        QTimer* deadline;
    };
    QHash<QSslSocket*, Handshake> m_underWay;
    QHash<QString, int> m_handshakesFrom;
};
