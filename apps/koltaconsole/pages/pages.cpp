#include "pages.h"

#include <koltaconsole/pages/events/eventspage.h>
#include <koltaconsole/pages/order/orderpage.h>
#include <koltaconsole/pages/overview/overviewpage.h>
#include <koltaconsole/pages/productions/productionspage.h>
#include <koltaconsole/pages/shorttime/shorttimepage.h>
#include <koltaconsole/pages/tuners/tunerspage.h>

namespace KoltaConsole {

namespace {

template<class Made>
Page* make(Session& session, ActionTable& actions, QWidget* parent)
{
    return new Made(session, actions, parent);
}

} // namespace

const QVector<PageEntry>& pageTable()
{
    static const QVector<PageEntry> pages{
        {"overview", QT_TRANSLATE_NOOP("Pages", "Overview"), make<OverviewPage>},
        {"tuners", QT_TRANSLATE_NOOP("Pages", "Tuners"), make<TunersPage>},
        {"order", QT_TRANSLATE_NOOP("Pages", "Order"), make<OrderPage>},
        {"productions", QT_TRANSLATE_NOOP("Pages", "Productions"), make<ProductionsPage>},
        {"short-time", QT_TRANSLATE_NOOP("Pages", "Short-time"), make<ShortTimePage>},
        {"events", QT_TRANSLATE_NOOP("Pages", "Events and links"), make<EventsPage>},
    };
    return pages;
}

QStringList pageIds()
{
    QStringList ids;
    for (const PageEntry& page : pageTable())
        ids.append(QLatin1String(page.id));
    return ids;
}

} // namespace KoltaConsole
