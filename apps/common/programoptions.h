#pragma once

#include <QCommandLineParser>
#include <QString>
#include <QStringList>

#include <initializer_list>
#include <utility>
#include <vector>

namespace KoltaApps {

/// One option of a program, for parsing, help and manual page.
struct OptionText
{
    const char* name;
    const char* value;  ///< null: it is a switch
    const char* preset; ///< null: none
    const char* help;   ///< "%1" in it: the names that may be given
};

/// What a program says of itself. All texts are UTF-8.
struct ProgramText
{
    const char* name;
    const char* summary;     ///< one line for the manual, without a full stop
    const char* description; ///< with the exit codes
    QStringList seeAlso;     ///< other programs' manual pages
};

/// The command line of a program that has options and no commands: parsed, with --help, --version and
/// a hidden --manual FOLDER, from one table.
class ProgramOptions
{
public:
    /// `names` are those that a help text asks for.
    ProgramOptions(ProgramText program, std::vector<OptionText> options, const QStringList& names);

    enum class Result {
        Run,   ///< the values can be asked for
        Show,  ///< `text` is to be shown, empty for nothing
        Wrong, ///< `text` says what is wrong
        Failed ///< the manual page could not be written, for the reason in `text`
    };
    /// `arguments` begin with the program.
    Result read(const QStringList& arguments, QString& text);

    bool has(const char* name) const { return m_parser.isSet(QLatin1String(name)); }
    QString value(const char* name) const { return m_parser.value(QLatin1String(name)); }
    QStringList values(const char* name) const { return m_parser.values(QLatin1String(name)); }
    /// The first of the pairs whose first option is given without the second, which it needs, as a problem
    /// in one line; empty when there is none.
    QString problemOfPairs(std::initializer_list<std::pair<const char*, const char*>> pairs) const;

private:
    QString helpOf(const OptionText& option) const;
    bool writeManual(const QString& folder, QString& error) const;

    const ProgramText m_program;
    const std::vector<OptionText> m_options;
    const QString m_names;
    QCommandLineParser m_parser;
};

} // namespace KoltaApps
