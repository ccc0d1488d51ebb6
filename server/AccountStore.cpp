#include "server/AccountStore.h"

#include "server/NameRules.h"
#include "server/PasswordHash.h"

#include <QAtomicInt>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QVariant>

namespace {

constexpr int CurrentSchemaVersion = 2;

QAtomicInt connectionCounter;

// Times are kept as UTC ISO text with milliseconds: they sort as text in every SQL dialect.
QString timeText(const QDateTime& when) {
    return when.toUTC().toString(Qt::ISODateWithMs);
}

QDateTime timeFrom(const QVariant& value) {
    QDateTime when = QDateTime::fromString(value.toString(), Qt::ISODateWithMs);
    when.setTimeSpec(Qt::UTC);
    return when;
}

} // namespace

AccountStore::AccountStore(Config config)
    : m_config(std::move(config))
    , m_connection(QStringLiteral("quorvel-store-%1").arg(connectionCounter.fetchAndAddRelaxed(1))) {}

AccountStore::~AccountStore() {
    {
        QSqlDatabase db = QSqlDatabase::database(m_connection, false);
        if (db.isValid())
            db.close();
    }
    QSqlDatabase::removeDatabase(m_connection);
}

bool AccountStore::open(QString* error) {
    QSqlDatabase db = QSqlDatabase::addDatabase(m_config.driver, m_connection);
    db.setDatabaseName(m_config.databaseName);
    if (!m_config.host.isEmpty())
        db.setHostName(m_config.host);
    if (m_config.port > 0)
        db.setPort(m_config.port);
    if (!m_config.user.isEmpty())
        db.setUserName(m_config.user);
    if (!m_config.password.isEmpty())
        db.setPassword(m_config.password);
    if (m_config.driver == QLatin1String("QPSQL")) {
        // A database that accepts the connection and then never answers (a stopped process)
        // must not hold a reconnecting thread for good; keep-alives find a peer that vanished.
        db.setConnectOptions(
            QStringLiteral("connect_timeout=5;keepalives_idle=10;keepalives_interval=5;keepalives_count=3"));
    }
    if (!connectDatabase(error))
        return false;
    const int version = schemaVersion();
    if (version < CurrentSchemaVersion && !createSchema(version)) {
        if (error)
            *error = db.lastError().text();
        return false;
    }
    return true;
}

bool AccountStore::connectDatabase(QString* error) {
    QSqlDatabase db = QSqlDatabase::database(m_connection, false);
    if (!db.open()) {
        if (error)
            *error = db.lastError().text();
        return false;
    }
    QStringList settings;
    if (m_config.driver == QLatin1String("QSQLITE")) {
        // WAL with full sync: a committed transaction is on disk before commit() returns.
        // Readers never wait for a writer in WAL mode; a writer waits lockWaitMs for another.
        settings << QStringLiteral("PRAGMA journal_mode=WAL") << QStringLiteral("PRAGMA synchronous=FULL")
                 << QStringLiteral("PRAGMA busy_timeout=%1").arg(m_config.lockWaitMs);
    } else if (m_config.driver == QLatin1String("QPSQL")) {
        settings << QStringLiteral("SET lock_timeout = %1").arg(m_config.lockWaitMs);
    }
    QSqlQuery setting(db);
    for (const QString& statement : std::as_const(settings)) {
        if (!setting.exec(statement)) {
            if (error)
                *error = setting.lastError().text();
            db.close();
            return false;
        }
    }
    return true;
}

bool AccountStore::isConnected() const {
    return QSqlDatabase::database(m_connection, false).isOpen();
}

bool AccountStore::reconnectIfLost() {
    QSqlDatabase db = QSqlDatabase::database(m_connection, false);
    if (db.isOpen() && QSqlQuery(db).exec(QStringLiteral("SELECT 1")))
        return true;
    // Said once per outage: the tries after this one find the connection closed and stay quiet
    // until one succeeds.
    if (db.isOpen()) {
        qWarning("quorvel-server: database: the connection was lost; connecting again");
        db.close();
    }
    if (!connectDatabase(nullptr))
        return false;
    qInfo("quorvel-server: database: connected again");
    return true;
}

int AccountStore::schemaVersion() const {
    QSqlDatabase db = QSqlDatabase::database(m_connection, false);
    if (!db.tables().contains(QStringLiteral("schema_version")))
        return 0;
    QSqlQuery query(db);
    if (!query.exec(QStringLiteral("SELECT version FROM schema_version")) || !query.next())
        return 0;
    return query.value(0).toInt();
}

