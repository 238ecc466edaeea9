#pragma once

#include <koltacommon/actionrights.h>
#include <koltacommon/itemmapmodel.h>
#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/shorttimemaps.h>
#include <koltaconsole/session/session.h>
#include <koltaconsole/session/shorttimememory.h>

namespace KoltaConsole {

struct LineWords;

/// A collection of short-time data of that server; null when it has none, and while it is away.
template<class Map>
Map* shortTimeMap(const Session& session, const QString& server)
{
    const Kolta::KoltaServerInterface* const known = session.server(server);
    return known ? Kolta::shortTimeMap<Map>(known->getServerBasePath()) : nullptr;
}

/// What that collection has, or had when its server was seen last; null when it was never seen.
template<class Map>
const typename Map::Map* shortTimeContent(const Session& session, const QString& server)
{
    if (const Map* const map = shortTimeMap<Map>(session, server))
        return &map->data();
    const Kolta::KoltaServerInterface* const known = session.server(server);
    return known ? session.shortTimeMemory().contentOf<Map>(
                       Kolta::ServerNodes::shortTimePath<Map>(known->getServerBasePath()))
                 : nullptr;
}

/// Lets a model that keeps what was known last show that. `isOther`: it has shown another server.
template<class Map, class Adapter>
void showShortTime(Kolta::ItemMapModel<Map, Adapter>& model, const Session& session, const QString& server,
                   bool isOther)
{
    Map* const map = shortTimeMap<Map>(session, server);
    if (map ? model.map() == map : !isOther)
        return;
    const auto* const known = map ? nullptr : shortTimeContent<Map>(session, server);
    if (known)
        model.showLastKnown(*known);
    else
        model.setMap(map);
}

/// Why nothing can be done with short-time data of that server, as a sentence; empty: it is there. Rights,
/// link and looking only are the action table's to say.
QString objectionToShortTime(const QString& server, bool isThere);
/// The same for what a line of `kolta` asks of the profiles of a server, while the page shows `shown`; before
/// it has been seen it shows none.
QString objectionToShortTimeLine(const Session& session, const LineWords& words, const QString& shown);
/// "last known 12:03:10", of what is shown of a server that is away.
QString lastKnownText(const Session& session, const QString& server);

} // namespace KoltaConsole
