#include "commandline.h"

#include "output.h"

namespace KoltaCli {

CommandLine::CommandLine(const QString& name, const QString& description) : m_name(name)
{
    m_parser.setApplicationDescription(description);
    m_parser.addOption({{QStringLiteral("h"), QStringLiteral("help")}, QStringLiteral("Show this help.")});
    m_parser.addOption({QStringLiteral("json"), QStringLiteral("Print JSON, one object per line, for programs.")});
    m_parser.addOption({QStringLiteral("timeout"), QStringLiteral("Seconds to wait for a link or a reply."),
                        QStringLiteral("seconds"), QStringLiteral("5")});
    m_parser.addPositionalArgument(name, QString(), name);
}

void CommandLine::addArgument(const QString& name, const QString& description)
{
    m_parser.addPositionalArgument(name, description, name);
    ++m_arguments;
}

std::optional<int> CommandLine::parse(const QStringList& arguments)
{
    if (!m_parser.parse(QStringList{QStringLiteral("kolta")} + arguments))
        return usageError(m_parser.errorText());
    if (m_parser.isSet(QStringLiteral("help"))) {
        printLine(m_parser.helpText().trimmed());
        return eExitOk;
    }
    const int given = m_parser.positionalArguments().size();
    if (given < m_arguments)
        return usageError(QStringLiteral("too few arguments"));
    if (given > m_arguments)
        return usageError(
            QStringLiteral("unexpected argument \"%1\"").arg(m_parser.positionalArguments().at(m_arguments)));
    return std::nullopt;
}

std::optional<Endpoint> CommandLine::endpoint(int index) const
{
    Endpoint endpoint;
    QString error;
    if (parseEndpoint(argument(index), endpoint, error))
        return endpoint;
    printError(error);
    return std::nullopt;
}

std::optional<int> CommandLine::number(const QString& option, int minimum, int maximum) const
{
    bool isNumber = false;
    const int number = value(option).toInt(&isNumber);
    if (isNumber && number >= minimum && number <= maximum)
        return number;
    printError(QStringLiteral("--%1 wants a whole number from %2 to %3, not \"%4\"")
                   .arg(option)
                   .arg(minimum)
                   .arg(maximum)
                   .arg(value(option)));
    return std::nullopt;
}

std::optional<int> CommandLine::timeoutMs() const
{
    const std::optional<int> seconds = number(QStringLiteral("timeout"), 1, 3600);
    return seconds ? std::optional<int>(*seconds * 1000) : std::nullopt;
}

int CommandLine::usageError(const QString& text) const
{
    printError(QStringLiteral("%1. Try \"kolta %2 --help\".").arg(text, m_name));
    return eExitUsage;
}

} // namespace KoltaCli
