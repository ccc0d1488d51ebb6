#include "TestServer.h"

#include <QDir>

TestServer::TestServer(ServerLimits limits)
    : m_limits(limits) {
    start();
}

ServerLimits TestServer::testLimits() {
    ServerLimits limits;
    // Long enough that no keep-alive runs unless a test asks for it; the clock is manual, so
    // flood windows only pass when a test moves time.
    limits.keepAliveMs = 60 * 60 * 1000;
    limits.floodLines = 1000;
    limits.connectionsPerAddress = 50;
    return limits;
}

QString TestServer::databasePath() const {
    return QDir(m_dir.path()).filePath(QStringLiteral("quorvel.sqlite"));
}

void TestServer::start() {
    AccountStore::Config config;
    config.databaseName = databasePath();
    config.hashIterations = 1000; // the cost is the production default's business, not the tests'
    m_store = std::make_unique<AccountStore>(config);
    QString error;
    if (!m_store->open(&error))
        qFatal("test database: %s", qPrintable(error));
    m_writer = std::make_unique<DatabaseWriter>(config, 1000);
    if (!m_writer->open(&error))
        qFatal("test database writer: %s", qPrintable(error));
    m_server = std::make_unique<ChatServer>(*m_store, *m_writer, m_limits, [this] { return m_now; });
    if (!m_server->listen(QHostAddress::LocalHost, 0))
        qFatal("test server cannot listen");
}

void TestServer::restart() {
    m_server.reset();
    m_writer.reset();
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
