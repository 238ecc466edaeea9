#pragma once

#include <common/option.h>

#include <QString>
#include <QStringList>
#include <QVector>

#include <functional>

namespace KoltaCli {

using KoltaApps::Check;
using KoltaApps::checked;
using KoltaApps::choice;
using KoltaApps::flag;
using KoltaApps::hertz;
using KoltaApps::lettered;
using KoltaApps::listed;
using KoltaApps::Option;
using KoltaApps::seconds;
using KoltaApps::text;
using KoltaApps::Value;
using KoltaApps::whole;

class CommandLine;
int takeStartFailure();

/// Does a command's work with the words of its user, which have been read; returns an eExitCode.
using Run = std::function<int(const CommandLine&)>;

/// A run that needs something first: `start(line)` gives it, as a pointer or an optional, or else has told
/// why not; the command has failed then. `use(line, what it gave)` goes on.
template<class Start, class Use>
Run with(Start start, Use use)
{
    return [start, use](const CommandLine& line) {
        auto subject = start(line);
        return subject ? use(line, *subject) : takeStartFailure();
    };
}

/// A check of a file that is written on and on, which standard output is not.
QString checkKeptFile(const QString& name);

/// A word behind the name of a command, or several of them.
struct Argument
{
    enum Count {
        eOnce,
        eSeveral,
        eAny,
        eOptional,
        eWords ///< all that is left, with what begins with "-"; at least one
    };
    const char* name;
    const char* help;
    Count count = eOnce;      ///< all but the last are there once
    QStringList choices = {}; ///< what it may be, in any letter case; empty for anything
    Check check = nullptr;

    /// As the usage shows it.
    QString shown() const;
    /// What help says of it, its choices included.
    QString fullHelp() const;
};

/// What the first argument of a command may ask for.
struct Action
{
    const char* name;
    QVector<Argument> arguments; ///< that follow it
    const char* help;
    Run run;

    /// As it is typed, with its arguments.
    QString shown() const;
};

/// All there is to say of one command: parsing, help, completion and manual pages come from here. Completion
/// knows by the name of an argument or an option, CLASS or --class for instance, what names belong there.
struct Command
{
    const char* name;
    const char* summary;     ///< a few words for the list of commands
    const char* description; ///< a sentence or two
    QVector<Argument> arguments;
    QVector<Option> options; ///< beside those that every command has
    Run run;                 ///< of a command without actions
    QVector<Action> actions = {};
    bool isHidden = false; ///< meant for programs; help does not list it

    /// How it is used: what stands behind its name.
    QString usage() const;
};

/// --help, --json, --timeout and --trace.
const QVector<Option>& commonOptions();

/// A code with which the program may end.
struct ExitCode
{
    int code; ///< an eExitCode
    const char* meaning;
};
const QVector<ExitCode>& exitCodes();

} // namespace KoltaCli
