#include "eventwords.h"

#include <common/clocktimes.h>
#include <common/eventcsv.h>
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

/// What a filter line says of times.
struct Times
{
    QDate day;
    QTime from;
    QTime to;

    /// False for what is no range of times.
    bool takeRange(const QString& word)
    {
        static const QRegularExpression range(QStringLiteral("^([\\d:.]*)[-–]([\\d:.]*)$"));
        const QRegularExpressionMatch match = range.match(word);
        const QTime first = KoltaApps::timeOfDay(match.captured(1));
        const QTime last = KoltaApps::timeOfDay(match.captured(2));
        const bool isFirstGood = first.isValid() || match.captured(1).isEmpty();
        const bool isLastGood = last.isValid() || match.captured(2).isEmpty();
        if (!match.hasMatch() || !isFirstGood || !isLastGood || (!first.isValid() && !last.isValid()))
            return false;
        from = first;
        to = last;
        return true;
    }
    bool takeDay(const QString& word)
    {
        const QDate taken = QDate::fromString(word, QStringLiteral("yyyy-MM-dd"));
        if (taken.isValid())
            day = taken;
        return taken.isValid();
    }

    /// Without a day, of the last one on which it has begun.
    void put(EventFilter& filter, const QDateTime& now) const
    {
        QDate begun = day.isValid() ? day : now.date();
        if (!day.isValid() && from.isValid() && QDateTime(begun, from) > now)
            begun = begun.addDays(-1);
        const bool isOverMidnight = from.isValid() && to.isValid() && to <= from;
        if (from.isValid())
            filter.from = QDateTime(begun, from);
        else if (day.isValid())
            filter.from = QDateTime(day, QTime(0, 0));
        if (to.isValid())
            filter.to = QDateTime(isOverMidnight ? begun.addDays(1) : begun, to);
        else if (day.isValid())
            filter.to = QDateTime(day.addDays(1), QTime(0, 0));
    }
};

} // namespace

EventFilter eventFilterOf(const QString& text, const QDateTime& now)
{
    static const QRegularExpression word(QStringLiteral("(!?)=?\"([^\"]*)\"?|(!?)=?([^\\s\",=][^\\s\",]*)"));
    EventFilter filter;
    Times times;
    for (auto found = word.globalMatch(text); found.hasNext();) {
        const QRegularExpressionMatch match = found.next();
        const QString plain = match.captured(4);
        const bool isNegated = !match.captured(1).isEmpty() || !match.captured(3).isEmpty();
        if (!isNegated && (times.takeRange(plain) || times.takeDay(plain)))
            continue;
        const QString said = plain.isEmpty() ? match.captured(2) : plain;
        // A sign alone waits for what is to be behind it.
        if (!said.isEmpty() && said != QLatin1String("!"))
            (isNegated ? filter.without : filter.words).append(said);
    }
    times.put(filter, now);
    return filter;
}

QByteArray eventsAs(EventFormat format, const EventModel& model)
{
    QByteArray bytes;
    if (format == EventFormat::Csv)
        bytes = QByteArray(KoltaApps::kEventTitles) + "\r\n";
    for (int row = model.rowCount() - 1; row >= 0; --row) {
        const QModelIndex index = model.index(row, EventModel::eTextColumn);
        const auto event = index.data(Kolta::ViewRoles::ItemRole).value<Event>();
        const QString text = index.data().toString();
        if (format == EventFormat::Csv) {
            bytes += KoltaApps::eventAsCsv(event, text).toUtf8() + "\r\n";
            continue;
        }
        QJsonObject object = event.toJson();
        object[QStringLiteral("text")] = text;
        bytes += QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n';
    }
    return bytes;
}

} // namespace KoltaConsole
