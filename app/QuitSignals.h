#pragma once

#include <QObject>

class QSocketNotifier;

// Turns SIGINT, SIGTERM and SIGHUP into a Qt signal on the event loop, so that the end of a desktop
// session, a service manager or Ctrl+C in a terminal leaves the program as its Exit command does,
// with the settings saved. Does nothing where there are no such signals (Windows).
class QuitSignals : public QObject {
    Q_OBJECT
public:
    explicit QuitSignals(QObject* parent = nullptr);
    ~QuitSignals() override;

Q_SIGNALS:
    void received();

private:
    QSocketNotifier* m_notifier = nullptr;
};
