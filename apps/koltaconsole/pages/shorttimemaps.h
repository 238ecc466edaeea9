#pragma once

#include "../session.h"

#include <koltacommon/actionrights.h>
#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/servernodes.h>
#include <values/tree.h>

namespace KoltaConsole {

/// A collection of short-time data of that server, "Profiles" for instance; null when it has none, and while
/// it is away.
template<class Map>
Map* shortTimeMap(const Session& session, const QString& server, const char* name)
{
    const Kolta::KoltaServerInterface* const known = session.server(server);
    if (!known)
        return nullptr;
    auto* const map = values::Tree::Instance().FindAs<Map>(
        Kolta::ServerNodes::shortTimePath(known->getServerBasePath(), QLatin1String(name)));
    return map && !map->IsDeleted() ? map : nullptr;
}

/// Why nothing can be done with short-time data of that server, as a sentence; empty: it is there. Rights,
/// link and looking only are the action table's to say.
QString objectionToShortTime(const QString& server, bool isThere);
/// "last known at 12:03:10", of what is shown of a server that is away.
QString lastKnownText(const Session& session, const QString& server);

} // namespace KoltaConsole
