#include "commandline.h"

#include "commandtable.h"
#include "output.h"

#include <startup/errorhandler.h>

namespace KoltaCli {

CommandLine::CommandLine(const Command& command, const CommandTable& table)
    : m_command(command), m_table(table), m_parser(command.description)
{
    m_parser.add(commonOptions());
    m_parser.add(command.options);
    if (!command.arguments.isEmpty() && command.arguments.last().count == Argument::eWords)
        m_parser.setOptionsEndAtArgument();
    for (const Argument& argument : command.arguments)
        m_parser.addArgument(QLatin1String(argument.name), argument.fullHelp());
    for (const Action& action : command.actions)
        m_parser.addArgument(action.shown(), QString::fromUtf8(action.help));
}

int CommandLine::run(const QStringList& words)
{
    const QString problem = read(words);
    if (isSet("help")) {
        printLine(help());
        return eExitOk;
    }
    if (!problem.isEmpty())
        return usageError(problem);
    // Trace lines are for support; an operator at the prompt gets one error line instead.
    Startup::ErrorHandler::Instance().setLoggingEnabled(isSet("trace"));
    return m_action ? m_action->run(*this) : m_command.run(*this);
}

QString CommandLine::read(const QStringList& words)
{
    QString problem = m_parser.read(words);
    while (problem.endsWith(QLatin1Char('.')))
        problem.chop(1);
    if (!problem.isEmpty())
        return problem;
    m_arguments = m_parser.arguments();
    m_wanted = m_command.arguments;
    if (!m_command.actions.isEmpty())
        problem = readAction();
    if (problem.isEmpty())
        problem = problemOfArguments(m_wanted, m_arguments);
    return problem.isEmpty() ? m_parser.problemOfValues() : problem;
}

/// Takes the first argument as the name of an action.
QString CommandLine::readAction()
{
    if (m_arguments.isEmpty())
        return QStringLiteral("ACTION is missing");
    const QString name = m_arguments.takeFirst();
    QStringList names;
    for (const Action& action : m_command.actions) {
        names.append(QLatin1String(action.name));
        if (name == names.last())
            m_action = &action;
    }
    if (!m_action)
        return QStringLiteral("\"%1\" is no action: expected one of %2").arg(name, listed(names));
    m_wanted = m_action->arguments;
    return {};
}

QString CommandLine::problemOfArguments(const QVector<Argument>& wanted, const QStringList& given) const
{
    const QString place = m_action ? QLatin1String(m_action->name) + QStringLiteral(": ") : QString();
    const auto last = wanted.isEmpty() ? Argument::eOnce : wanted.last().count;
    const bool mayLack = last == Argument::eAny || last == Argument::eOptional;
    const bool mayRepeat = last != Argument::eOnce && last != Argument::eOptional;
    if (given.size() < wanted.size() - (mayLack ? 1 : 0))
        return place + QStringLiteral("%1 is missing").arg(QLatin1String(wanted.at(given.size()).name));
    if (given.size() > wanted.size() && !mayRepeat)
        return place + QStringLiteral("unexpected argument \"%1\"").arg(given.at(wanted.size()));
    for (int i = 0; i < qMin(given.size(), wanted.size()); ++i) {
        const Argument& argument = wanted.at(i);
        if (!argument.choices.isEmpty() && KoltaApps::placeAmong(argument.choices, given.at(i)) < 0)
            return QStringLiteral("\"%1\" is no %2: expected one of %3")
                .arg(given.at(i), QString(QLatin1String(argument.name)).toLower(), listed(argument.choices));
        const QString problem = argument.check ? argument.check(given.at(i)) : QString();
        if (!problem.isEmpty())
            return problem;
    }
    return {};
}

int CommandLine::choice(int index) const
{
    return KoltaApps::placeAmong(m_wanted.at(index).choices, argument(index));
}

/// The parser knows nothing of commands; the first line of its text, which shows the usage, is made here.
QString CommandLine::help() const
{
    QString text = m_parser.help().trimmed();
    if (!m_command.actions.isEmpty())
        text.replace(QStringLiteral("\nArguments:\n"), QStringLiteral("\nActions:\n"));
    return QStringLiteral("Usage: %1%2 %3")
               .arg(m_table.prefix(), QLatin1String(m_command.name), m_command.usage()) +
           text.mid(text.indexOf(QLatin1Char('\n')));
}

int CommandLine::usageError(const QString& text) const
{
    const bool isQuestion = text.endsWith(QLatin1Char('?'));
    printError(QStringLiteral("%1%2 Try \"%3%4 --help\".")
                   .arg(text, isQuestion ? QString() : QStringLiteral("."), m_table.prefix(),
                        QLatin1String(m_command.name)));
    return eExitUsage;
}

} // namespace KoltaCli
