#pragma once

#include "server/BanKind.h"
#include "server/PasswordHash.h"

#include <QDateTime>
#include <QString>
#include <QStringList>

#include <functional>
#include <optional>

class QSqlQuery;

// Everything the server keeps between runs: accounts, operators, bans, last-seen times, news.
// The only class that speaks SQL. SQLite by default; another QtSql driver (QPSQL) is chosen by
// configuration. Every change runs in a transaction that is committed before the caller
// acknowledges it, so an acknowledged change survives the process being killed.
class AccountStore {
public:
    struct Config {
        QString driver = QStringLiteral("QSQLITE");
        QString databaseName;
        // Only read for drivers other than QSQLITE.
        QString host;
        int port = 0; // 0: the driver's default
        QString user;
        QString password;
        int hashIterations = PasswordHash::DefaultIterations;
        // How long one statement waits for another connection's lock before it fails; the
        // caller retries later instead of holding its thread.
        int lockWaitMs = 5000;
    };

    struct NewAccount {
        QString name;
        QString password;
        QString age;
        QString email;
        QString website;
        QString hobbies;
        QString address;
    };

    // NameLooksTaken: another account's name looks the same (NameRules::lookAlikeKey).
    enum class CreateResult { Created, NameTaken, NameLooksTaken, TooManyForAddress, Failed };

    struct Credentials {
        QString name; // the account's own spelling
        PasswordHash::Stored password;
    };

    struct NewsItem {
        QString author;
        QString headline;
        QString body;
        QDateTime posted;
    };

    explicit AccountStore(Config config);
    ~AccountStore();
    AccountStore(const AccountStore&) = delete;
    AccountStore& operator=(const AccountStore&) = delete;

    // Opens the database and creates or upgrades the schema. False (with the reason) on failure.
    bool open(QString* error);
    // After a failure: when the connection no longer answers (the database restarted or went
    // away), opens it again. True when the connection answers now.
    bool reconnectIfLost();
    bool isConnected() const;
    int schemaVersion() const;
    int hashIterations() const { return m_config.hashIterations; }

    // Whether a statement failed (as opposed to finding nothing) since the last clearFailure().
    bool failed() const { return m_failed; }
    void clearFailure() { m_failed = false; }

    // accountsPerAddress 0 means no cap. The first form hashes the password itself.
    CreateResult createAccount(const NewAccount& account, int accountsPerAddress, const QDateTime& now);
    CreateResult createAccount(const NewAccount& account, const PasswordHash::Stored& password,
                               int accountsPerAddress, const QDateTime& now);
    // Created when nothing stands in the way of creating the account now. With NameLooksTaken,
    // the name it looks like goes to lookalike.
    CreateResult checkNewAccount(const QString& name, const QString& address, int accountsPerAddress,
                                 QString* lookalike = nullptr) const;
    std::optional<Credentials> credentials(const QString& name) const;
    // The account's own spelling when the name and password match one, nothing otherwise.
    std::optional<QString> verify(const QString& name, const QString& password) const;
    bool accountExists(const QString& name) const;

    bool isOperator(const QString& name) const;
    bool setOperator(const QString& name, bool isOperator);
    QStringList operators() const;

    bool recordSeen(const QString& name, const QDateTime& when);
    std::optional<QDateTime> lastSeen(const QString& name) const;

    // name is the account name (or empty), address the IPv4/IPv6 text or, for a subnet ban, its prefix.
    bool addBan(BanKind kind, const QString& name, const QString& address,
                const std::optional<QDateTime>& expires);
    // Bans on an address or subnet pass over operators' accounts; a ban on the name does not.
    bool isBanned(const QString& name, const QString& address, const QString& subnet,
                  const QDateTime& now) const;
    bool hasActiveBan(BanKind kind, const QString& name, const QDateTime& now) const;
    // Returns the number of bans removed, or -1 on failure.
    int clearBans(BanKind kind);

    bool postNews(const NewsItem& item);
    std::optional<NewsItem> latestNews() const;

private:
    // Opens the connection and applies the settings each new connection needs.
    bool connectDatabase(QString* error);
    bool exec(QSqlQuery& query) const;
    bool inTransaction(const std::function<bool()>& work);
    bool createSchema(int fromVersion);
    bool fillLookAlikeKeys();

    Config m_config;
    QString m_connection;
    mutable bool m_failed = false;
};
