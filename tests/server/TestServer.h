#pragma once

#include "server/AccountStore.h"
#include "server/ChatRoom.h"
#include "server/ChatServer.h"
#include "server/DatabaseThreads.h"
#include "server/ServerLimits.h"

#include "ServerTestClient.h"

#include "chat/ChatProtocol.h"

#include <QDateTime>
#include <QSqlDatabase>
#include <QTemporaryDir>

#include <memory>

// How the tests write messages: the separator, and a public line as a client sends it.
namespace ServerWire {
inline const QString S = ChatProtocol::Separator;
inline QString msg(const QString& text) {
    return QStringLiteral("MSG") + S + text;
}
// A whole message from its fields, as in wire("LOGIN", "bob", "22").
template <typename... Fields> QString wire(const Fields&... fields) {
    return QStringList{QString(fields)...}.join(S);
}
} // namespace ServerWire

// A chat server in the test process on 127.0.0.1, port 0, with a database of its own and a
// clock the test moves by hand. The database is SQLite in a temporary folder, or with
// Backend::PostgreSql a new database in the cluster named by QUORVEL_TEST_POSTGRES
// ("host:port", as scripts/test sets it), dropped again at the end.
class TestServer {
public:
    enum class Backend { Sqlite, PostgreSql };

    // With proxyPort, the server reaches PostgreSQL through that port (a DatabaseProxy of the
    // test's) while the test's own connections go straight to the cluster.
    explicit TestServer(ServerLimits limits = testLimits(), Backend backend = Backend::Sqlite,
                        quint16 proxyPort = 0);
    ~TestServer();

    static ServerLimits testLimits();
    // Empty when the backend can be used, otherwise why not (for QSKIP).
    static QString unavailable(Backend backend);
    static quint16 postgresPort();
    // A second connection to the same database, opened under the given name, for tests that
    // look at or lock the database behind the server's back.
    QSqlDatabase openSideConnection(const QString& connectionName) const;

    // Tears the server down and starts a new one on the same database file.
    void restart();

    AccountStore& store() { return *m_store; }
    ChatServer& server() { return *m_server; }
    quint16 port() const { return m_server->port(); }
    QString folder() const { return m_dir.path(); }
    QString databasePath() const;
    Backend backend() const { return m_backend; }
    void advance(qint64 seconds) { m_now = m_now.addSecs(seconds); }
    QDateTime now() const { return m_now; }

    void addAccount(const QString& name, const QString& password, bool isOperator = false);

    // Connects, sends LOGIN and waits until the member's own LIST line arrived.
    std::unique_ptr<ServerTestClient> signOn(const QString& name, const QString& password);
    // A new account, signed on at once.
    std::unique_ptr<ServerTestClient>
    signOnNew(const QString& name, const QString& password = QStringLiteral("1"), bool isOperator = false);

    // The usual room: alice (an operator) and bob signed on, each having seen the other arrive,
    // with what they received so far cleared. False when either could not sign on.
    bool signOnAliceAndBob(std::unique_ptr<ServerTestClient>& alice, std::unique_ptr<ServerTestClient>& bob);

private:
    void start();
    AccountStore::Config databaseConfig() const;

    ServerLimits m_limits;
    Backend m_backend;
    QString m_postgresName;
    quint16 m_proxyPort;
    QTemporaryDir m_dir;
    QDateTime m_now = QDateTime(QDate(2026, 3, 1), QTime(12, 0), Qt::UTC);
    std::unique_ptr<AccountStore> m_store;
    std::unique_ptr<DatabaseThreads> m_database;
    std::unique_ptr<ChatServer> m_server;
};
