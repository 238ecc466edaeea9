#pragma once

#include <QString>
#include <QStringList>
#include <QVector>

namespace KoltaCli {

/// One command as its user calls it.
struct Command
{
    const char* name;
    const char* summary; ///< a few words for the list of commands
    /// Takes the words behind the name, returns an eExitCode; see commands.h.
    int (*run)(const QStringList& arguments);
};

/// All commands, in the order of the list that help shows.
const QVector<Command>& allCommands();
/// Null when there is none of that name.
const Command* findCommand(const QString& name);
/// That list.
QString commandList();

/// Runs the command that the first of `words` names with the others as its arguments; returns an eExitCode.
/// An unknown name is told on standard error, with `help` as what to try instead.
int runCommand(const QStringList& words, const QString& help);

} // namespace KoltaCli
