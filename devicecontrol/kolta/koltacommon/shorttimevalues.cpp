#include <koltacommon/shorttimevalues.h>

#include <koltacommon/convertproductionresultmap.h>
#include <koltacommon/shapecollectionitemmap.h>
#include <koltacommon/shorttimeffpassignmentitemmap.h>
#include <koltacommon/shorttimeprofileitemmap.h>
#include <koltacommon/shorttimeresultitemmap.h>

#include <values/defaultvaluecreator.h>

namespace Kolta {

namespace {

template<class... Maps>
bool registerAll()
{
    // Every one of them, also behind one that fails.
    return (int(values::DefaultValueCreator<Maps>::Register()) & ...) != 0;
}

} // namespace

bool registerShortTimeValues()
{
    return registerAll<ShortTimeProfileItemMap, ShortTimeFFPAssignmentItemMap, ShortTimeResultItemMap,
                       ShapeCollectionItemMap, ConvertProductionResultMap>();
}

} // namespace Kolta
