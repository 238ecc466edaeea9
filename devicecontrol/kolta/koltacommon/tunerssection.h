#pragma once

#include <koltacommon/serversmodel.h>
#include <koltacommon/tunerboard.h>

#include <vector>

namespace Kolta {

/// One server's part of a model whose rows come from the server's tuners.
struct ServersModel::TunersSection : Section
{
    explicit TunersSection(KoltaServerInterface& shown)
        : Section(shown), board(shown, TunerBoard::Detail::ClassesAndUsers)
    {
    }

    TunerBoard board;
    // What has changed since the rows were shown last.
    bool isAllDue = true;
    std::vector<int> duePlaces;
};

} // namespace Kolta
