#include "server/ServerOptions.h"

#include "chat/ChatProtocol.h"
#include "server/OptionNumber.h"
#include "server/PasswordHash.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <QStandardPaths>

bool ServerOptions::parse(const QCoreApplication& app, ServerOptions* options, QString* error) {
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Chat server and master-list web server for Quorvel.\n"
        "Administration commands (run against the database, then exit):\n"
        "  op add NAME | op remove NAME | op list     grant, withdraw or list operators\n"
        "  backup FILE                                a consistent copy of the SQLite database"));
    parser.addHelpOption();
    parser.addVersionOption();
    const ServerLimits defaults;
    parser.addOptions({
        {QStringLiteral("listen"), QStringLiteral("Address to listen on (default: all)."),
         QStringLiteral("address")},
        {QStringLiteral("chat-port"),
         QStringLiteral("Chat port (default %1; 0 picks a free one).").arg(ChatProtocol::DefaultChatPort),
         QStringLiteral("port")},
        {QStringLiteral("http-port"),
         QStringLiteral("Master-list HTTP port (default %1; 0 picks a free one).")
             .arg(ChatProtocol::DefaultHttpPort),
         QStringLiteral("port")},
        {QStringLiteral("data"), QStringLiteral("Data folder: database and master lists."),
         QStringLiteral("folder")},
        {QStringLiteral("motd"), QStringLiteral("Message of the day, shown at sign-on."),
         QStringLiteral("text")},
        {QStringLiteral("keepalive-ms"),
         QStringLiteral("Keep-alive interval in ms (default %1).").arg(defaults.keepAliveMs),
         QStringLiteral("ms")},
        {QStringLiteral("max-line"),
         QStringLiteral("Longest accepted message in bytes (default %1).").arg(defaults.maxLineBytes),
         QStringLiteral("bytes")},
        {QStringLiteral("flood-lines"),
         QStringLiteral("Messages allowed per flood window (default %1).").arg(defaults.floodLines),
         QStringLiteral("count")},
        {QStringLiteral("flood-window-ms"),
         QStringLiteral("Flood window in ms (default %1).").arg(defaults.floodWindowMs),
         QStringLiteral("ms")},
        {QStringLiteral("connections-per-address"),
         QStringLiteral("Open connections per address, 0 = no cap (default %1).")
             .arg(defaults.connectionsPerAddress),
         QStringLiteral("count")},
        {QStringLiteral("accounts-per-address"),
         QStringLiteral("Accounts one address may create, 0 = no cap (default %1).")
             .arg(defaults.accountsPerAddress),
         QStringLiteral("count")},
        {QStringLiteral("max-pending-output"),
         QStringLiteral("Unsent bytes after which a member is dropped (default %1).")
             .arg(defaults.maxPendingOutputBytes),
         QStringLiteral("bytes")},
        {QStringLiteral("sign-on-delay-ms"),
         QStringLiteral("First spacing of sign-on attempts after failures, doubling with each; 0 = off "
                        "(default %1).")
             .arg(defaults.signOnDelayMs),
         QStringLiteral("ms")},
        {QStringLiteral("sign-on-again-ms"),
         QStringLiteral("Time before an account may sign on again; 0 = no limit (default %1).")
             .arg(defaults.signOnAgainMs),
         QStringLiteral("ms")},
        {QStringLiteral("sign-ons-per-address"),
         QStringLiteral("Sign-ons from one address per minute; 0 = no limit (default %1).")
             .arg(defaults.signOnsPerAddressPerMinute),
         QStringLiteral("count")},
        {QStringLiteral("strict-delivery"),
         QStringLiteral("Count every public line as ending the client's read, so none is lost to an "
                        "ignore list during a flood; costs a round trip per line and member.")},
        {QStringLiteral("http-connections-per-address"),
         QStringLiteral("Open master-list connections per address (default %1).")
             .arg(defaults.httpConnectionsPerAddress),
         QStringLiteral("count")},
        {QStringLiteral("http-idle-ms"),
         QStringLiteral("Time a master-list connection has to send a request (default %1).")
             .arg(defaults.httpIdleMs),
         QStringLiteral("ms")},
        {QStringLiteral("hash-iterations"),
         QStringLiteral("PBKDF2 iterations for new passwords (default %1).")
             .arg(PasswordHash::DefaultIterations),
         QStringLiteral("count")},
        {QStringLiteral("metrics-from"),
         QStringLiteral("Answer /metrics on the web port to clients of this address or subnet "
                        "(127.0.0.1, 10.0.0.0/8); default: to nobody."),
         QStringLiteral("subnet")},
        {QStringLiteral("database-driver"),
         QStringLiteral("QtSql driver (default QSQLITE; QPSQL for PostgreSQL)."), QStringLiteral("driver")},
        {QStringLiteral("database-name"),
         QStringLiteral("Database name (default: quorvel.sqlite in the data folder)."),
         QStringLiteral("name")},
        {QStringLiteral("database-host"), QStringLiteral("Database host, for server databases."),
         QStringLiteral("host")},
        {QStringLiteral("database-port"),
         QStringLiteral("Database port, for server databases (default: the driver's)."),
         QStringLiteral("port")},
        {QStringLiteral("database-user"),
         QStringLiteral(
             "Database user, for server databases; the password is read from QUORVEL_DB_PASSWORD."),
         QStringLiteral("user")},
    });
    TlsOptions::addTo(parser);
    parser.addPositionalArgument(QStringLiteral("command"),
                                 QStringLiteral("Optional administration command."),
                                 QStringLiteral("[op add|remove|list NAME | backup FILE]"));
    parser.process(app);

    ServerOptions& o = *options;
    o.command = parser.positionalArguments();
    if (parser.isSet(QStringLiteral("listen")) &&
        !o.listenAddress.setAddress(parser.value(QStringLiteral("listen")))) {
        *error = QStringLiteral("--listen needs an IP address");
        return false;
    }
    if (parser.isSet(QStringLiteral("metrics-from"))) {
        o.metricsFrom = QHostAddress::parseSubnet(parser.value(QStringLiteral("metrics-from")));
        if (o.metricsFrom.first.isNull()) {
            *error = QStringLiteral("--metrics-from needs an IP address or a subnet such as 10.0.0.0/8");
            return false;
        }
    }
    qint64 chatPort = ChatProtocol::DefaultChatPort;
    qint64 httpPort = ChatProtocol::DefaultHttpPort;
    qint64 keepAlive = o.limits.keepAliveMs, floodLines = o.limits.floodLines,
           floodWindow = o.limits.floodWindowMs;
    qint64 perAddress = o.limits.connectionsPerAddress, accounts = o.limits.accountsPerAddress;
    qint64 iterations = PasswordHash::DefaultIterations;
    qint64 databasePort = 0, signOnDelay = o.limits.signOnDelayMs;
    qint64 signOnAgain = o.limits.signOnAgainMs, signOnsPerAddress = o.limits.signOnsPerAddressPerMinute;
    qint64 httpPerAddress = o.limits.httpConnectionsPerAddress, httpIdle = o.limits.httpIdleMs;
    const bool numbersOk =
        readOptionNumber(parser, QStringLiteral("chat-port"), 0, 65535, &chatPort, error) &&
        readOptionNumber(parser, QStringLiteral("http-port"), 0, 65535, &httpPort, error) &&
        readOptionNumber(parser, QStringLiteral("keepalive-ms"), 10, 24 * 3600 * 1000, &keepAlive, error) &&
        readOptionNumber(parser, QStringLiteral("max-line"), 64, 1 << 24, &o.limits.maxLineBytes, error) &&
        readOptionNumber(parser, QStringLiteral("flood-lines"), 1, 1 << 30, &floodLines, error) &&
        readOptionNumber(parser, QStringLiteral("flood-window-ms"), 1, 3600 * 1000, &floodWindow, error) &&
        readOptionNumber(parser, QStringLiteral("connections-per-address"), 0, 1 << 20, &perAddress, error) &&
        readOptionNumber(parser, QStringLiteral("accounts-per-address"), 0, 1 << 20, &accounts, error) &&
        readOptionNumber(parser, QStringLiteral("max-pending-output"), 1024, qint64(1) << 32,
                   &o.limits.maxPendingOutputBytes, error) &&
        readOptionNumber(parser, QStringLiteral("http-connections-per-address"), 1, 1 << 20, &httpPerAddress,
                   error) &&
        readOptionNumber(parser, QStringLiteral("http-idle-ms"), 10, 3600 * 1000, &httpIdle, error) &&
        readOptionNumber(parser, QStringLiteral("hash-iterations"), 1000, 10'000'000, &iterations, error) &&
        readOptionNumber(parser, QStringLiteral("database-port"), 0, 65535, &databasePort, error) &&
        readOptionNumber(parser, QStringLiteral("sign-on-delay-ms"), 0, 60 * 1000, &signOnDelay, error) &&
        readOptionNumber(parser, QStringLiteral("sign-on-again-ms"), 0, 3600 * 1000, &signOnAgain, error) &&
        readOptionNumber(parser, QStringLiteral("sign-ons-per-address"), 0, 1 << 20, &signOnsPerAddress, error);
    if (!numbersOk || !TlsOptions::read(parser, &o.tls, &o.limits, error))
        return false;
    o.chatPort = static_cast<quint16>(chatPort);
    o.httpPort = static_cast<quint16>(httpPort);
    o.limits.keepAliveMs = static_cast<int>(keepAlive);
    o.limits.floodLines = static_cast<int>(floodLines);
    o.limits.floodWindowMs = static_cast<int>(floodWindow);
    o.limits.connectionsPerAddress = static_cast<int>(perAddress);
    o.limits.accountsPerAddress = static_cast<int>(accounts);
    o.database.hashIterations = static_cast<int>(iterations);
    o.database.port = static_cast<int>(databasePort);
    o.limits.signOnDelayMs = static_cast<int>(signOnDelay);
    o.limits.signOnAgainMs = static_cast<int>(signOnAgain);
    o.limits.signOnsPerAddressPerMinute = static_cast<int>(signOnsPerAddress);
    o.limits.strictDelivery = parser.isSet(QStringLiteral("strict-delivery"));
    o.limits.httpConnectionsPerAddress = static_cast<int>(httpPerAddress);
    o.limits.httpIdleMs = static_cast<int>(httpIdle);

    o.dataFolder = parser.isSet(QStringLiteral("data"))
                       ? parser.value(QStringLiteral("data"))
                       : QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
    o.dataFolder = QDir(o.dataFolder).absolutePath();
    o.messageOfTheDay = parser.value(QStringLiteral("motd"));
    if (parser.isSet(QStringLiteral("database-driver")))
        o.database.driver = parser.value(QStringLiteral("database-driver"));
    o.database.databaseName = parser.isSet(QStringLiteral("database-name"))
                                  ? parser.value(QStringLiteral("database-name"))
                                  : QDir(o.dataFolder).filePath(QStringLiteral("quorvel.sqlite"));
    o.database.host = parser.value(QStringLiteral("database-host"));
    o.database.user = parser.value(QStringLiteral("database-user"));
    o.database.password = qEnvironmentVariable("QUORVEL_DB_PASSWORD");
    return true;
}
