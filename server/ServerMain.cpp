// quorvel-server: the chat server and the master-list web server in one event-driven process.
#include "server/AccountStore.h"
#include "server/AdminCommand.h"
#include "server/ChatRoom.h"
#include "server/ChatServer.h"
#include "server/DatabaseBackup.h"
#include "server/DatabaseThreads.h"
#include "server/DescriptorBudget.h"
#include "server/MasterListFolder.h"
#include "server/MasterListHttp.h"
#include "server/ServerMetrics.h"
#include "server/ServerOptions.h"
#include "server/ShutdownSignals.h"
#include "server/TlsService.h"

#include <QCoreApplication>
#include <QDir>
#include <QTextStream>

#include <csignal>

int main(int argc, char** argv) {
    // Qt's plain Unix event dispatcher keeps socket notifiers in a hash; the GLib one walks a
    // list on every change, and each flushed write toggles a notifier: with a thousand members
    // that walk dominated a broadcast. The server has no use for a GLib main loop.
    qputenv("QT_NO_GLIB", "1");
    // Every member is a descriptor: take all the system allows us.
    const int descriptorLimit = DescriptorBudget::raiseLimit();
    // A service manager's reload (SIGHUP) must never end the server: it is ignored unless
    // something installs a handler for it.
    std::signal(SIGHUP, SIG_IGN);
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("quorvel-server"));
    QCoreApplication::setApplicationVersion(QStringLiteral("%1.%2.%3")
                                                .arg(QUORVEL_VERSION_MAJOR)
                                                .arg(QUORVEL_VERSION_MINOR)
                                                .arg(QUORVEL_VERSION_PATCH));
    QTextStream out(stdout);
    QTextStream err(stderr);

    ServerOptions options;
    QString error;
    if (!ServerOptions::parse(app, &options, &error)) {
        err << "quorvel-server: " << error << '\n';
        return 2;
    }
    if (!QDir().mkpath(options.dataFolder)) {
        err << "quorvel-server: cannot create " << options.dataFolder << '\n';
        return 1;
    }
    if (options.command.value(0) == QLatin1String("backup"))
        return runBackupCommand(options.database, options.command, out, err);
    if (!options.command.isEmpty()) {
        AccountStore store(options.database);
        if (!store.open(&error)) {
            err << "quorvel-server: cannot open the database: " << error << '\n';
            return 1;
        }
        return runAdminCommand(store, options.command, out, err);
    }

    if (!MasterListFolder::fillMissing(options.dataFolder, &error)) {
        err << "quorvel-server: " << error << '\n';
        return 1;
    }
    ServerMetrics metrics;
    DatabaseThreads database(options.database);
    database.setMetrics(&metrics);
    if (!database.open(&error)) {
        err << "quorvel-server: cannot open the database: " << error << '\n';
        return 1;
    }
    DescriptorBudget budget(DescriptorBudget::connectionsFor(descriptorLimit, DescriptorBudget::openNow()));
    ChatServer chat(database, options.limits);
    chat.setMetrics(&metrics);
    chat.setDescriptorBudget(&budget);
    chat.room().setMessageOfTheDay(options.messageOfTheDay);
    const bool plain = !options.tls.closePlainPorts;
    if (plain && !chat.listen(options.listenAddress, options.chatPort)) {
        err << "quorvel-server: cannot listen for chat on port " << options.chatPort << ": "
            << chat.errorString() << '\n';
        return 1;
    }
    MasterListHttp http(options.dataFolder, options.limits);
    http.setDescriptorBudget(&budget);
    http.setMetrics(&metrics, options.metricsFrom);
    const quint16 httpPort = plain ? http.listen(options.listenAddress, options.httpPort) : 0;
    if (plain && httpPort == 0) {
        err << "quorvel-server: cannot listen for HTTP on port " << options.httpPort << '\n';
        return 1;
    }
    ShutdownSignals shutdown;
    QObject::connect(&shutdown, &ShutdownSignals::requested, &app, &QCoreApplication::quit);
    TlsService tls(options.tls, out);
    QObject::connect(&shutdown, &ShutdownSignals::reloadRequested, &tls, &TlsService::reload);
    if (options.tls.enabled() && !tls.start(options.listenAddress, chat, http, &error)) {
        err << "quorvel-server: " << error << '\n';
        return 1;
    }

    // Tests and scripts read the ports from this line when they ask for port 0.
    out << "quorvel-server: chat port " << chat.port() << ", http port " << httpPort << ", data "
        << options.dataFolder << ", room for " << budget.connections() << " connections (descriptor limit "
        << descriptorLimit << ")" << Qt::endl;
    if (options.tls.enabled())
        out << "quorvel-server: " << tls.summary() << Qt::endl;
    const int code = QCoreApplication::exec();
    out << "quorvel-server: stopped" << Qt::endl;
    return code;
}