bool AccountStore::createSchema(int fromVersion) {
    return inTransaction([&] {
        QSqlQuery query(QSqlDatabase::database(m_connection, false));
        QStringList steps;
        if (fromVersion < 1) {
            steps
                << QStringLiteral("CREATE TABLE schema_version (version INTEGER NOT NULL)")
                << QStringLiteral("INSERT INTO schema_version (version) VALUES (0)")
                << QStringLiteral(
                       "CREATE TABLE accounts ("
                       " name_key VARCHAR(80) PRIMARY KEY, name VARCHAR(80) NOT NULL,"
                       " salt VARCHAR(64) NOT NULL, hash VARCHAR(128) NOT NULL, iterations INTEGER NOT NULL,"
                       " address VARCHAR(64) NOT NULL, age VARCHAR(16), email VARCHAR(128),"
                       " website VARCHAR(256), hobbies VARCHAR(512), created VARCHAR(32) NOT NULL,"
                       " last_seen VARCHAR(32), is_operator INTEGER NOT NULL DEFAULT 0)")
                << QStringLiteral("CREATE INDEX accounts_by_address ON accounts (address)")
                << QStringLiteral("CREATE TABLE bans ("
                                  " kind VARCHAR(16) NOT NULL, name_key VARCHAR(80), address VARCHAR(64),"
                                  " expires VARCHAR(32))")
                << QStringLiteral("CREATE TABLE news ("
                                  " author VARCHAR(80) NOT NULL, headline VARCHAR(1024), body VARCHAR(8192),"
                                  " posted VARCHAR(32) NOT NULL)");
        }
        if (fromVersion < 2) {
            steps << QStringLiteral("ALTER TABLE accounts ADD COLUMN look_key VARCHAR(80)")
                  << QStringLiteral("CREATE INDEX accounts_by_look ON accounts (look_key)");
        }
        // Later versions append their steps here, each guarded by fromVersion.
        for (const QString& step : steps) {
            if (!query.exec(step))
                return false;
        }
        if (fromVersion < 2 && !fillLookAlikeKeys())
            return false;
        query.prepare(QStringLiteral("UPDATE schema_version SET version = ?"));
        query.addBindValue(CurrentSchemaVersion);
        return exec(query);
    });
}

bool AccountStore::fillLookAlikeKeys() {
    QSqlQuery query(QSqlDatabase::database(m_connection, false));
    if (!query.exec(QStringLiteral("SELECT name_key, name FROM accounts")))
        return false;
    QList<std::pair<QString, QString>> keys;
    while (query.next())
        keys.append({query.value(0).toString(), NameRules::lookAlikeKey(query.value(1).toString())});
    query.prepare(QStringLiteral("UPDATE accounts SET look_key = ? WHERE name_key = ?"));
    for (const auto& [nameKey, lookKey] : std::as_const(keys)) {
        query.addBindValue(lookKey);
        query.addBindValue(nameKey);
        if (!query.exec())
            return false;
    }
    return true;
}

bool AccountStore::exec(QSqlQuery& query) const {
    // A statement the database would not prepare (PostgreSQL gives up on a locked table while it
    // prepares) must not run: it would go out without a name and hide the real cause.
    if (!query.lastError().isValid() && query.exec())
        return true;
    m_failed = true;
    qWarning("quorvel-server: database: %s", qPrintable(query.lastError().text()));
    return false;
}

bool AccountStore::inTransaction(const std::function<bool()>& work) {
    QSqlDatabase db = QSqlDatabase::database(m_connection, false);
    if (!db.transaction()) {
        m_failed = true;
        return false;
    }
    if (!work()) {
        db.rollback();
        return false;
    }
    if (db.commit())
        return true;
    // A refused commit (another connection's lock) leaves the transaction open: end it.
    m_failed = true;
    qWarning("quorvel-server: database: %s", qPrintable(db.lastError().text()));
    db.rollback();
    return false;
}

AccountStore::CreateResult AccountStore::createAccount(const NewAccount& account, int accountsPerAddress,
                                                       const QDateTime& now) {
    return createAccount(account, PasswordHash::make(account.password, m_config.hashIterations),
                         accountsPerAddress, now);
}

AccountStore::CreateResult AccountStore::checkNewAccount(const QString& name, const QString& address,
                                                         int accountsPerAddress, QString* lookalike) const {
    QSqlQuery query(QSqlDatabase::database(m_connection, false));
    query.prepare(QStringLiteral("SELECT COUNT(*) FROM accounts WHERE name_key = ?"));
    query.addBindValue(NameRules::key(name));
    if (!exec(query) || !query.next())
        return CreateResult::Failed;
    if (query.value(0).toInt() > 0)
        return CreateResult::NameTaken;
    query.prepare(QStringLiteral("SELECT name FROM accounts WHERE look_key = ?"));
    query.addBindValue(NameRules::lookAlikeKey(name));
    if (!exec(query))
        return CreateResult::Failed;
    if (query.next()) {
        if (lookalike)
            *lookalike = query.value(0).toString();
        return CreateResult::NameLooksTaken;
    }
    if (accountsPerAddress > 0) {
        query.prepare(QStringLiteral("SELECT COUNT(*) FROM accounts WHERE address = ?"));
        query.addBindValue(address.isNull() ? QStringLiteral("") : address);
        if (!exec(query) || !query.next())
            return CreateResult::Failed;
        if (query.value(0).toInt() >= accountsPerAddress)
            return CreateResult::TooManyForAddress;
    }
    return CreateResult::Created;
}

