#pragma once

#include <QString>
#include <QStringList>

#include <optional>

// Where there is no Windows command interpreter, the game batch files the program writes are
// followed by hand: "@echo off" and "@cls" do nothing, "cd\" goes to the root, "cd X" into X, and
// the first other line is the command, its program looked for in the folder it runs from.
namespace BatchScript {

struct Command {
    QString folder;
    QString program;
    QStringList arguments;
};

std::optional<Command> firstCommand(const QString& text, const QString& startFolder);

} // namespace BatchScript
