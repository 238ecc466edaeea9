#pragma once

#include "consoletest.h"

#include <koltaconsole/pages/shorttime/shorttimemaps.h>
#include <koltaconsole/pages/shorttime/shorttimepage.h>

#include <QTabWidget>

/// A console on short-time data of simulated servers.
struct ShortTimeStage : Stage
{
    explicit ShortTimeStage(int servers = 1)
        : Stage(servers, "short-time"), page(static_cast<KoltaConsole::ShortTimePage*>(window->currentPage()))
    {
    }
    template<class Map>
    Map& map() const
    {
        return *KoltaConsole::shortTimeMap<Map>(*session, QStringLiteral("S1"));
    }
    Kolta::ShortTimeProfileItemMap& profiles() const { return map<Kolta::ShortTimeProfileItemMap>(); }
    void show(int tab) const { page->findChild<QTabWidget*>()->setCurrentIndex(tab); }

    KoltaConsole::ShortTimePage* page;
};
