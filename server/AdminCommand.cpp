#include "server/AdminCommand.h"

#include "server/AccountStore.h"

#include <QTextStream>

int runAdminCommand(AccountStore& store, const QStringList& command, QTextStream& out, QTextStream& err) {
    const QString area = command.value(0);
    const QString action = command.value(1);
    if (area == QLatin1String("op") && action == QLatin1String("list") && command.size() == 2) {
        for (const QString& name : store.operators())
            out << name << '\n';
        return 0;
    }
    if (area == QLatin1String("op") &&
        (action == QLatin1String("add") || action == QLatin1String("remove")) && command.size() == 3) {
        const QString name = command.at(2);
        if (!store.accountExists(name)) {
            err << "quorvel-server: there is no account " << name << '\n';
            return 1;
        }
        if (!store.setOperator(name, action == QLatin1String("add"))) {
            err << "quorvel-server: the database refused the change\n";
            return 1;
        }
        out << name
            << (action == QLatin1String("add") ? " is now an operator\n" : " is no longer an operator\n");
        return 0;
    }
    err << "quorvel-server: unknown command \"" << command.join(u' ') << "\"; see --help\n";
    return 2;
}
