#include "server/PasswordHasher.h"

#include "server/PasswordHash.h"

#include <QPointer>

PasswordHasher::PasswordHasher(QObject* parent)
    : QObject(parent) {
    m_pool.setObjectName(QStringLiteral("password hashing"));
    m_pool.setMaxThreadCount(QThread::idealThreadCount());
}

PasswordHasher::~PasswordHasher() {
    m_pool.clear();
    m_pool.waitForDone();
}

void PasswordHasher::derive(QObject* context, const QString& password, const QByteArray& salt, int iterations,
                            std::function<void(const QByteArray&)> done) {
    m_pool.start(
        [this, context = QPointer<QObject>(context), password, salt, iterations, done = std::move(done)] {
            const QByteArray hash = PasswordHash::derive(password, salt, iterations);
            // This object outlives every task (the destructor waits), so posting to it is safe.
            QMetaObject::invokeMethod(
                this,
                [context, done, hash] {
                    if (context)
                        done(hash);
                },
                Qt::QueuedConnection);
        });
}
