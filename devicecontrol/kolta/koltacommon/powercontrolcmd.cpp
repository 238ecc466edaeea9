#include <koltacommon/powercontrolcmd.h>

namespace Kolta {

namespace {

QString escaped(QString unit)
{
    return unit.replace(QLatin1Char('%'), QLatin1String("%25"))
        .replace(QLatin1Char(','), QLatin1String("%2C"));
}

QString unescaped(QString unit)
{
    // The percent sign comes last, so that what it yields is not read as an escape again.
    return unit.replace(QLatin1String("%2C"), QLatin1String(","))
        .replace(QLatin1String("%25"), QLatin1String("%"));
}

} // namespace

PowerControlCmd::PowerControlCmd(eScope scope, bool on, const QStringList& units)
    : m_scope(scope), m_on(on), m_units(units)
{
}

QString PowerControlCmd::toString() const
{
    QStringList units;
    units.reserve(m_units.size());
    for (const QString& unit : m_units)
        units.append(escaped(unit));
    return QStringLiteral("%1@%2@%3")
        .arg(QString::number(m_scope), m_on ? QStringLiteral("1") : QStringLiteral("0"),
             units.join(QLatin1Char(',')));
}

std::optional<PowerControlCmd> PowerControlCmd::fromString(const QString& text)
{
    const QChar separator = QLatin1Char('@');
    const QString scope = text.section(separator, 0, 0);
    const QString on = text.section(separator, 1, 1);
    const QString list = text.section(separator, 2);

    if (scope.size() != 1 || scope.at(0) < QLatin1Char('0') || scope.at(0) > QLatin1Char('4'))
        return std::nullopt;
    if (on != QLatin1String("0") && on != QLatin1String("1"))
        return std::nullopt;
    QStringList units;
    for (const QString& unit : list.split(QLatin1Char(','))) {
        if (unit.isEmpty())
            return std::nullopt;
        units.append(unescaped(unit));
    }
    return PowerControlCmd(static_cast<eScope>(scope.at(0).digitValue()), on == QLatin1String("1"), units);
}

} // namespace Kolta
