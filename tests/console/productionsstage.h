#pragma once

#include "consoletest.h"

#include <koltaconsole/pages/productions/productionspage.h>

#include <koltacommon/productionjob.h>
#include <simulation/simulatedserver.h>

#include <QAbstractButton>
#include <QMessageBox>

/// The page on two servers; S1 has a second MCP that is empty.
struct ProductionsStage : Stage
{
    static KoltaConsole::Options twoServers()
    {
        KoltaConsole::Options options;
        options.servers = 2;
        options.page = QStringLiteral("productions");
        return options;
    }
    ProductionsStage() : Stage(twoServers())
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
        const QModelIndexList found =
            page->model().match(page->model().index(0, 0), Qt::DisplayRole, QLatin1String(name), 1,
                                Qt::MatchExactly | Qt::MatchRecursive);
        return found.isEmpty() ? QString() : page->model().rowAt(found.first())->key;
    }
    const KoltaConsole::ProductionRow* row(const QString& key) const { return page->model().find(key); }
    void select(const QString& key)
    {
        QApplication::setActiveWindow(window.get()); // a box may have been before it
        view->setCurrentIndex(page->model().indexOf(key));
        view->setFocus();
    }
    bool canDo(const char* id) { return window->actions().enabledBecause(QLatin1String(id)).isEmpty(); }
    KoltaSimulation::SimulatedServer& server() const
    {
        return *session->simulation()->server(QStringLiteral("S1"));
    }
    QMessageBox* box() const { return page->findChild<QMessageBox*>(); }
    void answer(const char* button) const
    {
        for (QAbstractButton* const each : box()->buttons()) {
            if (each->text().remove(QLatin1Char('&')) == QLatin1String(button))
                each->click();
        }
    }

    KoltaConsole::ProductionsPage* page;
    KoltaConsole::ProductionsView* view;

private:
    bool m_isAsked = false;
};
