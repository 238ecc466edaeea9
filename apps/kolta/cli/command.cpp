#include "command.h"

namespace KoltaCli {

QString Option::typed() const
{
    return (qstrlen(name) == 1 ? QStringLiteral("-") : QStringLiteral("--")) + QLatin1String(name);
}

Option flag(const char* name, const char* help)
{
    return {name, help};
}

Option text(const char* name, const char* valueName, const char* help, const char* preset)
{
    return {name, help, Value::Text, valueName, preset};
}

Option whole(const char* name, const char* valueName, const char* help, int minimum, int maximum,
             const char* preset)
{
    return {name, help, Value::Whole, valueName, preset, minimum, maximum};
}

Option hertz(const char* name, const char* help)
{
    return {name, help, Value::Hertz, "Hz"};
}

Option choice(const char* name, const char* valueName, const char* help, const QStringList& choices)
{
    return {name, help, Value::Choice, valueName, "", 0, 0, choices};
}

Option checked(Option option, Check check)
{
    option.check = check;
    return option;
}

const QVector<Option>& commonOptions()
{
    static const QVector<Option> options{
        flag("help", "Show this help."),
        flag("json", "Print JSON, one object per line, for programs."),
        text("timeout", "seconds", "Seconds to wait for a link or a reply, 0.1 to 3600 (5).", "5"),
        flag("trace", "Write trace lines to standard error, for support."),
    };
    return options;
}

QString listed(const QStringList& words)
{
    return words.join(QStringLiteral(", "));
}

} // namespace KoltaCli
