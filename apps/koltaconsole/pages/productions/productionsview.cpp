#include "productionsview.h"

#include "productionsmodel.h"
#include "timelinedelegate.h"

#include <koltacommon/viewroles.h>
#include <koltaconsole/widgets/columns.h>

#include <QDrag>
#include <QMimeData>
#include <QPointer>

namespace KoltaConsole {

namespace {

QString keyOf(const QModelIndex& index)
{
    return index.data(Kolta::ViewRoles::KeyRole).toString();
}

} // namespace

ProductionsView::ProductionsView(ProductionsModel& model, QWidget* parent)
    : QTreeView(parent), m_model(model), m_timeline(new TimelineHeader(this))
{
    setHeader(m_timeline);
    setModel(&model);
    dress();
    connect(&model, &QAbstractItemModel::rowsInserted, this, &ProductionsView::span);
    connect(&model, &QAbstractItemModel::modelReset, this, &ProductionsView::spanAll);
    connect(this, &QTreeView::collapsed, this,
            [this](const QModelIndex& index) { m_closed.insert(keyOf(index)); });
    connect(this, &QTreeView::expanded, this,
            [this](const QModelIndex& index) { m_closed.remove(keyOf(index)); });
}

void ProductionsView::dress()
{
    setItemDelegate(new TimelineDelegate(this, [this](const QModelIndex& index) {
        const ProductionRow* const row = m_model.rowAt(index);
        const bool isServer = row && row->kind == ProductionRow::Kind::Server;
        const bool hasState = row && !row->isGroup();
        return (isServer && index.column() == 0) ||
                       (hasState && index.column() == ProductionsModel::eStateColumn)
                   ? std::optional<Look>(row->look)
                   : std::nullopt;
    }));
    setUniformRowHeights(true);
    setAlternatingRowColors(true);
    setAllColumnsShowFocus(true);
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    setDragDropMode(QAbstractItemView::DragDrop);
    setDefaultDropAction(Qt::MoveAction);
    setExpandsOnDoubleClick(false);
    setContextMenuPolicy(Qt::CustomContextMenu);
    setIndentation(16);
    setColumnWidths(*this, {190, 172, 90, 90, 116, 96});
}

void ProductionsView::setRange(const QDateTime& from, const QDateTime& to)
{
    m_timeline->setRange(from, to);
}

QStringList ProductionsView::selectedKeys() const
{
    QStringList keys;
    for (const QModelIndex& index : selectionModel()->selectedRows())
        keys.append(keyOf(index));
    return keys;
}

void ProductionsView::startDrag(Qt::DropActions supported)
{
    const QModelIndex index = currentIndex();
    if (!index.flags().testFlag(Qt::ItemIsDragEnabled))
        return;
    const QPointer<ProductionsView> alive(this);
    auto* const drag = new QDrag(this);
    drag->setMimeData(m_model.mimeData({index}));
    m_model.setDragged(keyOf(index));
    // What is dropped is asked for; the row moves when the server shows it there.
    drag->exec(supported, Qt::MoveAction);
    if (alive)
        m_model.setDragged(QString());
}

/// Rows of servers have one text, and what is new is open, unless it was closed when it was there before.
void ProductionsView::span(const QModelIndex& parent, int first, int last)
{
    for (int row = first; row <= last; ++row) {
        const QModelIndex index = m_model.index(row, 0, parent);
        if (!parent.isValid())
            setFirstColumnSpanned(row, parent, true);
        open(index);
        if (m_model.rowCount(index) > 0)
            span(index, 0, m_model.rowCount(index) - 1);
    }
    if (parent.isValid())
        open(parent);
}

void ProductionsView::open(const QModelIndex& index)
{
    if (!m_closed.contains(keyOf(index)))
        setExpanded(index, true);
}

void ProductionsView::openAll()
{
    m_closed.clear();
    spanAll();
}

void ProductionsView::spanAll()
{
    span(QModelIndex(), 0, m_model.rowCount() - 1);
}

} // namespace KoltaConsole
