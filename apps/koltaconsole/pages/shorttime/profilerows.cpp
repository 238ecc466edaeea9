#include "profilerows.h"

#include "profilefields.h"

#include <koltaconsole/widgets/rowtexts.h>

#include <koltacommon/viewroles.h>

#include <QCoreApplication>

namespace KoltaConsole {

namespace Roles = Kolta::ViewRoles;
using Base = Kolta::ShortTimeProfileTableModel;

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(KoltaConsole::ProfileRows)
};

enum eColumn : int { eNameColumn, eTypeColumn, eModulationColumn = 4 };

int alignment(int column, int useColumn)
{
    const bool isText =
        column == eNameColumn || column == eTypeColumn || column == eModulationColumn || column == useColumn;
    return static_cast<int>(Qt::AlignVCenter) | static_cast<int>(isText ? Qt::AlignLeft : Qt::AlignRight);
}

} // namespace

int ProfileRows::adapterColumns() const
{
    return Base::adapterColumns() + 1;
}

QString ProfileRows::columnTitle(int column) const
{
    if (column == eDurationColumn)
        return fieldTitle(ProfileField::Duration);
    return column == Base::adapterColumns() ? Texts::tr("In use by") : Base::columnTitle(column);
}

QVariant ProfileRows::headerData(int section, Qt::Orientation orientation, int role) const
{
    return orientation == Qt::Horizontal && role == Qt::TextAlignmentRole
               ? QVariant(alignment(section, Base::adapterColumns()))
               : Base::headerData(section, orientation, role);
}

void ProfileRows::setUses(const QHash<QString, QStringList>& uses)
{
    if (m_uses == uses)
        return;
    m_uses = uses;
    const int column = Base::adapterColumns();
    if (rowCount() > 0)
        Q_EMIT dataChanged(index(0, column), index(rowCount() - 1, column));
}

/// One of them, and how many more; all of them in the tool tip.
QVariant ProfileRows::use(const QString& profile, int role) const
{
    const QStringList ffps = m_uses.value(profile);
    switch (role) {
    case Qt::DisplayRole:
        return ffps.size() > 1 ? QStringLiteral("%1 +%2").arg(ffps.first(), countText(ffps.size() - 1))
                               : ffps.value(0);
    case Qt::ToolTipRole:
        return ffps.join(QLatin1Char('\n'));
    case Roles::SortRole:
        return ffps.size();
    default:
        return QVariant();
    }
}

QVariant ProfileRows::itemData(const Row& row, int column, int role) const
{
    const int useColumn = Base::adapterColumns();
    if (role == Qt::TextAlignmentRole)
        return alignment(column, useColumn);
    const bool isRate = column == eSymbolRateColumn || column == eHopRateColumn;
    if (isRate && role == Qt::DisplayRole) // as the fields have it
        return fieldText(Base::itemData(row, column, Roles::ItemRole).value<Kolta::ShortTimeProfile>(),
                         column == eHopRateColumn ? ProfileField::HopRate : ProfileField::SymbolRate);
    const QString name = Base::itemData(row, eNameColumn, Qt::DisplayRole).toString();
    if (role == Roles::SearchRole) {
        QStringList texts = m_uses.value(name);
        for (int place = 0; place < useColumn; ++place)
            texts.append(Base::itemData(row, place, Qt::DisplayRole).toString());
        for (const int place : {eHopRateColumn, eSymbolRateColumn})
            texts.append(itemData(row, place, Qt::DisplayRole).toString());
        return texts.join(QLatin1Char('\n')).toLower();
    }
    const bool isOfCell = role == Qt::DisplayRole || role == Qt::DecorationRole || role == Qt::ToolTipRole ||
                          role == Roles::SortRole;
    if (column == eTypeColumn && role == Qt::DisplayRole &&
        Base::itemData(row, column, Roles::ItemRole).value<Kolta::ShortTimeProfile>().type ==
            Kolta::eShortTimeProfileUnspecified)
        return QVariant(); // as what is not in use
    return column == useColumn && isOfCell ? use(name, role)
                                           : Base::itemData(row, qMin(column, useColumn - 1), role);
}

} // namespace KoltaConsole
