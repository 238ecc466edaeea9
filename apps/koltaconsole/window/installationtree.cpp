#include "installationtree.h"

#include <koltacommon/processormodel.h>
#include <koltacommon/tunerbookingmanager.h>
#include <koltacommon/tunerclassmodel.h>
#include <koltacommon/units.h>
#include <koltacommon/viewroles.h>
#include <koltaconsole/session/session.h>
#include <koltaconsole/widgets/stateitemdelegate.h>

#include <QContextMenuEvent>
#include <QHeaderView>
#include <QKeyEvent>
#include <QPainter>

namespace KoltaConsole {

namespace Roles = Kolta::ViewRoles;
using Kolta::TunerBookingManager;

namespace {

constexpr int kReadMs = 250; ///< what runs, at most so often

bool isTuner(const QModelIndex& index)
{
    return index.data(Roles::StateRole).isValid();
}

} // namespace

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
    m_reading.setSingleShot(true);
    m_reading.setInterval(kReadMs);
    connect(&m_reading, &QTimer::timeout, this, [this] {
        m_running = runningOnTuners(m_session.processors());
        Q_EMIT si_RunningChanged();
    });
    const auto read = [this] {
        if (!m_reading.isActive())
            m_reading.start();
    };
    const QAbstractItemModel* const processors = &session.processors();
    connect(processors, &QAbstractItemModel::dataChanged, this, read);
    connect(processors, &QAbstractItemModel::modelReset, this, read);
    for (const auto signal : {&QAbstractItemModel::rowsInserted, &QAbstractItemModel::rowsRemoved})
        connect(processors, signal, this, read);
    read();
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
    const QModelIndex row = index.sibling(index.row(), 0);
    if (!isTuner(row))
        return std::nullopt;
    Look look = tunerLook(row.data(Roles::StateRole).toInt());
    if (const double centre = runningAt(row).centre; centre > 0)
        look.word = Kolta::hertzToText(centre);
    return look;
}

/// Nothing while it is planned alone, or nobody knows who has it.
RunningOnTuner InstallationModel::runningAt(const QModelIndex& tuner) const
{
    if (tuner.data(Roles::StateRole).toInt() != TunerBookingManager::eInUse)
        return {};
    const QString name = QSortFilterProxyModel::data(tuner.sibling(tuner.row(), 0)).toString();
    return m_running.value(keyOfTuner(tuner.data(Roles::ServerRole).toString(), name));
}

QString InstallationModel::toolTipOf(const QModelIndex& tuner) const
{
    const QString name = QSortFilterProxyModel::data(tuner.sibling(tuner.row(), 0)).toString();
    const QString state = tunerLook(tuner.data(Roles::StateRole).toInt()).word;
    const QString holder = tuner.data(Roles::HolderRole).toString();
    return holder.isEmpty() ? tr("Tuner %1, %2").arg(name, state)
                            : tr("Tuner %1, %2: %3").arg(name, state, holder);
}

/// Of a server that is away nobody knows how many are free.
QString InstallationModel::countsText(const QModelIndex& tunerClass) const
{
    const QVariant count = tunerClass.data(Roles::CountRole);
    if (!count.isValid())
        return QString();
    const int all = count.toInt();
    if (all == 0)
        return tr("no tuners");
    const bool isStale = tunerClass.data(Roles::StaleRole).toBool() ||
                         m_session.factsOf(tunerClass.data(Roles::ServerRole).toString()).isStale();
    return isStale ? tr("%L1 tuners").arg(all)
                   : tr("%L1 of %L2 free").arg(tunerClass.data(Roles::FreeRole).toInt()).arg(all);
}

QStringList InstallationModel::classesAt(const QModelIndex& index) const
{
    QStringList names;
    if (!index.parent().isValid() || isTuner(index))
        return names;
    QVector<QModelIndex> due{mapToSource(index.sibling(index.row(), 0))};
    while (!due.isEmpty()) {
        const QModelIndex place = due.takeLast();
        if (isTuner(place))
            continue;
        names.append(place.data(Roles::GroupRole).toString());
        for (int row = 0; row < sourceModel()->rowCount(place); ++row)
            due.append(sourceModel()->index(row, 0, place));
    }
    return names;
}

QVariant InstallationModel::data(const QModelIndex& index, int role) const
{
    if (role == Qt::TextAlignmentRole)
        return QVariant();
    if (role == Qt::DisplayRole && index.column() == 1) {
        const auto look = lookOf(index);
        if (look)
            return look->word;
        return countsText(index.sibling(index.row(), 0));
    }
    if (role == Qt::DisplayRole && isTuner(index)) {
        const QString name = runningAt(index).name;
        if (!name.isEmpty())
            return name;
    }
    if (role == Qt::ToolTipRole && isTuner(index))
        return toolTipOf(index);
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
    connect(&m_model, &InstallationModel::si_RunningChanged, viewport(), qOverload<>(&QWidget::update));
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
    Q_EMIT si_ClassesSelected(server.isValid() ? m_model.classesAt(server) : QStringList());
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
