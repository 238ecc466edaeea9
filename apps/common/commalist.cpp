#include "commalist.h"

namespace KoltaApps {

namespace {

constexpr QChar kComma = QLatin1Char(',');

void take(QStringList& names, QString& name)
{
    const QString trimmed = name.trimmed();
    if (!trimmed.isEmpty())
        names.append(trimmed);
    name.clear();
}

} // namespace

QString commaList(const QStringList& names)
{
    QString list;
    for (const QString& name : names) {
        if (!list.isEmpty()) // two commas would be one of the name
            list += name.startsWith(kComma) ? QStringLiteral(", ") : QString(kComma);
        list += QString(name).replace(kComma, QStringLiteral(",,"));
    }
    return list;
}

QStringList namesOf(const QString& commaList)
{
    QStringList names;
    QString name;
    for (int at = 0; at < commaList.size(); ++at) {
        const bool isComma = commaList.at(at) == kComma;
        const bool isOfName = isComma && at + 1 < commaList.size() && commaList.at(at + 1) == kComma;
        at += isOfName ? 1 : 0;
        if (isComma && !isOfName)
            take(names, name);
        else
            name += commaList.at(at);
    }
    take(names, name);
    return names;
}

} // namespace KoltaApps
