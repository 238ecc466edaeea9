#pragma once

#include <koltacommon/shorttimeprofilemodel.h>

#include <QHash>
#include <QStringList>

namespace KoltaConsole {

/// The profiles of a server as a table shows them: those of one that is away too, numbers to the right, and
/// in a last column who uses them. Answers Kolta::ViewRoles::SearchRole.
class ProfileRows : public Kolta::ShortTimeProfileTableModel
{
public:
    enum eColumn : int {
        eNameColumn,
        eTypeColumn,
        eModulationColumn = 4,
        eDurationColumn,
        eHopRateColumn,
        eShiftColumn,
        eSymbolRateColumn
    };

    ProfileRows() { keepLastKnown(); }

    /// Names of FFPs by the names of the profiles that they look for.
    void setUses(const QHash<QString, QStringList>& uses);
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

protected:
    int adapterColumns() const override;
    QString columnTitle(int column) const override;
    QVariant itemData(const Row& row, int column, int role) const override;

private:
    QVariant use(const QString& profile, int role) const;

    QHash<QString, QStringList> m_uses;
};

} // namespace KoltaConsole
