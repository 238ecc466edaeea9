#pragma once

#include "optionparser.h"

#include <QString>
#include <QStringList>
#include <QVector>

#include <initializer_list>
#include <utility>

namespace KoltaApps {

/// What a program says of itself. All texts are UTF-8.
struct ProgramText
{
    const char* name;
    const char* summary;     ///< one line for the manual, without a full stop
    const char* description; ///< with the exit codes
    QStringList seeAlso;     ///< other programs' manual pages
};

/// The command line of a program that has options and no commands: parsed, with --help, --version and, both
/// hidden, --manual FOLDER and, for completion, --choices OPTION, or with "" for the options themselves, from
/// one table.
class ProgramOptions
{
public:
    /// In the order of the help.
    ProgramOptions(ProgramText program, const QVector<Option>& options);

    enum class Result {
        Run,   ///< the values can be asked for
        Show,  ///< `text` is to be shown, empty for nothing
        Wrong, ///< `text` says what is wrong
        Failed ///< the manual page could not be written, for the reason in `text`
    };
    /// `arguments` begin with the program.
    Result read(const QStringList& arguments, QString& text);

    bool has(const char* name) const { return m_parser.isSet(name); }
    QString value(const char* name) const { return m_parser.value(name); }
    QStringList values(const char* name) const { return m_parser.values(name); }
    /// As those of OptionParser.
    int number(const char* name) const { return m_parser.number(name); }
    int choice(const char* name) const { return m_parser.choice(name); }
    /// The first of the pairs whose first option is given without the second, which it needs, as a problem
    /// in one line; empty when there is none.
    QString problemOfPairs(std::initializer_list<std::pair<const char*, const char*>> pairs) const;

private:
    bool writeManual(const QString& folder, QString& error) const;

    const ProgramText m_program;
    const QVector<Option> m_options;
    OptionParser m_parser;
};

} // namespace KoltaApps
