#pragma once

#include <startup/tracesource.h>

namespace Kolta {

/// Numbers of the trace points of KoltaConnection, whose code stands in several files. Support tools match on
/// them.
enum eTracePoint : int {
    eQueueLength = 288,
    eExecuteException = 300,
    eExecuteUnknownException = 304,
    eDispatchException = 340,
    eProcessReplyException = 390,
    eSendException = 444,
    eAbandonedException = 460,
    eReceiverException = 470
};
constexpr Startup::TraceSource kTrace("devicecontrol/kolta/koltacommon/koltaconnection");

} // namespace Kolta
