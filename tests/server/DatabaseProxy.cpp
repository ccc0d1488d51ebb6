#include "DatabaseProxy.h"

#include <QList>
#include <QTcpServer>
#include <QTcpSocket>

class DatabaseRelay : public QObject {
public:
    explicit DatabaseRelay(quint16 databasePort)
        : m_databasePort(databasePort)
        , m_listener(new QTcpServer(this)) {
        connect(m_listener, &QTcpServer::newConnection, this, &DatabaseRelay::onNewConnection);
    }

    quint16 listen() { return m_listener->listen(QHostAddress::LocalHost, 0) ? m_listener->serverPort() : 0; }

    void goAway() {
        m_away = true;
        while (!m_links.isEmpty())
            drop(m_links.first().client);
    }
    void hang() { m_hung = true; }
    void comeBack() {
        m_away = false;
        m_hung = false;
        for (const Link& link : QList<Link>(m_links))
            pass(link);
    }

private:
    struct Link {
        QTcpSocket* client;
        QTcpSocket* database;
    };

    void onNewConnection() {
        while (QTcpSocket* client = m_listener->nextPendingConnection()) {
            if (m_away) {
                client->abort();
                client->deleteLater();
                continue;
            }
            auto* database = new QTcpSocket(this);
            const Link link{client, database};
            m_links.append(link);
            for (QTcpSocket* end : {client, database}) {
                connect(end, &QTcpSocket::readyRead, this, [this, link] { pass(link); });
                connect(end, &QTcpSocket::disconnected, this, [this, end] { drop(end); });
            }
            connect(database, &QTcpSocket::connected, this, [this, link] { pass(link); });
            database->connectToHost(QHostAddress::LocalHost, m_databasePort);
        }
    }

    void pass(const Link& link) {
        if (m_hung || link.database->state() != QAbstractSocket::ConnectedState)
            return;
        link.database->write(link.client->readAll());
        link.client->write(link.database->readAll());
    }

    void drop(QTcpSocket* either) {
        for (qsizetype i = 0; i < m_links.size(); ++i) {
            const Link link = m_links.at(i);
            if (link.client != either && link.database != either)
                continue;
            m_links.removeAt(i);
            for (QTcpSocket* end : {link.client, link.database}) {
                end->disconnect(this);
                end->abort();
                end->deleteLater();
            }
            return;
        }
    }

    quint16 m_databasePort;
    QTcpServer* m_listener;
    QList<Link> m_links;
    bool m_away = false;
    bool m_hung = false;
};

DatabaseProxy::DatabaseProxy(quint16 databasePort)
    : m_relay(new DatabaseRelay(databasePort)) {
    m_relay->moveToThread(&m_thread);
    m_thread.start();
    QMetaObject::invokeMethod(
        m_relay, [this] { m_port = m_relay->listen(); }, Qt::BlockingQueuedConnection);
}

DatabaseProxy::~DatabaseProxy() {
    QMetaObject::invokeMethod(
        m_relay, [this] { delete m_relay; }, Qt::BlockingQueuedConnection);
    m_thread.quit();
    m_thread.wait();
}

void DatabaseProxy::onRelayThread(void (DatabaseRelay::*change)()) {
    QMetaObject::invokeMethod(
        m_relay, [this, change] { (m_relay->*change)(); }, Qt::BlockingQueuedConnection);
}

void DatabaseProxy::goAway() {
    onRelayThread(&DatabaseRelay::goAway);
}

void DatabaseProxy::hang() {
    onRelayThread(&DatabaseRelay::hang);
}

void DatabaseProxy::comeBack() {
    onRelayThread(&DatabaseRelay::comeBack);
}
