#include "installationtree.h"

#include "session.h"
#include "stateitemdelegate.h"

#include <koltacommon/tunerbookingmanager.h>
#include <koltacommon/tunerclassmodel.h>
#include <koltacommon/viewroles.h>

#include <QContextMenuEvent>
#include <QHeaderView>
#include <QKeyEvent>
#include <QPainter>

namespace KoltaConsole {

namespace Roles = Kolta::ViewRoles;
using Kolta::TunerBookingManager;
using Kolta::TunerClassModel;

InstallationModel::InstallationModel(Session& session, QObject* parent)
    : QSortFilterProxyModel(parent), m_session(session)
{
    setSourceModel(&session.classes());
    setSortRole(Roles::SortRole);
    sort(0);
    connect(&session, &Session::si_FactsChanged, this, [this] {
        if (rowCount() > 0)
            Q_EMIT dataChanged(index(0, 0), index(rowCount() - 1, 1));
    });
}

bool InstallationModel::filterAcceptsRow(int row, const QModelIndex& parent) const
{
    if (!parent.isValid())
        return true;
    const QVariant state = sourceModel()->index(row, 0, parent).data(Roles::StateRole);
    const bool isTuner = state.isValid();
    return !isTuner || state.toInt() == TunerBookingManager::eInUse ||
           state.toInt() == TunerBookingManager::ePlanned;
}

int InstallationModel::columnCount(const QModelIndex& /*parent*/) const
{
    return 2;
}

std::optional<Look> InstallationModel::lookOf(const QModelIndex& index) const
{
    if (index.column() != 1)
        return std::nullopt;
    if (!index.parent().isValid())
        return m_session.factsOf(index.sibling(index.row(), 0).data().toString()).look();
    const QVariant state = index.sibling(index.row(), 0).data(Roles::StateRole);
    return state.isValid() ? std::optional<Look>(tunerLook(state.toInt())) : std::nullopt;
}

QVariant InstallationModel::data(const QModelIndex& index, int role) const
{
    if (role == Qt::TextAlignmentRole)
        return QVariant();
    if (role == Qt::DisplayRole && index.column() == 1) {
        const auto look = lookOf(index);
        if (look)
            return look->word;
        const QString free = QSortFilterProxyModel::data(index, role).toString();
        return free.isEmpty() ? QVariant() : tr("%1 free").arg(free);
    }
    return QSortFilterProxyModel::data(index, role);
}

InstallationTree::InstallationTree(Session& session, QWidget* parent)
    : QTreeView(parent), m_model(session, this)
{
    setModel(&m_model);
    setItemDelegate(
        new StateItemDelegate(this, [this](const QModelIndex& index) { return m_model.lookOf(index); }));
    setUniformRowHeights(true);
    setHeaderHidden(true);
    setIndentation(14);
    setTextElideMode(Qt::ElideMiddle);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    header()->setStretchLastSection(false);
    header()->setSectionResizeMode(0, QHeaderView::Stretch);
    header()->setSectionResizeMode(1, QHeaderView::Fixed);
    header()->setMinimumSectionSize(60);
    header()->resizeSection(1, 136);
    setAccessibleName(tr("The installation"));
}

void InstallationTree::selectServer(const QString& address)
{
    for (int row = 0; row < m_model.rowCount(); ++row) {
        const QModelIndex index = m_model.index(row, 0);
        if (index.data().toString() != address)
            continue;
        setCurrentIndex(index);
        return;
    }
    clearSelection();
    setCurrentIndex(QModelIndex());
}

/// The current row is another thing: a tree that gets the focus makes its first row that.
void InstallationTree::selectionChanged(const QItemSelection& selected, const QItemSelection& deselected)
{
    QTreeView::selectionChanged(selected, deselected);
    QModelIndex server = selectionModel()->selectedIndexes().value(0);
    while (server.parent().isValid())
        server = server.parent();
    Q_EMIT si_ServerSelected(server.isValid() ? server.sibling(server.row(), 0).data().toString()
                                              : QString());
}

void InstallationTree::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Escape)
        selectServer(QString());
    else
        QTreeView::keyPressEvent(event);
}

/// Of the server that the row belongs to.
void InstallationTree::contextMenuEvent(QContextMenuEvent* event)
{
    const bool isKey = event->reason() == QContextMenuEvent::Keyboard;
    QModelIndex server = isKey ? currentIndex() : indexAt(event->pos());
    const QPoint place =
        isKey ? viewport()->mapToGlobal(visualRect(server).bottomLeft()) : event->globalPos();
    while (server.parent().isValid())
        server = server.parent();
    if (server.isValid())
        Q_EMIT si_MenuWanted(server.sibling(server.row(), 0).data().toString(), place);
}

void InstallationTree::paintEvent(QPaintEvent* event)
{
    QTreeView::paintEvent(event);
    if (m_model.rowCount() > 0)
        return;
    QPainter painter(viewport());
    painter.setPen(Theme::instance().color(Role::Dim));
    painter.drawText(viewport()->rect().adjusted(12, 8, -12, -8), Qt::AlignLeft | Qt::AlignTop,
                     tr("no server yet"));
}

} // namespace KoltaConsole
