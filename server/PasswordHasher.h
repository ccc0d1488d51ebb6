#pragma once

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QThreadPool>

#include <functional>

// Runs password derivations on worker threads: each costs tens of milliseconds by design, which
// on the event loop would be tens of milliseconds of silence for everyone in the room.
class PasswordHasher : public QObject {
    Q_OBJECT
public:
    explicit PasswordHasher(QObject* parent = nullptr);
    // Waits for the derivations still running; their answers are dropped.
    ~PasswordHasher() override;

    // done(hash) runs on this object's thread, and not at all once context is gone.
    void derive(QObject* context, const QString& password, const QByteArray& salt, int iterations,
                std::function<void(const QByteArray&)> done);

private:
    QThreadPool m_pool;
};
