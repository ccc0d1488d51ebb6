#pragma once

#include <QObject>
#include <QPointer>
#include <QUrl>

class QNetworkAccessManager;
class QNetworkReply;

// One master-list request at a time: the body with GET, then its size with HEAD on the same URL.
// Every request ends on its own: a host that never answers is given up after TimeoutMs.
class MasterListFetch : public QObject {
    Q_OBJECT
public:
    static constexpr int TimeoutMs = 20000;
    // Far beyond any real list; a body that goes on past it is refused rather than held in memory.
    static constexpr qint64 MaxBodyBytes = 16 * 1024 * 1024;

    explicit MasterListFetch(QObject* parent = nullptr);

    // Cancels what runs and asks for the body of url.
    void get(const QUrl& url);
    // Asks for the headers of the URL used last; nothing when none was used yet.
    void head();
    // Ends the running request without a signal.
    void cancel();
    bool isRunning() const { return !m_reply.isNull(); }
    QUrl lastUrl() const { return m_lastUrl; }

Q_SIGNALS:
    // The server answered. A status other than success gives an empty body.
    void bodyArrived(const QByteArray& body);
    // No answer at all (refused, unknown host, timed out): the reason, for the person.
    void unreachable(const QString& reason);
    void progress(qint64 received, qint64 total);
    // The Content-Length of the HEAD answer; empty when missing or when there was no answer.
    void sizeArrived(const QString& contentLength);

private:
    QNetworkReply* start(bool headOnly);
    void finish(QNetworkReply* reply);

    QNetworkAccessManager* m_manager;
    QPointer<QNetworkReply> m_reply;
    QUrl m_lastUrl;
};
