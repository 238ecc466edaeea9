#include <startup/hostandport.h>

#include <algorithm>

namespace Startup {

QString joinHostAndPort(const QString& host, quint16 port)
{
    const QString pattern =
        host.contains(QLatin1Char(':')) ? QStringLiteral("[%1]:%2") : QStringLiteral("%1:%2");
    return pattern.arg(host, QString::number(port));
}

bool splitHostAndPort(const QString& text, QString& host, QString& port)
{
    const int colon = text.lastIndexOf(QLatin1Char(':'));
    QString name = text.left(colon);
    const bool opens = name.startsWith(QLatin1Char('['));
    const bool closes = name.endsWith(QLatin1Char(']'));
    if (opens && closes)
        name = name.mid(1, name.size() - 2);
    if (colon < 0 || opens != closes)
        return false;
    host = name;
    port = text.mid(colon + 1);
    return true;
}

int portFromText(const QString& text)
{
    constexpr uint kHighest = 65535;
    // QString::toUInt() lets signs and blanks pass.
    const bool isDigits = std::all_of(text.begin(), text.end(), [](QChar letter) {
        return letter >= QLatin1Char('0') && letter <= QLatin1Char('9');
    });
    bool isNumber = false;
    const uint number = text.toUInt(&isNumber);
    return isDigits && isNumber && number <= kHighest ? static_cast<int>(number) : -1;
}

} // namespace Startup
