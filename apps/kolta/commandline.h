#pragma once

#include "endpoint.h"

#include <QCommandLineParser>
#include <QString>
#include <QStringList>

#include <optional>

namespace KoltaCli {

/// The options and arguments of one command. Adds --help, --json and --timeout to what the command declares.
class CommandLine
{
public:
    /// `name` is the command, `description` one sentence on what it does.
    CommandLine(const QString& name, const QString& description);

    void addArgument(const QString& name, const QString& description);
    void addOption(const QCommandLineOption& option) { m_parser.addOption(option); }

    /// Parses. A value means that the command is over with that exit code: help was printed, or the words are
    /// wrong and an error was printed.
    std::optional<int> parse(const QStringList& arguments);

    bool json() const { return m_parser.isSet(QStringLiteral("json")); }
    bool isSet(const QString& option) const { return m_parser.isSet(option); }
    QString value(const QString& option) const { return m_parser.value(option); }
    QStringList values(const QString& option) const { return m_parser.values(option); }
    QString argument(int index) const { return m_parser.positionalArguments().value(index); }
    /// The argument as HOST:PORT; prints an error and gives nothing when it is not.
    std::optional<Endpoint> endpoint(int index) const;
    /// An option as a whole number in [minimum, maximum]; prints an error and gives nothing when it is not.
    std::optional<int> number(const QString& option, int minimum, int maximum) const;
    /// --timeout in milliseconds.
    std::optional<int> timeoutMs() const;

private:
    int usageError(const QString& text) const;

    QCommandLineParser m_parser;
    QString m_name;
    int m_arguments = 0;
};

} // namespace KoltaCli
