#include "commandline.h"

#include "commandtable.h"
#include "output.h"

#include <koltacommon/units.h>
#include <startup/errorhandler.h>

#include <QRegularExpression>

#include <algorithm>

namespace KoltaCli {

namespace {

constexpr double kShortestTimeout = 0.1;
constexpr double kLongestTimeout = 3600;

int placeOf(const QString& word, const QStringList& choices)
{
    const auto isIt = [&word](const QString& choice) {
        return choice.compare(word, Qt::CaseInsensitive) == 0;
    };
    const auto it = std::find_if(choices.begin(), choices.end(), isIt);
    return it == choices.end() ? -1 : static_cast<int>(it - choices.begin());
}

/// What the value should have been; empty when it is right.
QString wishOf(const Option& option, const QString& value)
{
    bool isNumber = false;
    switch (option.value) {
    case Value::None:
    case Value::Text:
        return {};
    case Value::Whole: {
        const int number = value.toInt(&isNumber);
        if (isNumber && number >= option.minimum && number <= option.maximum)
            return {};
        return QStringLiteral("a whole number from %1 to %2").arg(option.minimum).arg(option.maximum);
    }
    case Value::Hertz: {
        const Kolta::QuantityReading reading = Kolta::readQuantity(value, Kolta::Quantity::Frequency);
        return reading.value > 0 ? QString() : QStringLiteral("a frequency above 0 such as 98.5MHz");
    }
    case Value::Choice:
        break;
    }
    return placeOf(value, option.choices) >= 0 ? QString()
                                               : QStringLiteral("one of ") + listed(option.choices);
}

} // namespace

CommandLine::CommandLine(const Command& command, const CommandTable& table)
    : m_command(command), m_table(table)
{
    m_parser.setApplicationDescription(QString::fromUtf8(command.description));
    for (const QVector<Option>& options : {commonOptions(), command.options}) {
        for (const Option& option : options) {
            QStringList names{QLatin1String(option.name)};
            if (names.first() == QLatin1String("help"))
                names.prepend(QStringLiteral("h"));
            m_parser.addOption({names, option.fullHelp(), QString::fromUtf8(option.valueName),
                                QString::fromUtf8(option.preset)});
        }
    }
    if (!command.arguments.isEmpty() && command.arguments.last().count == Argument::eWords)
        m_parser.setOptionsAfterPositionalArgumentsMode(QCommandLineParser::ParseAsPositionalArguments);
    for (const Argument& argument : command.arguments)
        m_parser.addPositionalArgument(QLatin1String(argument.name), argument.fullHelp());
    for (const Action& action : command.actions)
        m_parser.addPositionalArgument(action.shown(), QString::fromUtf8(action.help));
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

/// A last argument that is a number below zero is no option: "jump -1.5".
QStringList CommandLine::withNumberMarked(QStringList words) const
{
    static const QRegularExpression number(QStringLiteral("^-[0-9.]"));
    if (words.isEmpty() || !number.match(words.last()).hasMatch() || words.contains(QStringLiteral("--")))
        return words;
    const QString before = words.value(words.size() - 2);
    for (const QVector<Option>& options : {commonOptions(), m_command.options}) {
        for (const Option& option : options) {
            if (before == QLatin1String("--") + QLatin1String(option.name) && *option.valueName)
                return words;
        }
    }
    words.insert(words.size() - 1, QStringLiteral("--"));
    return words;
}

QString CommandLine::read(const QStringList& words)
{
    if (!m_parser.parse(QStringList{QStringLiteral("kolta")} + withNumberMarked(words))) {
        QString text = m_parser.errorText();
        while (text.endsWith(QLatin1Char('.')))
            text.chop(1);
        return text;
    }
    m_arguments = m_parser.positionalArguments();
    m_wanted = m_command.arguments;
    QString problem = m_command.actions.isEmpty() ? QString() : readAction();
    if (problem.isEmpty())
        problem = problemOfArguments(m_wanted, m_arguments);
    return problem.isEmpty() ? problemOfOptions() : problem;
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
        if (!argument.choices.isEmpty() && placeOf(given.at(i), argument.choices) < 0)
            return QStringLiteral("\"%1\" is no %2: expected one of %3")
                .arg(given.at(i), QString(QLatin1String(argument.name)).toLower(), listed(argument.choices));
        const QString problem = argument.check ? argument.check(given.at(i)) : QString();
        if (!problem.isEmpty())
            return problem;
    }
    return {};
}

QString CommandLine::problemOfOptions()
{
    for (const Option& option : m_command.options) {
        if (!isSet(option.name))
            continue;
        for (const QString& given : values(option.name)) {
            QString problem = option.check ? option.check(given) : QString();
            if (option.value == Value::Hertz)
                problem = Kolta::readQuantity(given, Kolta::Quantity::Frequency).problem;
            if (!problem.isEmpty())
                return QStringLiteral("%1: %2").arg(option.typed(), problem);
            const QString wish = wishOf(option, given);
            if (!wish.isEmpty())
                return QStringLiteral("%1 wants %2, not \"%3\"").arg(option.typed(), wish, given);
        }
    }
    bool isNumber = false;
    const double seconds = value("timeout").toDouble(&isNumber);
    if (!isNumber || !(seconds >= kShortestTimeout && seconds <= kLongestTimeout))
        return QStringLiteral("--timeout wants a number of seconds from %1 to %2, not \"%3\"")
            .arg(QString::number(kShortestTimeout), QString::number(kLongestTimeout), value("timeout"));
    m_timeoutMs = qRound(1000 * seconds);
    return {};
}

QStringList CommandLine::given() const
{
    QStringList names = m_parser.optionNames();
    names.removeDuplicates();
    return names;
}

bool CommandLine::isSet(const char* option) const
{
    // Not the parser's isSet(), which complains of what the command does not declare.
    const QStringList given = m_parser.optionNames();
    return given.contains(QLatin1String(option)) ||
           (qstrcmp(option, "help") == 0 && given.contains(QStringLiteral("h")));
}

double CommandLine::hertz(const char* option) const
{
    return Kolta::hertzFromText(value(option)).value_or(0);
}

int CommandLine::choice(const char* option) const
{
    for (const Option& known : m_command.options) {
        if (qstrcmp(known.name, option) == 0)
            return placeOf(value(option), known.choices);
    }
    return -1;
}

int CommandLine::choice(int index) const
{
    return placeOf(argument(index), m_wanted.at(index).choices);
}

/// The parser knows nothing of commands; the first line of its text, which shows the usage, is made here.
QString CommandLine::help() const
{
    QString text = m_parser.helpText().trimmed();
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
