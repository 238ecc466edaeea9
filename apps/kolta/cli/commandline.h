#pragma once

#include "command.h"

#include <common/endpoint.h>
#include <common/optionparser.h>

#include <QString>
#include <QStringList>

#include <optional>

namespace KoltaCli {

class CommandTable;

/// The words behind the name of one command, read as its table says. A command that runs finds in it only
/// what is right.
class CommandLine
{
public:
    /// Both must outlive this.
    CommandLine(const Command& command, const CommandTable& table);

    /// Reads the words and runs the command; returns an eExitCode. Help that is asked for is printed instead;
    /// wrong words are told.
    int run(const QStringList& words);
    /// Reads the words alone. What is wrong with them, or nothing.
    QString read(const QStringList& words);
    /// What --help shows.
    QString help() const;

    /// The commands that are known where this one runs.
    const CommandTable& table() const noexcept { return m_table; }
    /// The name of the action that was given; empty for none.
    QString action() const { return m_action ? QLatin1String(m_action->name) : QString(); }
    /// The names of the options that were given, each once.
    QStringList given() const { return m_parser.given(); }
    bool json() const { return isSet("json"); }
    bool isSet(const char* option) const { return m_parser.isSet(option); }
    QString value(const char* option) const { return m_parser.value(option); }
    QStringList values(const char* option) const { return m_parser.values(option); }
    /// Without the name of an action.
    QStringList arguments() const { return m_arguments; }
    QString argument(int index) const { return m_arguments.value(index); }
    /// A Value::Whole.
    int number(const char* option) const { return m_parser.number(option); }
    /// A Value::Hertz; 0 when it was not given.
    double hertz(const char* option) const { return m_parser.hertz(option); }
    /// The place of a Value::Choice among its choices; -1 when it was not given.
    int choice(const char* option) const { return m_parser.choice(option); }
    /// The same of an argument.
    int choice(int index) const;
    /// --timeout in milliseconds.
    int timeoutMs() const { return qRound(1000 * value("timeout").toDouble()); }
    /// Prints an error that says where to find help, and gives eExitUsage. For what no table can say.
    int usageError(const QString& text) const;

private:
    QString problemOfArguments(const QVector<Argument>& wanted, const QStringList& given) const;
    QString readAction();

    const Command& m_command;
    const CommandTable& m_table;
    KoltaApps::OptionParser m_parser;
    const Action* m_action = nullptr;
    QVector<Argument> m_wanted; ///< behind the action
    QStringList m_arguments;
};

} // namespace KoltaCli
