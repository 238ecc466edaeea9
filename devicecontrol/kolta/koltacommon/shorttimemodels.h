#pragma once

#include <koltacommon/convertproductionresultmap.h>
#include <koltacommon/itemmapmodel.h>
#include <koltacommon/shapecollectionitemmap.h>
#include <koltacommon/shorttimeffpassignmentitemmap.h>
#include <koltacommon/shorttimeprofileitemmap.h>
#include <koltacommon/shorttimeresultitemmap.h>

/// \file
/// The collections of short-time signal data as models, and layouts for trees of them.

Q_DECLARE_METATYPE(Kolta::ConvertProductionResult)
Q_DECLARE_METATYPE(Kolta::ShapeCollectionItem)
Q_DECLARE_METATYPE(Kolta::ShortTimeFFPAssignment)
Q_DECLARE_METATYPE(Kolta::ShortTimeProfile)
Q_DECLARE_METATYPE(Kolta::ShortTimeResult)

namespace Kolta {

using ConvertProductionResultModel = ItemMapModel<ConvertProductionResultMap>;
using ShapeCollectionModel = ItemMapModel<ShapeCollectionItemMap>;
using ShortTimeFFPAssignmentModel = ItemMapModel<ShortTimeFFPAssignmentItemMap>;
using ShortTimeProfileModel = ItemMapModel<ShortTimeProfileItemMap>;
using ShortTimeResultModel = ItemMapModel<ShortTimeResultItemMap>;

/// Results below the GUIDs of the FFPs that detected them.
inline ItemMapLayout<ShortTimeResult> resultsByFFP()
{
    return {[](const ShortTimeResult& result) { return result.ffpGuid; }, {}};
}
/// Conversions below the texts of their states.
inline ItemMapLayout<ConvertProductionResult> conversionsByState()
{
    constexpr int stateColumn = 1;
    return ItemMapLayout<ConvertProductionResult>::byColumn<ConvertProductionResult_TextAdapter>(stateColumn);
}
/// Assignments with the names of their profiles below them.
inline ItemMapLayout<ShortTimeFFPAssignment> assignmentsWithProfiles()
{
    return {{}, [](const ShortTimeFFPAssignment& assignment) { return assignment.profiles; }};
}

} // namespace Kolta
