#pragma once

#include <common/endpoint.h>

#include <QCommandLineParser>
#include <QString>
#include <QStringList>

#include <optional>

namespace KoltaCli {

using KoltaApps::Endpoint;

/// The options and arguments of one command. Adds --help, --json, --timeout and --trace to what the command
/// declares.
class CommandLine
{
public:
    /// `name` is the command, `description` one or two sentences on what it does.
    CommandLine(const QString& name, const QString& description);

    void addArgument(const QString& name, const QString& description);
    /// The last argument, given once or several times.
    void addArguments(const QString& name, const QString& description);
    /// The last argument, given any number of times or not at all.
    void addOptionalArguments(const QString& name, const QString& description);
    void addOption(const QCommandLineOption& option);
    /// Adds --faults, see Session::loadFaultTexts().
    void addFaultsOption();

    /// The options that a command declares for these arguments, as they are typed. The command runs no
    /// further than to its parse(), and prints nothing.
    static QStringList optionsOf(int (*run)(const QStringList&), const QStringList& arguments);

    /// Parses; a command does nothing before that. A value means that the command is over with that exit
    /// code: help was printed, or the words are wrong and an error was printed.
    std::optional<int> parse(const QStringList& arguments);

    bool json() const { return m_parser.isSet(QStringLiteral("json")); }
    bool faults() const { return m_parser.isSet(QStringLiteral("faults")); }
    bool isSet(const QString& option) const { return m_parser.isSet(option); }
    QString value(const QString& option) const { return m_parser.value(option); }
    QStringList values(const QString& option) const { return m_parser.values(option); }
    QString argument(int index) const { return m_parser.positionalArguments().value(index); }
    QStringList arguments() const { return m_parser.positionalArguments(); }
    /// Reads the argument as HOST:PORT and looks the host up. A value means that the command is over with
    /// that exit code; an error was printed.
    std::optional<int> readEndpoint(int index, Endpoint& endpoint) const;
    /// An option as a whole number in [minimum, maximum]; prints an error and gives nothing when it is not.
    std::optional<int> number(const QString& option, int minimum, int maximum) const;
    /// An option as a number of Hz, 0 when it was not given; prints an error and gives nothing when it is
    /// none above 0.
    std::optional<double> hertz(const QString& option) const;
    /// --timeout in milliseconds.
    std::optional<int> timeoutMs() const;
    /// Prints an error that says where to find help, and gives eExitUsage.
    int usageError(const QString& text) const;

private:
    QString help() const;

    QCommandLineParser m_parser;
    QString m_name;
    QStringList m_arguments;
    QStringList m_options;   ///< as they are typed
    bool m_endless = false;  ///< the last of them may be repeated
    bool m_optional = false; ///< the last of them may be missing
};

} // namespace KoltaCli