AccountStore::CreateResult AccountStore::createAccount(const NewAccount& account,
                                                       const PasswordHash::Stored& password,
                                                       int accountsPerAddress, const QDateTime& now) {
    CreateResult result = CreateResult::Failed;
    const bool committed = inTransaction([&] {
        result = checkNewAccount(account.name, account.address, accountsPerAddress);
        if (result != CreateResult::Created)
            return false;
        QSqlQuery query(QSqlDatabase::database(m_connection, false));
        query.prepare(
            QStringLiteral("INSERT INTO accounts (name_key, look_key, name, salt, hash, iterations, address,"
                           " age, email, website, hobbies, created) VALUES (?,?,?,?,?,?,?,?,?,?,?,?)"));
        query.addBindValue(NameRules::key(account.name));
        query.addBindValue(NameRules::lookAlikeKey(account.name));
        query.addBindValue(account.name);
        query.addBindValue(QString::fromLatin1(password.salt.toBase64()));
        query.addBindValue(QString::fromLatin1(password.hash.toBase64()));
        query.addBindValue(password.iterations);
        query.addBindValue(account.address.isNull() ? QStringLiteral("") : account.address);
        query.addBindValue(account.age);
        query.addBindValue(account.email);
        query.addBindValue(account.website);
        query.addBindValue(account.hobbies);
        query.addBindValue(timeText(now));
        if (!exec(query)) {
            result = CreateResult::Failed;
            return false;
        }
        return true;
    });
    if (committed)
        return CreateResult::Created;
    return result == CreateResult::Created ? CreateResult::Failed : result;
}

std::optional<AccountStore::Credentials> AccountStore::credentials(const QString& name) const {
    QSqlQuery query(QSqlDatabase::database(m_connection, false));
    query.prepare(QStringLiteral("SELECT name, salt, hash, iterations FROM accounts WHERE name_key = ?"));
    query.addBindValue(NameRules::key(name));
    if (!exec(query) || !query.next())
        return std::nullopt;
    return Credentials{query.value(0).toString(),
                       {QByteArray::fromBase64(query.value(1).toString().toLatin1()),
                        QByteArray::fromBase64(query.value(2).toString().toLatin1()),
                        query.value(3).toInt()}};
}

std::optional<QString> AccountStore::verify(const QString& name, const QString& password) const {
    const std::optional<Credentials> account = credentials(name);
    if (!account ||
        !PasswordHash::matches(account->password.hash, PasswordHash::derive(password, account->password.salt,
                                                                            account->password.iterations)))
        return std::nullopt;
    return account->name;
}

bool AccountStore::accountExists(const QString& name) const {
    QSqlQuery query(QSqlDatabase::database(m_connection, false));
    query.prepare(QStringLiteral("SELECT COUNT(*) FROM accounts WHERE name_key = ?"));
    query.addBindValue(NameRules::key(name));
    return exec(query) && query.next() && query.value(0).toInt() > 0;
}

bool AccountStore::isOperator(const QString& name) const {
    QSqlQuery query(QSqlDatabase::database(m_connection, false));
    query.prepare(QStringLiteral("SELECT is_operator FROM accounts WHERE name_key = ?"));
    query.addBindValue(NameRules::key(name));
    return exec(query) && query.next() && query.value(0).toInt() != 0;
}

bool AccountStore::setOperator(const QString& name, bool isOperator) {
    if (!accountExists(name))
        return false;
    return inTransaction([&] {
        QSqlQuery query(QSqlDatabase::database(m_connection, false));
        query.prepare(QStringLiteral("UPDATE accounts SET is_operator = ? WHERE name_key = ?"));
        query.addBindValue(isOperator ? 1 : 0);
        query.addBindValue(NameRules::key(name));
        return exec(query);
    });
}

QStringList AccountStore::operators() const {
    QStringList names;
    QSqlQuery query(QSqlDatabase::database(m_connection, false));
    query.prepare(QStringLiteral("SELECT name FROM accounts WHERE is_operator <> 0 ORDER BY name_key"));
    if (exec(query)) {
        while (query.next())
            names.append(query.value(0).toString());
    }
    return names;
}

