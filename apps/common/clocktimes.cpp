#include "clocktimes.h"

namespace KoltaApps {

QTime timeOfDay(const QString& text)
{
    for (const char* const form : {"H:mm", "H:mm:ss", "H:mm:ss.zzz"}) {
        const QTime time = QTime::fromString(text, QLatin1String(form));
        if (time.isValid())
            return time;
    }
    return QTime();
}

QDateTime momentOf(const QString& text)
{
    const QTime time = timeOfDay(text);
    return time.isValid() ? QDateTime(QDate::currentDate(), time)
                          : QDateTime::fromString(text, Qt::ISODateWithMs);
}

QString problemOfMoment(const QString& text)
{
    return momentOf(text).isValid()
               ? QString()
               : QStringLiteral("\"%1\" is no time such as 2026-11-21T09:58 or 09:58").arg(text);
}

} // namespace KoltaApps
