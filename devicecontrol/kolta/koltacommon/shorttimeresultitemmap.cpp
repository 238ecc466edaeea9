#include <koltacommon/shorttimeresultitemmap.h>

namespace Kolta {

unsigned int ShortTimeResultItemMap::AddNew(ShortTimeResult result, IObserver* observer)
{
    result.id = CreateNewUniqueKey();
    return Add(result, observer);
}

} // namespace Kolta
