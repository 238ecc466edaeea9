#include "viewtexts.h"

#include <koltacommon/units.h>
#include <koltacommon/viewtime.h>

#include <QtNumeric>

namespace Kolta::ViewTexts {

namespace {

bool isToday(const QDateTime& time)
{
    return time.date() == ViewTime::now().date();
}

bool isSaid(double value)
{
    return qIsFinite(value) && value > 0;
}

} // namespace

QString time(const QDateTime& time)
{
    return time.toString(isToday(time) ? QStringLiteral("HH:mm:ss") : QStringLiteral("yyyy-MM-dd HH:mm:ss"));
}

QString exactTime(const QDateTime& time)
{
    return time.toString(isToday(time) ? QStringLiteral("HH:mm:ss.zzz")
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
