#include "option.h"

namespace KoltaApps {

QString Option::typed() const
{
    return (qstrlen(name) == 1 ? QStringLiteral("-") : QStringLiteral("--")) + QLatin1String(name);
}

QStringList Option::spellings() const
{
    QStringList all{typed()};
    if (letter != 0)
        all.prepend(QStringLiteral("-") + QLatin1Char(letter));
    return all;
}

QString Option::fullHelp() const
{
    QString text = QString::fromUtf8(help);
    text.replace(QLatin1String("{preset}"), preset);
    text.replace(QLatin1String("{least}"), shownNumber(minimum));
    text.replace(QLatin1String("{most}"), shownNumber(maximum));
    return withChoices(text, choices);
}

Option flag(const char* name, const char* help)
{
    return {name, help};
}

Option text(const char* name, const char* valueName, const char* help, const QString& preset)
{
    return {name, help, Value::Text, valueName, preset};
}

Option whole(const char* name, const char* valueName, const char* help, int minimum, int maximum,
             std::optional<int> preset)
{
    return {name,
            help,
            Value::Whole,
            valueName,
            preset ? QString::number(*preset) : QString(),
            static_cast<double>(minimum),
            static_cast<double>(maximum)};
}

Option seconds(const char* name, const char* help, double minimum, double maximum, double preset)
{
    return {name, help, Value::Seconds, "seconds", shownNumber(preset), minimum, maximum};
}

Option hertz(const char* name, const char* help)
{
    return {name, help, Value::Hertz, "Hz"};
}

Option choice(const char* name, const char* valueName, const char* help, const QStringList& choices,
              const QString& preset)
{
    return {name, help, Value::Choice, valueName, preset, 0, 0, choices};
}

Option checked(Option option, Check check)
{
    option.check = check;
    return option;
}

Option proposed(Option option, const QStringList& words)
{
    option.choices = words;
    return option;
}

Option lettered(char letter, Option option)
{
    option.letter = letter;
    return option;
}

Option hidden(Option option)
{
    option.isHidden = true;
    return option;
}

QStringList spellingsOf(const QVector<Option>& options)
{
    QStringList all;
    for (const Option& option : options) {
        if (!option.isHidden)
            all += option.spellings();
    }
    return all;
}

QString listed(const QStringList& words)
{
    return words.join(QStringLiteral(", "));
}

QString withChoices(QString help, const QStringList& choices)
{
    const QString place = QStringLiteral("{choices}");
    if (help.contains(place))
        return help.replace(place, listed(choices));
    return choices.isEmpty() ? help : help + QStringLiteral(" One of %1.").arg(listed(choices));
}

QString shownNumber(double number)
{
    constexpr int digits = 10; // as many as the largest whole number has
    return QString::number(number, 'g', digits);
}

} // namespace KoltaApps
