#pragma once

#include <QString>
#include <QStringList>
#include <QVector>

#include <functional>

namespace KoltaCli {

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

/// How the text of an option is read.
enum class Value {
    None,   ///< the option stands alone
    Text,   ///< anything
    Whole,  ///< a whole number within its bounds
    Hertz,  ///< a frequency or a bandwidth above 0
    Choice, ///< one of some words, in any letter case
};

/// Says what is wrong with a text, or nothing.
using Check = QString (*)(const QString& text);

/// An option of a command. The texts are in UTF-8.
struct Option
{
    const char* name; ///< without dashes; a single letter stands behind one dash
    const char* help;
    Value value = Value::None;
    const char* valueName = ""; ///< what stands for the value in help
    const char* preset = "";    ///< what holds where the option is not given
    int minimum = 0;
    int maximum = 0;
    QStringList choices = {};
    Check check = nullptr; ///< of a text

    /// As it is typed.
    QString typed() const;
    /// What help says of it, its choices included.
    QString fullHelp() const;
};

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

Option flag(const char* name, const char* help);
Option text(const char* name, const char* valueName, const char* help, const char* preset = "");
Option whole(const char* name, const char* valueName, const char* help, int minimum, int maximum,
             const char* preset = "");
Option hertz(const char* name, const char* help);
Option choice(const char* name, const char* valueName, const char* help, const QStringList& choices);
Option checked(Option option, Check check);

/// --help, --json, --timeout and --trace.
const QVector<Option>& commonOptions();

/// A code with which the program may end.
struct ExitCode
{
    int code; ///< an eExitCode
    const char* meaning;
};
const QVector<ExitCode>& exitCodes();

/// "a, b, c".
QString listed(const QStringList& words);

} // namespace KoltaCli
