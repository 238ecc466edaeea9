#include "traceview.h"

#include <koltacommon/viewroles.h>
#include <koltaconsole/session/session.h>
#include <koltaconsole/session/tracelines.h>
#include <koltaconsole/widgets/columns.h>
#include <koltaconsole/widgets/filterbar.h>
#include <koltaconsole/widgets/filterwords.h>
#include <koltaconsole/widgets/stateitemdelegate.h>

#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QSignalBlocker>
#include <QTreeView>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace KoltaConsole {

using Startup::ErrorHandler;

namespace {

constexpr int kCountMs = 250;
constexpr int kChannelsHeight = 35 + TraceLines::kChannels * 24;

enum eChannelColumn : int { eNameColumn, eNumberColumn, eLinesColumn, eMeaningColumn };

constexpr const char* kMeanings[TraceLines::kChannels] = {
    QT_TRANSLATE_NOOP("KoltaConsole::TraceView", "the process cannot go on"),
    QT_TRANSLATE_NOOP("KoltaConsole::TraceView", "an operation failed, and nobody else was told"),
    QT_TRANSLATE_NOOP("KoltaConsole::TraceView", "something looks wrong, work goes on"),
    QT_TRANSLATE_NOOP("KoltaConsole::TraceView", "life cycle: links opened, files loaded"),
    QT_TRANSLATE_NOOP("KoltaConsole::TraceView", "configuration read and written"),
    QT_TRANSLATE_NOOP("KoltaConsole::TraceView", "what support reads first"),
    QT_TRANSLATE_NOOP("KoltaConsole::TraceView", "detail that only a closer look needs"),
};

std::optional<Look> lookOf(const QModelIndex& index)
{
    if (index.column() != TraceLines::eChannelColumn)
        return std::nullopt;
    const quint32 channel = TraceLines::channel(index.data(Kolta::ViewRoles::StateRole).toInt());
    const QString word = index.data().toString();
    if (channel == Startup::eTraceFatal)
        return Look{Mark::Octagon, Role::Alarm, word, true};
    if (channel == Startup::eTraceError || channel == Startup::eTraceWarning)
        return Look{Mark::Triangle, Role::Attention, word, true};
    return Look{Mark::Disc, Role::InUse, word, false};
}

} // namespace

TraceView::TraceView(Session& session, QWidget* parent)
    : QWidget(parent)
    , m_lines(session.trace())
    , m_rows(this)
    , m_channels(new QTreeWidget(this))
    , m_filter(new FilterBar(tr("Filter: warning, xmlmessaging, !detail, text"), tr("Filter of trace lines"),
                             this))
    , m_table(new QTreeView(this))
{
    m_rows.setSourceModel(&m_lines);
    makeChannels();
    makeTable();
    auto* const top = new QHBoxLayout;
    top->setContentsMargins(8, 5, 8, 5);
    top->setSpacing(8);
    top->addWidget(m_filter, 1);
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_channels);
    layout->addLayout(top);
    layout->addWidget(m_table, 1);
    m_showing.setSingleShot(true);
    m_showing.setInterval(kCountMs);
    connect(&m_showing, &QTimer::timeout, this, &TraceView::showCount);
    connect(m_filter->line(), &QLineEdit::textChanged, this, &TraceView::applyFilter);
    connect(&m_lines, &QAbstractItemModel::rowsInserted, this, [this] {
        if (isVisible() && !m_showing.isActive())
            m_showing.start();
    });
    connect(m_channels, &QTreeWidget::itemChanged, this, [](const QTreeWidgetItem* item) {
        const quint32 channel = item->text(eNumberColumn).toUInt();
        const quint32 mask = ErrorHandler::Instance().mask();
        const bool isOn = item->checkState(eNameColumn) == Qt::Checked;
        ErrorHandler::Instance().setMask(isOn ? mask | channel : mask & ~channel);
    });
    showChannels();
}

void TraceView::makeChannels()
{
    m_channels->setHeaderLabels({tr("Channel"), tr("Number"), tr("Lines"), tr("What it tells")});
    for (const int column : {eNumberColumn, eLinesColumn})
        m_channels->headerItem()->setTextAlignment(column, Qt::AlignRight | Qt::AlignVCenter);
    for (int number = 0; number < TraceLines::kChannels; ++number) {
        auto* const item = new QTreeWidgetItem(m_channels, {TraceLines::channelName(number),
                                                            QString::number(TraceLines::channel(number)),
                                                            QString(), tr(kMeanings[number])});
        item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsUserCheckable);
        for (const int column : {eNumberColumn, eLinesColumn})
            item->setTextAlignment(column, Qt::AlignRight | Qt::AlignVCenter);
    }
    m_channels->setItemDelegate(new StateItemDelegate(m_channels));
    m_channels->setRootIsDecorated(false);
    m_channels->setUniformRowHeights(true);
    m_channels->setAccessibleName(tr("Trace channels"));
    m_channels->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_channels->setFixedHeight(kChannelsHeight);
    setColumnWidths(*m_channels, {130, 80, 80});
}

void TraceView::makeTable()
{
    m_table->setModel(&m_rows);
    m_table->setItemDelegate(new StateItemDelegate(m_table, &lookOf));
    dressTable(*m_table);
    m_table->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_table->setAccessibleName(tr("Trace lines"));
    setColumnWidths(*m_table, {110, 110, 330});
}

void TraceView::applyFilter()
{
    const FilterWords words(m_filter->text());
    if (words.isEmpty())
        m_rows.setFilter({});
    else
        m_rows.setFilter([words](int /*row*/, const QString& search) { return words.matches(search, {}); });
    showCount();
}

/// The mask may be changed by others too, who do not say so.
void TraceView::showChannels()
{
    const QSignalBlocker quiet(m_channels);
    const quint32 mask = ErrorHandler::Instance().mask();
    for (int number = 0; number < TraceLines::kChannels; ++number) {
        QTreeWidgetItem* const item = m_channels->topLevelItem(number);
        item->setCheckState(eNameColumn,
                            (mask & TraceLines::channel(number)) != 0 ? Qt::Checked : Qt::Unchecked);
        item->setText(eLinesColumn, QLocale().toString(m_lines.countOf(number)));
    }
}

QLineEdit* TraceView::filterLine() const
{
    return m_filter->line();
}

void TraceView::showCount()
{
    m_filter->tellCount(m_rows.rowCount(), m_lines.rowCount(), tr("%1 of %2 lines; the newest on top"),
                        tr("No line matches \"%1\"."));
    showChannels();
}

void TraceView::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    showCount();
}

} // namespace KoltaConsole
