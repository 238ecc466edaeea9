#pragma once

#include "consoletest.h"

#include <koltaconsole/pages/productions/productionspage.h>
#include <koltaconsole/pages/productions/productionsview.h>

#include <koltacommon/productionjob.h>

/// The page on two servers; S1 has a second MCP that is empty.
struct ProductionsStage : Stage
{
    explicit ProductionsStage(int servers = 2) : Stage(servers, "productions")
    {
        page = static_cast<KoltaConsole::ProductionsPage*>(window->currentPage());
        view = page->findChild<KoltaConsole::ProductionsView*>();
    }
    bool isReady()
    {
        if (!isSettled() || keyOf("FFP 1").isEmpty())
            return false;
        if (!m_isAsked) {
            Kolta::ProductionOrder order;
            order.kind = Kolta::ProductionOrder::Kind::Mcp;
            order.tunerClass = QStringLiteral("Wide");
            order.frequency = 98.5e6;
            order.bandwidth = 8e6;
            order.displayName = QStringLiteral("MCP 2");
            (new Kolta::ProductionJob(*session->server(QStringLiteral("S1")), order, page))
                ->deleteWhenFinished();
            m_isAsked = true;
        }
        return !keyOf("MCP 2").isEmpty();
    }
    /// Of the row of S1 with that name.
    QString keyOf(const char* name) const
    {
        const QModelIndex found = find(page->model(), QLatin1String(name));
        return found.isValid() ? page->model().rowAt(found)->key : QString();
    }
    const KoltaConsole::ProductionRow* row(const QString& key) const { return page->model().find(key); }
    void select(const QString& key)
    {
        QApplication::setActiveWindow(window.get()); // a box may have been before it
        view->setCurrentIndex(page->model().indexOf(key));
        view->setFocus();
    }
    bool canDo(const char* id) const { return why(id).isEmpty(); }
    QMessageBox* box() const { return page->findChild<QMessageBox*>(); }

    KoltaConsole::ProductionsPage* page;
    KoltaConsole::ProductionsView* view;

private:
    bool m_isAsked = false;
};
