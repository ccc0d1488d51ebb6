#pragma once

#include <QHostAddress>
#include <QObject>
#include <QString>

class QHttpServer;
class QHttpServerRequest;
class QHttpServerResponder;

// Serves the master lists of the data folder: GET and HEAD of /quorvel/qvllist-<name>.qvl,
// 404 for every other path or method. Only names of that exact shape are looked up, so
// no request can reach a file outside the folder.
class MasterListHttp : public QObject {
    Q_OBJECT
public:
    explicit MasterListHttp(const QString& folder, QObject* parent = nullptr);

    // Returns the port listened on (useful with port 0), or 0 on failure.
    quint16 listen(const QHostAddress& address, quint16 port);

private:
    void respond(const QHttpServerRequest& request, QHttpServerResponder& responder) const;

    QString m_folder;
    QHttpServer* m_http;
};
