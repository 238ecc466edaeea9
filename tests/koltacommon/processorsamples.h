#pragma once

#include <resourcemodel/processors.h>
#include <support/text.h>

#include <QMap>
#include <QRegularExpression>
#include <QStringList>

/// Processor overviews in short: "S1(f2 d3(f4)) M5=x(h6(a7 f8))" is SCP 1 with FFP 2 and DSC 3, which holds
/// FFP 4, and MCP 5 with display name "x" and FHP 6, which holds FHA 7 and FFP 8. The numbers stand for
/// GUIDs; 0 is a processor without GUID.
namespace ProcessorSamples {

inline QString guid(int number)
{
    return "{0f2d5c1e-6d0a-4a53-9c1b-%1}"_s.arg(number, 12, 10, QLatin1Char('0'));
}

inline int numberOf(const QString& guid)
{
    return guid.mid(25, 12).toInt();
}

inline QString xmlOf(const QString& text)
{
    static const QMap<QString, const char*> classes{{"S"_s, "SCP"}, {"M"_s, "MCP"}, {"f"_s, "FFP"},
                                                    {"d"_s, "DSC"}, {"h"_s, "FHP"}, {"a"_s, "FHA"}};
    static const QRegularExpression token("([SMfdha])(\\d+)(?:=(\\w+))?(\\()?|(\\))"_s);
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
        xml += "<%1><KoltaProcessor><TavikResource>"_s.arg(name);
        if (number > 0)
            xml += "<GUID>%1</GUID>"_s.arg(guid(number));
        xml += "<DisplayName>%1</DisplayName></TavikResource></KoltaProcessor>"_s.arg(part.captured(3));
        open += "</%1>"_s.arg(name);
        if (part.captured(4).isEmpty())
            xml += open.takeLast();
    }
    return "<ProcessorOverview>%1</ProcessorOverview>"_s.arg(xml);
}

inline RESOURCEMANAGEMENT::ProcessorOverview overviewOf(const QString& text)
{
    RESOURCEMANAGEMENT::ProcessorOverview overview;
    overview.SetXmlString(xmlOf(text), true);
    return overview;
}

} // namespace ProcessorSamples
