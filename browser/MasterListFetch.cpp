#include "browser/MasterListFetch.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>

namespace {

bool answered(const QNetworkReply* reply) {
    return reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).isValid();
}

bool succeeded(const QNetworkReply* reply) {
    const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    return status >= 200 && status < 300;
}

} // namespace

MasterListFetch::MasterListFetch(QObject* parent)
    : QObject(parent)
    , m_manager(new QNetworkAccessManager(this)) {}

QNetworkReply* MasterListFetch::start(bool headOnly) {
    cancel();
    QNetworkRequest request(m_lastUrl);
    request.setTransferTimeout(TimeoutMs);
    QNetworkReply* reply = headOnly ? m_manager->head(request) : m_manager->get(request);
    m_reply = reply;
    return reply;
}

void MasterListFetch::finish(QNetworkReply* reply) {
    if (m_reply == reply)
        m_reply.clear();
    reply->deleteLater();
}

void MasterListFetch::get(const QUrl& url) {
    m_lastUrl = url;
    QNetworkReply* reply = start(false);
    connect(reply, &QNetworkReply::downloadProgress, this, [this](qint64 received, qint64 total) {
        if (received > MaxBodyBytes || total > MaxBodyBytes) {
            cancel();
            Q_EMIT unreachable(QStringLiteral("The master list is larger than %1 MB; it was not fetched.")
                                   .arg(MaxBodyBytes / (1024 * 1024)));
            return;
        }
        Q_EMIT progress(received, total);
    });
    connect(reply, &QNetworkReply::finished, this, [this, reply] {
        finish(reply);
        if (!answered(reply)) {
            Q_EMIT unreachable(reply->errorString());
            return;
        }
        Q_EMIT bodyArrived(succeeded(reply) ? reply->readAll() : QByteArray());
    });
}

void MasterListFetch::head() {
    if (m_lastUrl.isEmpty())
        return;
    QNetworkReply* reply = start(true);
    connect(reply, &QNetworkReply::finished, this, [this, reply] {
        finish(reply);
        Q_EMIT sizeArrived(succeeded(reply) ? QString::fromLatin1(reply->rawHeader("Content-Length"))
                                            : QString());
    });
}

void MasterListFetch::cancel() {
    if (m_reply.isNull())
        return;
    QNetworkReply* reply = m_reply;
    m_reply.clear();
    reply->disconnect(this);
    reply->abort();
    reply->deleteLater();
}