bool AccountStore::recordSeen(const QString& name, const QDateTime& when) {
    return inTransaction([&] {
        QSqlQuery query(QSqlDatabase::database(m_connection, false));
        query.prepare(QStringLiteral("UPDATE accounts SET last_seen = ? WHERE name_key = ?"));
        query.addBindValue(timeText(when));
        query.addBindValue(NameRules::key(name));
        return exec(query);
    });
}

std::optional<QDateTime> AccountStore::lastSeen(const QString& name) const {
    QSqlQuery query(QSqlDatabase::database(m_connection, false));
    query.prepare(QStringLiteral("SELECT last_seen FROM accounts WHERE name_key = ?"));
    query.addBindValue(NameRules::key(name));
    if (!exec(query) || !query.next() || query.value(0).isNull())
        return std::nullopt;
    return timeFrom(query.value(0));
}

bool AccountStore::addBan(BanKind kind, const QString& name, const QString& address,
                          const std::optional<QDateTime>& expires) {
    return inTransaction([&] {
        QSqlQuery query(QSqlDatabase::database(m_connection, false));
        query.prepare(QStringLiteral("INSERT INTO bans (kind, name_key, address, expires) VALUES (?,?,?,?)"));
        query.addBindValue(banKindText(kind));
        query.addBindValue(NameRules::key(name));
        query.addBindValue(address);
        query.addBindValue(expires ? QVariant(timeText(*expires)) : QVariant(QMetaType(QMetaType::QString)));
        return exec(query);
    });
}

bool AccountStore::isBanned(const QString& name, const QString& address, const QString& subnet,
                            const QDateTime& now) const {
    QSqlQuery query(QSqlDatabase::database(m_connection, false));
    // An operator shares his address or network with the members he bans often enough (one
    // connection at home, a LAN party): only a ban on his own name keeps him out.
    query.prepare(QStringLiteral("SELECT COUNT(*) FROM bans WHERE (expires IS NULL OR expires > ?) AND ("
                                 " (kind IN ('timed', 'permanent') AND name_key = ?)"
                                 " OR (NOT EXISTS (SELECT 1 FROM accounts WHERE name_key = ? AND is_operator <> 0)"
                                 "  AND ((kind IN ('timed', 'permanent') AND address = ?)"
                                 "   OR (kind = 'subnet' AND address = ?))))"));
    query.addBindValue(timeText(now));
    query.addBindValue(NameRules::key(name));
    query.addBindValue(NameRules::key(name));
    query.addBindValue(address);
    query.addBindValue(subnet);
    return exec(query) && query.next() && query.value(0).toInt() > 0;
}

bool AccountStore::hasActiveBan(BanKind kind, const QString& name, const QDateTime& now) const {
    QSqlQuery query(QSqlDatabase::database(m_connection, false));
    query.prepare(QStringLiteral(
        "SELECT COUNT(*) FROM bans WHERE kind = ? AND name_key = ? AND (expires IS NULL OR expires > ?)"));
    query.addBindValue(banKindText(kind));
    query.addBindValue(NameRules::key(name));
    query.addBindValue(timeText(now));
    return exec(query) && query.next() && query.value(0).toInt() > 0;
}

int AccountStore::clearBans(BanKind kind) {
    int removed = -1;
    inTransaction([&] {
        QSqlQuery query(QSqlDatabase::database(m_connection, false));
        query.prepare(QStringLiteral("DELETE FROM bans WHERE kind = ?"));
        query.addBindValue(banKindText(kind));
        if (!exec(query))
            return false;
        removed = query.numRowsAffected();
        return true;
    });
    return removed;
}

bool AccountStore::postNews(const NewsItem& item) {
    return inTransaction([&] {
        QSqlQuery query(QSqlDatabase::database(m_connection, false));
        query.prepare(QStringLiteral("INSERT INTO news (author, headline, body, posted) VALUES (?,?,?,?)"));
        query.addBindValue(item.author);
        query.addBindValue(item.headline);
        query.addBindValue(item.body);
        query.addBindValue(timeText(item.posted));
        return exec(query);
    });
}

std::optional<AccountStore::NewsItem> AccountStore::latestNews() const {
    QSqlQuery query(QSqlDatabase::database(m_connection, false));
    query.prepare(
        QStringLiteral("SELECT author, headline, body, posted FROM news ORDER BY posted DESC LIMIT 1"));
    if (!exec(query) || !query.next())
        return std::nullopt;
    return NewsItem{query.value(0).toString(), query.value(1).toString(), query.value(2).toString(),
                    timeFrom(query.value(3))};
}
