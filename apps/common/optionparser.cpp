#include "optionparser.h"

#include "textwrap.h"

#include <koltacommon/units.h>

#include <QRegularExpression>

#include <algorithm>
#include <limits>

namespace KoltaApps {

namespace {

bool isWithin(const Option& option, double number)
{
    return number >= option.minimum && number <= option.maximum;
}

QString boundsOf(const Option& option)
{
    const QString least = QStringLiteral("from ") + shownNumber(option.minimum);
    return option.maximum < std::numeric_limits<int>::max()
               ? least + QStringLiteral(" to ") + shownNumber(option.maximum)
               : least;
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
        return isNumber && isWithin(option, number) ? QString()
                                                    : QStringLiteral("a whole number ") + boundsOf(option);
    }
    case Value::Seconds: {
        const double number = value.toDouble(&isNumber);
        return isNumber && isWithin(option, number)
                   ? QString()
                   : QStringLiteral("a number of seconds ") + boundsOf(option);
    }
    case Value::Hertz: {
        const Kolta::QuantityReading reading = Kolta::readQuantity(value, Kolta::Quantity::Frequency);
        return reading.value > 0 ? QString() : QStringLiteral("a frequency above 0 such as 98.5MHz");
    }
    case Value::Choice:
        break;
    }
    return placeAmong(option.choices, value) >= 0 ? QString()
                                                  : QStringLiteral("one of ") + listed(option.choices);
}

QString problemOf(const Option& option, const QString& value)
{
    QString problem = option.check ? option.check(value) : QString();
    if (option.value == Value::Hertz)
        problem = Kolta::readQuantity(value, Kolta::Quantity::Frequency).problem;
    if (!problem.isEmpty())
        return QStringLiteral("%1: %2").arg(option.typed(), problem);
    const QString wish = wishOf(option, value);
    return wish.isEmpty() ? QString()
                          : QStringLiteral("%1 wants %2, not \"%3\"").arg(option.typed(), wish, value);
}

} // namespace

OptionParser::OptionParser(const char* description)
{
    m_parser.setApplicationDescription(
        wrapped(QString::fromUtf8(description), kHelpWidth).join(QLatin1Char('\n')));
}

void OptionParser::add(const QVector<Option>& options)
{
    for (const Option& option : options) {
        QStringList names{QLatin1String(option.name)};
        if (option.letter != 0)
            names.prepend(QString(QLatin1Char(option.letter)));
        QCommandLineOption added(names, option.fullHelp(), QString::fromUtf8(option.valueName),
                                 option.preset);
        if (option.isHidden)
            added.setFlags(QCommandLineOption::HiddenFromHelp);
        m_parser.addOption(added);
    }
    m_options += options;
}

void OptionParser::addArgument(const QString& name, const QString& help)
{
    m_parser.addPositionalArgument(name, help);
}

void OptionParser::setOptionsEndAtArgument()
{
    m_parser.setOptionsAfterPositionalArgumentsMode(QCommandLineParser::ParseAsPositionalArguments);
}

QString OptionParser::read(const QStringList& words)
{
    // It takes a first word for the program's name.
    return m_parser.parse(QStringList{QString()} + withNumberMarked(words)) ? QString()
                                                                            : m_parser.errorText();
}

/// A last argument that is a number below zero is no option: "jump -1.5".
QStringList OptionParser::withNumberMarked(QStringList words) const
{
    static const QRegularExpression number(QStringLiteral("^-[0-9.]"));
    if (words.isEmpty() || !number.match(words.last()).hasMatch() || words.contains(QStringLiteral("--")))
        return words;
    const QString before = words.value(words.size() - 2);
    const bool isValue = std::any_of(m_options.begin(), m_options.end(), [&before](const Option& option) {
        return option.value != Value::None && before == option.typed();
    });
    if (!isValue)
        words.insert(words.size() - 1, QStringLiteral("--"));
    return words;
}

QString OptionParser::problemOfValues() const
{
    for (const Option& option : m_options) {
        if (!isSet(option.name))
            continue;
        for (const QString& given : values(option.name)) {
            const QString problem = problemOf(option, given);
            if (!problem.isEmpty())
                return problem;
        }
    }
    return {};
}

QStringList OptionParser::given() const
{
    QStringList names = m_parser.optionNames();
    names.removeDuplicates();
    return names;
}

bool OptionParser::isSet(const char* option) const
{
    // The parser would complain of what was not added.
    return find(QLatin1String(option)) && m_parser.isSet(QLatin1String(option));
}

double OptionParser::hertz(const char* option) const
{
    return Kolta::hertzFromText(value(option)).value_or(0);
}

int OptionParser::choice(const char* option) const
{
    return placeAmong(choicesOf(QLatin1String(option)), value(option));
}

QStringList OptionParser::choicesOf(const QString& option) const
{
    const Option* const known = find(option);
    return known ? known->choices : QStringList();
}

const Option* OptionParser::find(const QString& name) const
{
    const auto it = std::find_if(m_options.begin(), m_options.end(), [&name](const Option& option) {
        return name == QLatin1String(option.name);
    });
    return it == m_options.end() ? nullptr : &*it;
}

int placeAmong(const QStringList& choices, const QString& word)
{
    const auto isIt = [&word](const QString& choice) {
        return choice.compare(word, Qt::CaseInsensitive) == 0;
    };
    const auto it = std::find_if(choices.begin(), choices.end(), isIt);
    return it == choices.end() ? -1 : static_cast<int>(it - choices.begin());
}

} // namespace KoltaApps
