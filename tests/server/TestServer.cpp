#include "TestServer.h"

#include <QAtomicInt>
#include <QCoreApplication>
#include <QDir>
#include <QSqlError>
#include <QSqlQuery>

namespace {

const char* const PostgresVariable = "QUORVEL_TEST_POSTGRES";
const QString PostgresUser = QStringLiteral("quorvel");
QAtomicInt postgresCounter;

void setPostgresAddress(QSqlDatabase& db) {
    const QStringList hostAndPort = qEnvironmentVariable(PostgresVariable).split(u':');
    db.setHostName(hostAndPort.value(0));
    db.setPort(hostAndPort.value(1).toInt());
    db.setUserName(PostgresUser);
}

// Runs one statement on the cluster's maintenance database (CREATE and DROP DATABASE).
bool onPostgresCluster(const QString& statement) {
    const QString connection = QStringLiteral("quorvel-test-cluster");
    bool done = false;
    {
        QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QPSQL"), connection);
        setPostgresAddress(db);
        db.setDatabaseName(QStringLiteral("postgres"));
        QSqlQuery query(db);
        done = db.open() && query.exec(statement);
        if (!done)
            qWarning("PostgreSQL: %s %s", qPrintable(db.lastError().text()),
                     qPrintable(query.lastError().text()));
    }
    QSqlDatabase::removeDatabase(connection);
    return done;
}

} // namespace

TestServer::TestServer(ServerLimits limits, Backend backend, quint16 proxyPort)
    : m_limits(limits)
    , m_backend(backend)
    , m_proxyPort(proxyPort) {
    if (m_backend == Backend::PostgreSql) {
        m_postgresName = QStringLiteral("quorvel_test_%1_%2")
                             .arg(QCoreApplication::applicationPid())
                             .arg(postgresCounter.fetchAndAddRelaxed(1));
        if (!onPostgresCluster(QStringLiteral("CREATE DATABASE %1").arg(m_postgresName)))
            qFatal("cannot create the test database %s", qPrintable(m_postgresName));
    }
    start();
}

TestServer::~TestServer() {
    m_server.reset();
    m_database.reset();
    m_store.reset();
    if (m_backend == Backend::PostgreSql)
        onPostgresCluster(QStringLiteral("DROP DATABASE %1 WITH (FORCE)").arg(m_postgresName));
}

QString TestServer::unavailable(Backend backend) {
    if (backend == Backend::Sqlite)
        return {};
    if (!QSqlDatabase::isDriverAvailable(QStringLiteral("QPSQL")))
        return QStringLiteral("the Qt PostgreSQL driver is not installed (libqt6sql6-psql)");
    if (qEnvironmentVariableIsEmpty(PostgresVariable))
        return QStringLiteral("no PostgreSQL cluster: %1 is not set (scripts/test starts one)")
            .arg(QLatin1String(PostgresVariable));
    return {};
}

quint16 TestServer::postgresPort() {
    return quint16(qEnvironmentVariable(PostgresVariable).section(u':', 1).toUInt());
}

AccountStore::Config TestServer::databaseConfig() const {
    AccountStore::Config config;
    config.hashIterations = 1000; // the cost is the production default's business, not the tests'
    if (m_backend == Backend::Sqlite) {
        config.databaseName = databasePath();
        return config;
    }
    config.driver = QStringLiteral("QPSQL");
    const QStringList hostAndPort = qEnvironmentVariable(PostgresVariable).split(u':');
    config.host = hostAndPort.value(0);
    config.port = hostAndPort.value(1).toInt();
    config.user = PostgresUser;
    config.databaseName = m_postgresName;
    return config;
}

QSqlDatabase TestServer::openSideConnection(const QString& connectionName) const {
    const AccountStore::Config config = databaseConfig();
    QSqlDatabase db = QSqlDatabase::addDatabase(config.driver, connectionName);
    db.setDatabaseName(config.databaseName);
    if (m_backend == Backend::PostgreSql)
        setPostgresAddress(db);
    db.open();
    return db;
}

ServerLimits TestServer::testLimits() {
    ServerLimits limits;
    // Long enough that no keep-alive runs unless a test asks for it; the clock is manual, so
    // flood windows only pass when a test moves time.
    limits.keepAliveMs = 60 * 60 * 1000;
    limits.floodLines = 1000;
    limits.connectionsPerAddress = 50;
    // Tests sign the same members on and off in quick succession.
    limits.signOnAgainMs = 0;
    limits.signOnsPerAddressPerMinute = 0;
    return limits;
}

QString TestServer::databasePath() const {
    return QDir(m_dir.path()).filePath(QStringLiteral("quorvel.sqlite"));
}

void TestServer::start() {
    const AccountStore::Config config = databaseConfig();
    m_store = std::make_unique<AccountStore>(config);
    QString error;
    if (!m_store->open(&error))
        qFatal("test database: %s", qPrintable(error));
    AccountStore::Config serverConfig = config;
    if (m_proxyPort != 0)
        serverConfig.port = m_proxyPort;
    m_database = std::make_unique<DatabaseThreads>(serverConfig, 1000);
    if (!m_database->open(&error))
        qFatal("test database writer: %s", qPrintable(error));
    m_server = std::make_unique<ChatServer>(*m_database, m_limits, [this] { return m_now; });
    if (!m_server->listen(QHostAddress::LocalHost, 0))
        qFatal("test server cannot listen");
}

void TestServer::restart() {
    m_server.reset();
    m_database.reset();
    m_store.reset();
    start();
}

void TestServer::addAccount(const QString& name, const QString& password, bool isOperator) {
    AccountStore::NewAccount account;
    account.name = name;
    account.password = password;
    account.address = QStringLiteral("192.0.2.1");
    if (m_store->createAccount(account, 0, m_now) != AccountStore::CreateResult::Created)
        qFatal("cannot create test account %s", qPrintable(name));
    if (isOperator)
        m_store->setOperator(name, true);
}

std::unique_ptr<ServerTestClient> TestServer::signOn(const QString& name, const QString& password) {
    auto client = std::make_unique<ServerTestClient>();
    if (!client->connectTo(port()))
        return nullptr;
    client->sendSegment(QStringLiteral("LOGIN|\u00BF|%1|\u00BF|%2").arg(name, password));
    if (!client->waitForLine(QStringLiteral("LIST|\u00BF|") + name))
        return nullptr;
    return client;
}

std::unique_ptr<ServerTestClient> TestServer::signOnNew(const QString& name, const QString& password,
                                                        bool isOperator) {
    addAccount(name, password, isOperator);
    return signOn(name, password);
}

bool TestServer::signOnAliceAndBob(std::unique_ptr<ServerTestClient>& alice,
                                   std::unique_ptr<ServerTestClient>& bob) {
    addAccount(QStringLiteral("alice"), QStringLiteral("11"), true);
    addAccount(QStringLiteral("bob"), QStringLiteral("22"));
    alice = signOn(QStringLiteral("alice"), QStringLiteral("11"));
    bob = signOn(QStringLiteral("bob"), QStringLiteral("22"));
    if (!alice || !bob || !alice->waitForLine(QStringLiteral("JOIN") + ServerWire::S + QStringLiteral("bob")))
        return false;
    alice->clear();
    bob->clear();
    return true;
}
