#include "commandline.h"

#include "output.h"

#include <startup/errorhandler.h>

#include <QtNumeric>

namespace KoltaCli {

namespace {

/// Where parse() puts the declared options instead of parsing, see CommandLine::optionsOf().
QStringList* wantedOptions = nullptr;

} // namespace

CommandLine::CommandLine(const QString& name, const QString& description) : m_name(name)
{
    m_parser.setApplicationDescription(description);
    addOption({{QStringLiteral("h"), QStringLiteral("help")}, QStringLiteral("Show this help.")});
    addOption({QStringLiteral("json"), QStringLiteral("Print JSON, one object per line, for programs.")});
    addOption({QStringLiteral("timeout"),
               QStringLiteral("Seconds to wait for a link or a reply, 1 to 3600 (5)."),
               QStringLiteral("seconds"), QStringLiteral("5")});
    addOption({QStringLiteral("trace"), QStringLiteral("Write trace lines to standard error, for support.")});
}

void CommandLine::addArgument(const QString& name, const QString& description)
{
    m_parser.addPositionalArgument(name, description, name);
    m_arguments.append(name);
}

void CommandLine::addArguments(const QString& name, const QString& description)
{
    addArgument(name, description);
    m_endless = true;
}

void CommandLine::addOptionalArguments(const QString& name, const QString& description)
{
    addArguments(name, description);
    m_optional = true;
}

void CommandLine::addOption(const QCommandLineOption& option)
{
    m_parser.addOption(option);
    for (const QString& name : option.names())
        m_options.append((name.size() == 1 ? QStringLiteral("-") : QStringLiteral("--")) + name);
}

void CommandLine::addFaultsOption()
{
    addOption({QStringLiteral("faults"),
               QStringLiteral(
                   "Load the texts of faults from the server first instead of from the configured file.")});
}

QStringList CommandLine::optionsOf(int (*run)(const QStringList&), const QStringList& arguments)
{
    const OutputMute mute;
    QStringList options;
    wantedOptions = &options;
    run(arguments);
    wantedOptions = nullptr;
    return options;
}

std::optional<int> CommandLine::parse(const QStringList& arguments)
{
    if (wantedOptions) {
        *wantedOptions = m_options;
        return eExitOk;
    }
    if (!m_parser.parse(QStringList{QStringLiteral("kolta")} + arguments)) {
        QString text = m_parser.errorText();
        while (text.endsWith(QLatin1Char('.')))
            text.chop(1);
        return usageError(text);
    }
    if (m_parser.isSet(QStringLiteral("help"))) {
        printLine(help());
        return eExitOk;
    }
    const QStringList given = m_parser.positionalArguments();
    if (given.size() < m_arguments.size() - (m_optional ? 1 : 0))
        return usageError(QStringLiteral("%1 is missing").arg(m_arguments.at(given.size())));
    if (given.size() > m_arguments.size() && !m_endless)
        return usageError(QStringLiteral("unexpected argument \"%1\"").arg(given.at(m_arguments.size())));
    // Trace lines are for support; an operator at the prompt gets one error line instead.
    Startup::ErrorHandler::Instance().setLoggingEnabled(m_parser.isSet(QStringLiteral("trace")));
    return std::nullopt;
}

std::optional<int> CommandLine::readEndpoint(int index, Endpoint& endpoint) const
{
    QString host;
    QString error;
    if (!KoltaApps::splitHostAndPort(argument(index), host, endpoint.port, error))
        return usageError(error);
    if (KoltaApps::findAddress(host, endpoint.address, error))
        return std::nullopt;
    printError(error);
    return eExitFailed;
}

std::optional<int> CommandLine::number(const QString& option, int minimum, int maximum) const
{
    bool isNumber = false;
    const int number = value(option).toInt(&isNumber);
    if (isNumber && number >= minimum && number <= maximum)
        return number;
    const QString dashes = option.size() == 1 ? QStringLiteral("-") : QStringLiteral("--");
    usageError(QStringLiteral("%1 wants a whole number from %2 to %3, not \"%4\"")
                   .arg(dashes + option, QString::number(minimum), QString::number(maximum), value(option)));
    return std::nullopt;
}

std::optional<double> CommandLine::hertz(const QString& option) const
{
    if (!isSet(option))
        return 0.0;
    bool isNumber = false;
    const double hertz = value(option).toDouble(&isNumber);
    if (isNumber && hertz > 0 && qIsFinite(hertz))
        return hertz;
    usageError(QStringLiteral("--%1 wants a number of Hz above 0, not \"%2\"").arg(option, value(option)));
    return std::nullopt;
}

std::optional<int> CommandLine::timeoutMs() const
{
    const std::optional<int> seconds = number(QStringLiteral("timeout"), 1, 3600);
    return seconds ? std::optional<int>(*seconds * 1000) : std::nullopt;
}

/// The parser knows nothing of commands; the first line of its text, which shows the usage, is made here.
QString CommandLine::help() const
{
    const QStringList words =
        QStringList{QStringLiteral("kolta"), m_name, QStringLiteral("[options]")} + m_arguments;
    const QString text = m_parser.helpText().trimmed();
    const QString repetition = m_endless ? QStringLiteral("...") : QString();
    return QStringLiteral("Usage: ") + words.join(QLatin1Char(' ')) + repetition +
           text.mid(text.indexOf(QLatin1Char('\n')));
}

int CommandLine::usageError(const QString& text) const
{
    printError(QStringLiteral("%1. Try \"kolta %2 --help\".").arg(text, m_name));
    return eExitUsage;
}

} // namespace KoltaCli
