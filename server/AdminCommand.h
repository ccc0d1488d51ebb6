#pragma once

#include <QStringList>

class AccountStore;
class QTextStream;

// "op add NAME", "op remove NAME", "op list": operators are granted by whoever runs the
// server, never over the chat. Returns the process exit code.
int runAdminCommand(AccountStore& store, const QStringList& command, QTextStream& out, QTextStream& err);
