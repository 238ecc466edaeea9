#pragma once

#include <koltacommon/export.h>
#include <koltacommon/itemmapmodel.h>
#include <koltacommon/shorttimemodels.h>
#include <koltacommon/textcolumns.h>

namespace Kolta {

/// Short-time profiles in columns: Name, Type, Frequency, Bandwidth, Modulation, Duration, Hop rate, Shift,
/// Symbol rate. Texts of members that are not in use are empty. Units are Hz, hops per second and Bd; the
/// duration is in the unit of its source and has none.
class KOLTA_COMMON_EXPORT ShortTimeProfile_ColumnAdapter
    : public ColumnTextAdapter<ShortTimeProfile_ColumnAdapter, ShortTimeProfile>
{
public:
    static const TextColumns<ShortTimeProfile>& columns();
    /// The smallest value of a range, the rate, or the text such that "P2" comes before "P10".
    static QVariant GetSortValue4Column(int column, const ShortTimeProfile& profile);
};

/// The profiles with real columns; ShortTimeProfileModel has one, with their names.
using ShortTimeProfileTableModel = ItemMapModel<ShortTimeProfileItemMap, ShortTimeProfile_ColumnAdapter>;

} // namespace Kolta
