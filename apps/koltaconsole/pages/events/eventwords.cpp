#include "eventwords.h"

#include <koltacommon/journal.h>
#include <koltacommon/viewroles.h>

#include <QByteArray>
#include <QJsonDocument>
#include <QRegularExpression>

namespace KoltaConsole {

using Kolta::Event;
using Kolta::EventFilter;
using Kolta::EventModel;

namespace {

QTime timeOf(const QString& text)
{
    const QTime time = QTime::fromString(text, QStringLiteral("H:mm:ss"));
    return time.isValid() ? time : QTime::fromString(text, QStringLiteral("H:mm"));
}

/// False for what is no range of times.
bool takeTimes(const QString& word, const QDate& today, EventFilter& filter)
{
    static const QRegularExpression range(
        QStringLiteral("^(\\d{1,2}:\\d\\d(?::\\d\\d)?)?[-–](\\d{1,2}:\\d\\d(?::\\d\\d)?)?$"));
    const QRegularExpressionMatch match = range.match(word);
    const QTime from = timeOf(match.captured(1)), to = timeOf(match.captured(2));
    const bool isFromGood = from.isValid() || match.captured(1).isEmpty();
    const bool isToGood = to.isValid() || match.captured(2).isEmpty();
    if (!match.hasMatch() || !isFromGood || !isToGood || (!from.isValid() && !to.isValid()))
        return false;
    const bool isOverMidnight = from.isValid() && to.isValid() && to <= from;
    filter.from = from.isValid() ? QDateTime(isOverMidnight ? today.addDays(-1) : today, from) : QDateTime();
    filter.to = to.isValid() ? QDateTime(today, to) : QDateTime();
    return true;
}

QString quoted(QString text)
{
    static const QRegularExpression special(QStringLiteral("[\",;\\r\\n]"));
    if (!text.contains(special))
        return text;
    return QLatin1Char('"') + text.replace(QLatin1Char('"'), QStringLiteral("\"\"")) + QLatin1Char('"');
}

QByteArray csvLine(const QStringList& cells)
{
    QStringList line;
    for (const QString& cell : cells)
        line.append(quoted(cell));
    return line.join(QLatin1Char(',')).toUtf8() + "\r\n";
}

} // namespace

EventFilter eventFilterOf(const QString& text, const QDate& today)
{
    static const QRegularExpression word(QStringLiteral("\"([^\"]*)\"?|([^\\s\",]+)"));
    EventFilter filter;
    for (auto found = word.globalMatch(text); found.hasNext();) {
        const QRegularExpressionMatch match = found.next();
        const QString plain = match.captured(2);
        if (!plain.isEmpty() && takeTimes(plain, today, filter))
            continue;
        const QString wanted = plain.isEmpty() ? match.captured(1) : plain;
        if (!wanted.isEmpty())
            filter.words.append(wanted);
    }
    return filter;
}

QByteArray eventsAs(EventFormat format, const EventModel& model)
{
    QByteArray bytes;
    if (format == EventFormat::Csv)
        bytes = "time,weight,server,kind,text,guid\r\n";
    for (int row = model.rowCount() - 1; row >= 0; --row) {
        const QModelIndex index = model.index(row, EventModel::eTextColumn);
        const auto event = index.data(Kolta::ViewRoles::ItemRole).value<Event>();
        const QString text = index.data().toString();
        if (format == EventFormat::Csv) {
            bytes += csvLine({event.timeText(), Event::word(event.weight), event.server(),
                              Event::word(event.kind), text, event.guid()});
            continue;
        }
        QJsonObject object = event.toJson();
        object[QStringLiteral("text")] = text;
        bytes += QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n';
    }
    return bytes;
}

} // namespace KoltaConsole
