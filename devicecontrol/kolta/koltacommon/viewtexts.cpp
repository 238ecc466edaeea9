#include <koltacommon/viewtexts.h>

#include <koltacommon/units.h>
#include <koltacommon/viewtime.h>

#include <QCoreApplication>
#include <QLocale>
#include <QtNumeric>

namespace Kolta::ViewTexts {

namespace {

QString translated(const char* text)
{
    return QCoreApplication::translate("Kolta::ViewTexts", text);
}

qint64 daysAgo(const QDateTime& time)
{
    return time.date().daysTo(ViewTime::now().date());
}

bool isSaid(double value)
{
    return qIsFinite(value) && value > 0;
}

} // namespace

QString time(const QDateTime& time)
{
    if (!time.isValid())
        return QString();
    const qint64 days = daysAgo(time);
    if (days == 0)
        return time.toString(QStringLiteral("HH:mm:ss"));
    if (days == 1)
        return translated(QT_TRANSLATE_NOOP("Kolta::ViewTexts", "yesterday %1"))
            .arg(time.toString(QStringLiteral("HH:mm")));
    return QLocale().toString(time, QLocale::ShortFormat);
}

QString lastKnown(const QDateTime& time)
{
    return time.isValid()
               ? translated(QT_TRANSLATE_NOOP("Kolta::ViewTexts", "last known %1")).arg(ViewTexts::time(time))
               : translated(QT_TRANSLATE_NOOP("Kolta::ViewTexts", "last known earlier"));
}

QString exactTime(const QDateTime& time)
{
    return time.toString(daysAgo(time) == 0 ? QStringLiteral("HH:mm:ss.zzz")
                                            : QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz"));
}

QString range(double from, double to)
{
    if (!isSaid(to))
        return isSaid(from) ? QStringLiteral("%1 –").arg(hertzToText(from)) : QString();
    return isSaid(from) ? hertzRangeToText(from, to) : QStringLiteral("– %1").arg(hertzToText(to));
}

QString hertz(double hertz)
{
    return isSaid(hertz) ? hertzToText(hertz) : QString();
}

} // namespace Kolta::ViewTexts
