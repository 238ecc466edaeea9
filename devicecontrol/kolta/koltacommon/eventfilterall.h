#pragma once

#include <koltacommon/generalrequests.h>

namespace Kolta {

/// Subscribes to the broadcasts of all components of a server.
class EventFilterAll : public GeneralRequest
{
public:
    EventFilterAll();
};

} // namespace Kolta
