#include "mainwindow.h"

#include "attentionlist.h"
#include "installationtree.h"
#include "palette.h"
#include "topbar.h"

#include <koltaconsole/pages/page.h>

#include <QAbstractItemView>
#include <QApplication>
#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMenu>
#include <QTreeView>

/// \file
/// How the keyboard goes about in the window.

namespace KoltaConsole {

namespace {

/// The part of the window itself where it takes the focus, else the first in it that the Tab key reaches.
QWidget& firstForKeys(QWidget& region)
{
    if (region.focusPolicy() != Qt::NoFocus || region.focusProxy())
        return region;
    for (QWidget* each = region.nextInFocusChain(); each != &region; each = each->nextInFocusChain()) {
        const bool isReached = (each->focusPolicy() & Qt::TabFocus) != 0;
        if (isReached && each->isEnabled() && each->isVisible() && region.isAncestorOf(each))
            return *each;
    }
    return region;
}

} // namespace

void MainWindow::addKey(const char* id, const QString& text, const QKeySequence& keys,
                        const std::function<void()>& run)
{
    ActionTable::Entry entry;
    entry.id = QLatin1String(id);
    entry.text = text;
    entry.shortcut = keys;
    entry.run = run;
    m_actions.add(entry, this);
}

void MainWindow::makeRegionActions()
{
    addKey("filter", tr("Filter the page"), QKeySequence(Qt::Key_Slash), [this] {
        if (Page* const page = currentPage(); page && page->filterLine())
            page->filterLine()->setFocus();
    });
    addKey("tree", tr("Show or hide the tree"), QKeySequence(Qt::CTRL + Qt::Key_B),
           [this] { m_tree->setVisible(!m_tree->isVisible()); });
    addKey("events", tr("Show or hide the events"), QKeySequence(Qt::CTRL + Qt::Key_E),
           [this] { m_events->setVisible(!m_events->isVisible()); });
    addKey("region", tr("Next part of the window"), QKeySequence(Qt::Key_F6), [this] { nextRegion(); });
    addKey("leave", tr("Leave list, filter, selection, server"), QKeySequence(Qt::Key_Escape),
           [this] { leave(); });
    addKey("event", tr("Newest event"), QKeySequence(Qt::CTRL + Qt::Key_L), [this] { showNewestEvent(); });
    addKey("row-menu", tr("Menu of the row"), QKeySequence(Qt::Key_F10), [this] { showRowMenu(); });
    addKey("all-servers", tr("Show all servers"), QKeySequence(),
           [this] { m_tree->selectServer(QString()); });
}

/// Of those that are to be seen.
void MainWindow::nextRegion()
{
    QVector<QWidget*> regions;
    for (QWidget* const region : {static_cast<QWidget*>(m_top), static_cast<QWidget*>(m_tree),
                                  static_cast<QWidget*>(currentPage()), static_cast<QWidget*>(m_events)}) {
        if (region && region->isVisible())
            regions.append(region);
    }
    int place = 0;
    while (place < regions.size() && !regions.at(place)->isAncestorOf(QApplication::focusWidget()) &&
           !regions.at(place)->hasFocus())
        ++place;
    QWidget* const next = regions.at((place + 1) % regions.size());
    firstForKeys(*next).setFocus();
}

/// One step out of what narrows the view, the innermost first.
void MainWindow::leave()
{
    QWidget* const focus = QApplication::focusWidget();
    if (focus && QApplication::mouseButtons() != Qt::NoButton) {
        QKeyEvent key(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier); // it ends a drag
        QCoreApplication::sendEvent(focus, &key);
        return;
    }
    for (QWidget* const list : {static_cast<QWidget*>(m_attention), static_cast<QWidget*>(m_palette)}) {
        if (!list->isVisible())
            continue;
        list->hide();
        currentPage()->setFocus();
        return;
    }
    if (QLineEdit* const filter = currentPage()->filterLine(); filter && !filter->text().isEmpty())
        return filter->clear();
    for (QAbstractItemView* const view : currentPage()->findChildren<QAbstractItemView*>()) {
        if (!view->isVisible() || !view->selectionModel() || !view->selectionModel()->hasSelection())
            continue;
        view->clearSelection();
        view->setCurrentIndex(QModelIndex());
        return;
    }
    m_tree->selectServer(QString());
}

void MainWindow::showNewestEvent()
{
    m_events->show();
    m_events->setFocus();
    m_events->setCurrentIndex(m_eventModel.index(0, 0));
}

/// What the right mouse button would show; where that is nothing, the actions of the page.
void MainWindow::showRowMenu()
{
    QWidget* const focus = QApplication::focusWidget();
    auto* const view = qobject_cast<QAbstractItemView*>(focus);
    const QPoint place = view ? view->visualRect(view->currentIndex()).bottomLeft() : QPoint();
    QWidget* const target = view ? view->viewport() : focus;
    if (target) {
        QContextMenuEvent event(QContextMenuEvent::Keyboard, place, target->mapToGlobal(place));
        event.ignore();
        QCoreApplication::sendEvent(target, &event);
        if (event.isAccepted())
            return;
    }
    auto* const menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->setToolTipsVisible(true);
    for (const QString& id : m_actions.ids()) {
        if (!m_actions.pageOf(id).isEmpty() && m_actions.isInSight(id))
            menu->addAction(m_actions.action(id));
    }
    menu->addAction(m_actions.action(QStringLiteral("copy-rows")));
    menu->popup((target ? target : this)->mapToGlobal(place));
}

} // namespace KoltaConsole
