#pragma once

#include "option.h"

#include <QCommandLineParser>
#include <QString>
#include <QStringList>
#include <QVector>

namespace KoltaApps {

/// Reads words as options declare them, and tells what is wrong with their values.
class OptionParser
{
public:
    /// UTF-8; help begins with it.
    explicit OptionParser(const char* description);
    /// In the order of the help.
    void add(const QVector<Option>& options);
    /// Help lists it; how many there may be is not looked at here.
    void addArgument(const QString& name, const QString& help);
    /// What follows the first argument are arguments, too, even when it begins with "-".
    void setOptionsEndAtArgument();

    /// Reads words, without the program's name. What is wrong with them, or nothing; not yet with values.
    QString read(const QStringList& words);
    /// What is wrong with the value of an option that was given, or nothing.
    QString problemOfValues() const;
    /// The usage in the first line, then all options and arguments.
    QString help() const { return m_parser.helpText(); }

    QStringList arguments() const { return m_parser.positionalArguments(); }
    /// The names of the options that were given, each once.
    QStringList given() const;
    /// Also of an option that was not added.
    bool isSet(const char* option) const;
    QString value(const char* option) const { return m_parser.value(QLatin1String(option)); }
    QStringList values(const char* option) const { return m_parser.values(QLatin1String(option)); }
    /// A Value::Whole.
    int number(const char* option) const { return value(option).toInt(); }
    /// A Value::Hertz; 0 when it was not given.
    double hertz(const char* option) const;
    /// The place of a Value::Choice among its choices; -1 when there is no value.
    int choice(const char* option) const;
    /// Empty where there are none.
    QStringList choicesOf(const QString& option) const;

private:
    const Option* find(const QString& name) const;
    QStringList withNumberMarked(QStringList words) const;

    QVector<Option> m_options;
    QCommandLineParser m_parser;
};

/// The place of a word among some, in any letter case; -1 when it is none of them.
int placeAmong(const QStringList& choices, const QString& word);

} // namespace KoltaApps
