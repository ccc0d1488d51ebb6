#pragma once

#include <QThread>

class DatabaseRelay;

// Stands between the server and a real database on 127.0.0.1 and passes bytes both ways, until
// the test makes the database go away (every connection dropped, new ones refused, as while it
// restarts) or hang (connections accepted and kept, nothing passed on, as when its processes
// are stopped). It runs on a thread of its own: the server opens its connections while the
// test's thread waits.
class DatabaseProxy {
public:
    explicit DatabaseProxy(quint16 databasePort);
    ~DatabaseProxy();
    DatabaseProxy(const DatabaseProxy&) = delete;
    DatabaseProxy& operator=(const DatabaseProxy&) = delete;

    quint16 port() const { return m_port; }
    void goAway();
    void hang();
    // Back to passing everything on, what was held up included.
    void comeBack();

private:
    void onRelayThread(void (DatabaseRelay::*change)());

    QThread m_thread;
    DatabaseRelay* m_relay;
    quint16 m_port = 0;
};
