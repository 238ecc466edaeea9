#include <startup/textplace.h>

#include <QXmlStreamReader>

namespace Startup {

QString TextPlace::toString() const
{
    return QStringLiteral("line %1, column %2").arg(line).arg(column);
}

QString TextPlace::message(const QString& file, const QString& complaint) const
{
    return QStringLiteral("%1, %2: %3").arg(file, toString(), complaint);
}

TextPlace TextPlace::behind(const QString& text) const
{
    const int lastBreak = text.lastIndexOf(QLatin1Char('\n'));
    return {line + text.count(QLatin1Char('\n')),
            lastBreak < 0 ? column + text.size() : text.size() - lastBreak};
}

TextPlace TextPlace::of(const QXmlStreamReader& xml)
{
    return {xml.lineNumber(), xml.columnNumber() + 1}; // it counts columns from 0
}

} // namespace Startup
