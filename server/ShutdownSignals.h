#pragma once

#include <QObject>

class QSocketNotifier;

// Turns SIGINT and SIGTERM into requested() and SIGHUP into reloadRequested(). The handler only
// writes the signal's number as one byte into a socket pair (async-signal-safe); the event loop
// reads it and emits. SIGHUP, whose default would end the process, is what service managers send
// for a reload (systemd's ExecReload, logrotate, certbot's deploy hooks).
class ShutdownSignals : public QObject {
    Q_OBJECT
public:
    explicit ShutdownSignals(QObject* parent = nullptr);
    ~ShutdownSignals() override;

signals:
    void requested();
    void reloadRequested();

private:
    static void handle(int signal);
    void onReadable();

    QSocketNotifier* m_notifier = nullptr;
};
