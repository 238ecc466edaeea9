#include "command.h"

#include "output.h"

namespace KoltaCli {

QString Argument::fullHelp() const
{
    return KoltaApps::withChoices(QString::fromUtf8(help), choices);
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

const QVector<Option>& commonOptions()
{
    static const QVector<Option> options{
        lettered('h', flag("help", "Show this help.")),
        flag("json", "Print JSON, one object per line, for programs."),
        seconds("timeout", "Seconds to wait for a link or a reply, {least} to {most} ({preset}).", 0.1, 3600,
                5),
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

QString checkKeptFile(const QString& name)
{
    return name.isEmpty() || name == QLatin1String("-") ? QStringLiteral("expected a file") : QString();
}

} // namespace KoltaCli
