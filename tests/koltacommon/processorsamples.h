#pragma once

#include <resourcemodel/processors.h>

#include <QMap>
#include <QRegularExpression>
#include <QStringList>

/// Processor overviews in short: "S1(f2 d3(f4)) M5=x(h6(a7 f8))" is SCP 1 with FFP 2 and DSC 3, which holds
/// FFP 4, and MCP 5 with display name "x" and FHP 6, which holds FHA 7 and FFP 8. The numbers stand for
/// GUIDs; 0 is a processor without GUID.
namespace ProcessorSamples {

inline QString guid(int number)
{
    return QStringLiteral("{0f2d5c1e-6d0a-4a53-9c1b-%1}").arg(number, 12, 10, QLatin1Char('0'));
}

inline int numberOf(const QString& guid)
{
    return guid.mid(25, 12).toInt();
}

inline QString xmlOf(const QString& text)
{
    static const QMap<QString, const char*> classes{
        {QStringLiteral("S"), "SCP"}, {QStringLiteral("M"), "MCP"}, {QStringLiteral("f"), "FFP"},
        {QStringLiteral("d"), "DSC"}, {QStringLiteral("h"), "FHP"}, {QStringLiteral("a"), "FHA"}};
    static const QRegularExpression token(QStringLiteral("([SMfdha])(\\d+)(?:=(\\w))?(\\()?|(\\))"));
    QString xml;
    QStringList open;
    for (auto match = token.globalMatch(text); match.hasNext();) {
        const QRegularExpressionMatch part = match.next();
        if (!part.captured(5).isEmpty()) {
            xml += open.takeLast();
            continue;
        }
        const QLatin1String name(classes.value(part.captured(1)));
        const int number = part.captured(2).toInt();
        xml += QStringLiteral("<%1><KoltaProcessor><TavikResource>").arg(name);
        if (number > 0)
            xml += QStringLiteral("<GUID>%1</GUID>").arg(guid(number));
        xml += QStringLiteral("<DisplayName>%1</DisplayName></TavikResource></KoltaProcessor>")
                   .arg(part.captured(3));
        open += QStringLiteral("</%1>").arg(name);
        if (part.captured(4).isEmpty())
            xml += open.takeLast();
    }
    return QStringLiteral("<ProcessorOverview>%1</ProcessorOverview>").arg(xml);
}

inline RESOURCEMANAGEMENT::ProcessorOverview overviewOf(const QString& text)
{
    RESOURCEMANAGEMENT::ProcessorOverview overview;
    overview.SetXmlString(xmlOf(text), true);
    return overview;
}

} // namespace ProcessorSamples
