#pragma once

#include <koltaconsole/session/linkmessage.h>

namespace KoltaConsole {

/// The XML messages of a link of this process. `link`: its id in KoltaConnectionsViewer.
MessageTap xmlMessagesOf(quint32 link);

} // namespace KoltaConsole
