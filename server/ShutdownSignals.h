#pragma once

#include <QObject>

class QSocketNotifier;

// Turns SIGINT and SIGTERM into a Qt signal. The handler only writes one byte into a socket
// pair (async-signal-safe); the event loop reads it and emits requested().
class ShutdownSignals : public QObject {
    Q_OBJECT
public:
    explicit ShutdownSignals(QObject* parent = nullptr);
    ~ShutdownSignals() override;

signals:
    void requested();

private:
    static void handle(int signal);
    void onReadable();

    QSocketNotifier* m_notifier = nullptr;
};
