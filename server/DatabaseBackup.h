#pragma once

#include "server/AccountStore.h"

#include <QStringList>

class QTextStream;

// "backup FILE": a consistent copy of the SQLite database, taken while the server runs.
// Returns the process exit code.
int runBackupCommand(const AccountStore::Config& database, const QStringList& command, QTextStream& out,
                     QTextStream& err);
