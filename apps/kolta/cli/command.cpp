#include "command.h"

#include "output.h"

namespace KoltaCli {

QString Option::typed() const
{
    return (qstrlen(name) == 1 ? QStringLiteral("-") : QStringLiteral("--")) + QLatin1String(name);
}

namespace {

QString withChoices(const char* help, const QStringList& choices)
{
    const QString text = QString::fromUtf8(help);
    return choices.isEmpty() ? text : text + QStringLiteral(" One of %1.").arg(listed(choices));
}

} // namespace

QString Option::fullHelp() const
{
    return withChoices(help, choices);
}

QString Argument::fullHelp() const
{
    return withChoices(help, choices);
}

QString Argument::shown() const
{
    const QString text = QLatin1String(name);
    switch (count) {
    case eOnce:
        break;
    case eSeveral:
    case eWords:
        return text + QStringLiteral("...");
    case eAny:
        return QStringLiteral("[%1...]").arg(text);
    case eOptional:
        return QStringLiteral("[%1]").arg(text);
    }
    return text;
}

QString Action::shown() const
{
    QStringList words{QLatin1String(name)};
    for (const Argument& argument : arguments)
        words.append(QLatin1String(argument.name));
    return words.join(QLatin1Char(' '));
}

QString Command::usage() const
{
    QStringList words{QStringLiteral("[options]")};
    if (!actions.isEmpty())
        words.append(QStringLiteral("ACTION"));
    for (const Argument& argument : arguments)
        words.append(argument.shown());
    return words.join(QLatin1Char(' '));
}

Option flag(const char* name, const char* help)
{
    return {name, help};
}

Option text(const char* name, const char* valueName, const char* help, const char* preset)
{
    return {name, help, Value::Text, valueName, preset};
}

Option whole(const char* name, const char* valueName, const char* help, int minimum, int maximum,
             const char* preset)
{
    return {name, help, Value::Whole, valueName, preset, minimum, maximum};
}

Option hertz(const char* name, const char* help)
{
    return {name, help, Value::Hertz, "Hz"};
}

Option choice(const char* name, const char* valueName, const char* help, const QStringList& choices)
{
    return {name, help, Value::Choice, valueName, "", 0, 0, choices};
}

Option checked(Option option, Check check)
{
    option.check = check;
    return option;
}

const QVector<Option>& commonOptions()
{
    static const QVector<Option> options{
        flag("help", "Show this help."),
        flag("json", "Print JSON, one object per line, for programs."),
        text("timeout", "seconds", "Seconds to wait for a link or a reply, 0.1 to 3600 (5).", "5"),
        flag("trace", "Write trace lines to standard error, for support."),
    };
    return options;
}

const QVector<ExitCode>& exitCodes()
{
    static const QVector<ExitCode> codes{
        {eExitOk, "done"},
        {eExitFailed, "failed"},
        {eExitUsage, "wrong usage"},
        {eExitNoTree, "none of the other processes' servers that are needed is live"},
    };
    return codes;
}

QString listed(const QStringList& words)
{
    return words.join(QStringLiteral(", "));
}

} // namespace KoltaCli
