#include <koltacommon/viewroles.h>

namespace Kolta::ViewRoles {

const QHash<int, QByteArray>& names()
{
    static const QHash<int, QByteArray> all{
        {KeyRole, "key"},         {ItemRole, "item"},     {GroupRole, "group"},
        {ServerRole, "server"},   {GuidRole, "guid"},     {SortRole, "sort"},
        {StateRole, "state"},     {StaleRole, "stale"},   {LastKnownRole, "lastKnown"},
        {PlannedRole, "planned"}, {HolderRole, "holder"}, {SinceRole, "since"},
        {SearchRole, "search"},   {FreeRole, "free"},     {CountRole, "count"}};
    return all;
}

QHash<int, QByteArray> namesBeside(QHash<int, QByteArray> ofBase)
{
    for (auto name = names().begin(); name != names().end(); ++name)
        ofBase.insert(name.key(), name.value());
    return ofBase;
}

QString sortText(const QString& text)
{
    const QString folded = text.toCaseFolded();
    QString result;
    result.reserve(folded.size());
    for (int at = 0; at < folded.size();) {
        const int begin = at;
        while (at < folded.size() && folded.at(at).isDigit())
            ++at;
        if (at == begin) {
            result += folded.at(at++);
            continue;
        }
        // The more digits, the larger: their number comes first, as one character of the digits' rank.
        int first = begin;
        while (first + 1 < at && folded.at(first) == QLatin1Char('0'))
            ++first;
        result += QLatin1Char('0');
        result += QChar(static_cast<ushort>(at - first));
        result += folded.midRef(first, at - first);
    }
    return result;
}

} // namespace Kolta::ViewRoles
