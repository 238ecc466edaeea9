#pragma once

#include <koltacommon/export.h>
#include <koltacommon/generalrequests.h>

namespace Kolta {

/// Subscribes to the broadcasts of all components of a server.
class KOLTA_COMMON_EXPORT EventFilterAll : public GeneralRequest
{
public:
    EventFilterAll();
};

} // namespace Kolta
