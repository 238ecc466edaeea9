#include "eventcsv.h"

#include <QRegularExpression>
#include <QStringList>

namespace KoltaApps {

using Kolta::Event;

QString eventAsCsv(const Event& event, const QString& text)
{
    static const QRegularExpression special(QStringLiteral("[\",;\\r\\n]"));
    QStringList cells{
        event.timeText(), Event::word(event.weight), event.server(), Event::word(event.kind), text,
        event.guid()};
    for (QString& cell : cells) {
        if (cell.contains(special))
            cell =
                QLatin1Char('"') + cell.replace(QLatin1Char('"'), QStringLiteral("\"\"")) + QLatin1Char('"');
    }
    return cells.join(QLatin1Char(','));
}

} // namespace KoltaApps
