#include "tunerspage.h"

#include "tunerlanes.h"
#include "whynot.h"

#include <common/actionlines.h>
#include <koltaconsole/actions/actions.h>
#include <koltaconsole/plots/frequencyaxis.h>
#include <koltaconsole/session/orderdraft.h>
#include <koltaconsole/session/runningprocessors.h>
#include <koltaconsole/session/session.h>
#include <koltaconsole/widgets/columns.h>
#include <koltaconsole/widgets/filterbar.h>
#include <koltaconsole/widgets/groupedtable.h>
#include <koltaconsole/widgets/stateitemdelegate.h>

#include <koltacommon/processormodel.h>
#include <koltacommon/tunermodel.h>
#include <koltacommon/units.h>
#include <koltacommon/viewroles.h>

#include <QComboBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QPushButton>
#include <QScrollBar>
#include <QSettings>
#include <QSplitter>
#include <QVBoxLayout>

namespace KoltaConsole {

namespace Roles = Kolta::ViewRoles;
using Kolta::TunerModel;

namespace {

constexpr int kLanesMs = 250; ///< at most so often

} // namespace

TunersPage::TunersPage(Session& session, ActionTable& actions, QWidget* parent)
    : Page(session, actions, parent)
    , m_filter(new FilterBar(tr("Filter: HF free, 118-137 MHz, >20 MHz, !S3"), tr("Filter of tuners"), this))
    , m_groups(new QComboBox(this))
    , m_axis(new FrequencyAxis(this))
    , m_rows(this)
    , m_table(new GroupedTable(m_rows, this))
    , m_answer(new QLabel(this))
{
    m_answer->setContentsMargins(8, 4, 8, 4);
    m_answer->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    m_answer->setWordWrap(true);
    m_answer->setAccessibleName(tr("Why the selected tuner cannot be had"));
    m_answer->hide();
    m_rows.setSourceModel(&session.tuners());
    m_following.setSingleShot(true);
    m_following.setInterval(kLanesMs);
    makeTable();
    makeActions();
    auto* const parts = new QSplitter(Qt::Vertical, this);
    parts->addWidget(m_axis);
    parts->addWidget(m_table);
    parts->setSizes({250, 280});
    parts->setStretchFactor(1, 1);
    parts->setChildrenCollapsible(true);
    parts->setHandleWidth(1);
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addLayout(makeTop());
    layout->addWidget(parts, 1);
    layout->addWidget(m_answer);
    connectAll();
    showCount();
    setFocusProxy(m_table);
}

QLayout* TunersPage::makeTop()
{
    m_groups->addItems({tr("by class"), tr("by server"), tr("by type"), tr("all in one")});
    m_groups->setAccessibleName(tr("Groups of tuners"));
    auto* const top = new QHBoxLayout;
    top->setContentsMargins(8, 5, 8, 5);
    top->setSpacing(8);
    top->addWidget(m_filter, 1);
    m_filter->addWidget(m_groups);
    m_grouped = actions().makeButton(QStringLiteral("tuner-groups"), this);
    m_grouped->setMinimumWidth(m_grouped->sizeHint().width());
    m_filter->addWidget(m_grouped);
    for (const char* const id : {"tuner-why-not", "tuner-order"})
        top->addWidget(actions().makeButton(QLatin1String(id), this));
    return top;
}

void TunersPage::makeActions()
{
    ActionTable::Entry why;
    why.id = QStringLiteral("tuner-why-not");
    why.text = tr("Why not?");
    why.shortcut = QKeySequence(Qt::Key_W);
    why.run = [this] { explain(); };
    why.problem = [this] { return currentTuner().isValid() ? QString() : tr("No tuner is selected."); };
    why.line = [this] {
        return KoltaApps::ActionLines(currentTuner().data(Roles::ServerRole).toString())
            .explain(session().draft().order());
    };
    actions().add(why, this);
    ActionTable::Entry order;
    order.id = QStringLiteral("tuner-order");
    order.text = tr("Order…");
    order.shortcut = QKeySequence(Qt::CTRL + Qt::Key_Return);
    order.run = [this] { orderCurrent(); };
    actions().add(order, this);
    ActionTable::Entry groups;
    groups.id = QStringLiteral("tuner-groups");
    groups.text = tr("Rows in groups");
    groups.shortcut = QKeySequence(Qt::Key_G);
    groups.run = [this] {
        m_isGrouped = !m_isGrouped;
        applyGroups();
    };
    groups.problem = [this] {
        return m_groups->currentIndex() == static_cast<int>(TunerGroups::None)
                   ? tr("Choose by what the tuners are put together.")
                   : QString();
    };
    actions().add(groups, this);
}

/// The selected tuner is the chosen candidate there.
void TunersPage::orderCurrent()
{
    const QModelIndex current = currentTuner();
    if (current.isValid()) {
        Kolta::ProductionOrder wanted = session().draft().order();
        wanted.tunerClass = current.sibling(current.row(), TunerModel::eClassColumn).data().toString();
        const QString server = current.data(Roles::ServerRole).toString();
        // Units and MCPs are never those of another server.
        if (server != session().draft().server())
            wanted.storageGuids.clear();
        if (server != serverOfProcessor(session(), wanted.mcp))
            wanted.mcp = QUuid();
        session().draft().set(wanted, server, current.data(Roles::GuidRole).toString());
    }
    actions().run(QStringLiteral("page-order"));
}

void TunersPage::connectAll()
{
    connect(m_filter->line(), &QLineEdit::textChanged, this, &TunersPage::applyFilter);
    connect(m_groups, QOverload<int>::of(&QComboBox::currentIndexChanged), this, &TunersPage::applyGroups);
    connect(&m_rows, &QAbstractItemModel::modelAboutToBeReset, this, &TunersPage::remember);
    connect(&m_rows, &QAbstractItemModel::modelReset, this, &TunersPage::restoreRows);
    for (const auto signal : {&QAbstractItemModel::rowsInserted, &QAbstractItemModel::rowsRemoved})
        connect(&m_rows, signal, this, &TunersPage::showCount);
    connect(&m_rows, &QAbstractItemModel::dataChanged, this, &TunersPage::followLater);
    for (const auto signal : {&QAbstractItemModel::rowsInserted, &QAbstractItemModel::rowsRemoved})
        connect(&session().processors(), signal, this, &TunersPage::followLater);
    connect(&session().processors(), &QAbstractItemModel::dataChanged, this, &TunersPage::followLater);
    connect(&session(), &Session::si_LinkChanged, this, &TunersPage::followLater);
    // What excludes the selected one need not be shown.
    connect(&session().tuners(), &QAbstractItemModel::dataChanged, this, [this] {
        if (m_answer->isVisible())
            followLater();
    });
    connect(&m_following, &QTimer::timeout, this, &TunersPage::showLanes);
    connect(m_axis, &FrequencyAxis::si_TunerChosen, this, &TunersPage::choose);
    connect(m_axis, &FrequencyAxis::si_LaneChosen, this, &TunersPage::showLane);
    connect(m_axis, &FrequencyAxis::si_BandMarked, this, [this](double from, double to) {
        session().draft().setBand(from, to);
        actions().run(QStringLiteral("page-order"));
    });
    connect(&session().draft(), &OrderDraft::si_Changed, this, [this] { m_answer->hide(); });
}

void TunersPage::makeTable()
{
    m_table->setItemDelegate(new StateItemDelegate(m_table, [](const QModelIndex& index) {
        return index.column() == TunerModel::eStateColumn && index.data(Roles::StateRole).isValid()
                   ? std::optional<Look>(tunerLook(index.data(Roles::StateRole).toInt()))
                   : std::nullopt;
    }));
    m_table->setSortingEnabled(true);
    m_table->sortByColumn(TunerModel::eNameColumn, Qt::AscendingOrder);
    m_table->setAccessibleName(tr("Tuners"));
    QHeaderView* const header = m_table->header();
    header->moveSection(header->visualIndex(TunerModel::eStateColumn), 1);
    setColumnWidths(*m_table, {104, 120, 110, 138, 90, 116, 158, 168, 62, 130});
    for (const int column : {TunerModel::eTypeColumn, TunerModel::eAddressColumn, TunerModel::eOptionsColumn})
        m_table->setColumnHidden(column, true);
    offerColumns(*m_table);
    connect(m_table->selectionModel(), &QItemSelectionModel::currentChanged, this, &TunersPage::tellCurrent);
}

void TunersPage::applyFilter()
{
    m_words = FilterWords(m_filter->text());
    if (m_words.isEmpty() && server().isEmpty() && m_classes.isEmpty()) {
        m_rows.setFilter({});
        return;
    }
    const TunerModel& model = session().tuners();
    m_rows.setFilter([this, &model](int row, const QString& search) {
        if (!server().isEmpty() && model.index(row, 0).data(Roles::ServerRole).toString() != server())
            return false;
        if (!m_classes.isEmpty() &&
            !m_classes.contains(model.index(row, TunerModel::eClassColumn).data().toString()))
            return false;
        FilterWords::Band band;
        if (m_words.wantsBand()) {
            const auto tuner = model.index(row, 0).data(Roles::ItemRole).value<RESOURCEMANAGEMENT::Tuner>();
            band = {tuner.GetMinFrequency(), tuner.GetMaxFrequency(), tuner.GetMaxSWBandwidth()};
        }
        return m_words.matches(search, band);
    });
}

/// The table's groups are those of the lanes.
void TunersPage::applyGroups()
{
    const auto groups = static_cast<TunerGroups>(m_groups->currentIndex());
    const TunerModel& model = session().tuners();
    RowIndex::Grouping grouping;
    if (m_isGrouped && groups != TunerGroups::None) {
        grouping.nameOf = [&model, groups](int row) { return tunerGroupOf(model, row, groups); };
        grouping.isFree = [&model](int row) {
            const QModelIndex index = model.index(row, 0);
            return index.data(Roles::StateRole).toInt() == Kolta::TunerBookingManager::eFree &&
                   !index.data(Roles::StaleRole).toBool();
        };
    }
    if (grouping.nameOf || m_rows.isGrouped())
        m_rows.setGrouping(grouping);
    m_grouped->setText(grouping.nameOf ? tr("No groups") : tr("Rows in groups"));
    actions().refresh();
    if (isVisible())
        showLanes();
}

void TunersPage::remember()
{
    const QModelIndex current = m_table->currentIndex();
    if (current.isValid()) {
        m_currentKey = current.data(Roles::KeyRole).toString();
        m_currentRow = m_rows.sourceRow(current.row());
    }
    m_topRow = m_table->verticalScrollBar()->value();
}

void TunersPage::restoreRows()
{
    showCount();
    const QModelIndex former = session().tuners().index(m_currentRow, 0);
    if (former.isValid() && former.data(Roles::KeyRole).toString() == m_currentKey)
        m_table->setCurrentIndex(m_rows.index(m_rows.rowOf(m_currentRow), 0));
    else
        select(m_currentKey);
    m_table->verticalScrollBar()->setValue(m_topRow);
}

void TunersPage::select(const QString& key)
{
    for (int row = 0; !key.isEmpty() && row < m_rows.rowCount(); ++row) {
        const QModelIndex index = m_rows.index(row, 0);
        if (index.data(Roles::KeyRole).toString() == key)
            return m_table->setCurrentIndex(index);
    }
}

/// A tuner that somebody points at is to be seen, in whichever group.
void TunersPage::choose(const QString& key)
{
    const TunerModel& model = session().tuners();
    for (int row = 0; row < model.rowCount(); ++row) {
        if (model.index(row, 0).data(Roles::KeyRole).toString() != key)
            continue;
        if (m_rows.reveal(row))
            m_table->setCurrentIndex(m_rows.index(m_rows.rowOf(row), 0));
        return;
    }
}

QModelIndex TunersPage::currentTuner() const
{
    const QModelIndex current = m_table->currentIndex();
    return m_rows.isHeading(current) ? QModelIndex() : current;
}

void TunersPage::showCount()
{
    writeCount();
    followLater();
}

void TunersPage::writeCount()
{
    const QLocale locale;
    const int shown = m_rows.matchCount(), all = session().tuners().rowCount();
    const bool isNarrowed = !m_words.isEmpty() || !m_classes.isEmpty() || !server().isEmpty();
    if (shown == 0 && all > 0 && isNarrowed)
        m_filter->tell(nothingText(), !m_words.isEmpty());
    else if (shown == all)
        m_filter->tell(tr("%Ln tuner(s)", nullptr, all), false);
    else if (m_classes.isEmpty())
        m_filter->tell(tr("%1 of %2 tuners").arg(locale.toString(shown), locale.toString(all)), false);
    else
        m_filter->tell(tr("%1 of %2 tuners, class %3 alone")
                           .arg(locale.toString(shown), locale.toString(all), m_classes.first()),
                       false);
}

/// Words can be taken out; what was chosen in the tree is no fault of theirs.
QString TunersPage::nothingText() const
{
    if (!m_words.isEmpty())
        return tr("No tuner matches \"%1\"").arg(m_filter->text());
    if (m_classes.isEmpty())
        return tr("%1 has no tuners").arg(server());
    return server().isEmpty() ? tr("There is no tuner of class %1").arg(m_classes.first())
                              : tr("%1 has no tuner of class %2").arg(server(), m_classes.first());
}

/// A hidden page counts nothing.
void TunersPage::followLater()
{
    if (isVisible() && !m_following.isActive())
        m_following.start();
}

void TunersPage::showEvent(QShowEvent* event)
{
    Page::showEvent(event);
    showLanes();
}

void TunersPage::showLanes()
{
    m_following.stop();
    writeCount(); // what is folded comes and goes without a row
    m_axis->setLanes(lanesOf(session(), m_rows, static_cast<TunerGroups>(m_groups->currentIndex())));
    if (m_answer->isVisible())
        explain();
}

/// By a word of the filter line, where everybody sees it and can take it out.
void TunersPage::showLane(const QString& name)
{
    if (m_groups->currentIndex() != static_cast<int>(TunerGroups::None) && !name.isEmpty())
        m_filter->line()->setText(FilterWords::exactly(name));
}

void TunersPage::tellCurrent()
{
    const QModelIndex current = m_table->currentIndex();
    m_axis->setCurrent(current.data(Roles::KeyRole).toString());
    if (m_answer->isVisible())
        explain();
    actions().refresh();
}

/// Why the selected tuner cannot be had for what somebody is about to order.
void TunersPage::explain()
{
    const QModelIndex current = currentTuner();
    m_answer->setVisible(current.isValid());
    if (!current.isValid())
        return;
    QString text = whyNot(session(), current);
    if (current.data(Roles::StaleRole).toBool())
        text += tr(" Its server is away, %1.")
                    .arg(lastKnownText(current.data(Roles::LastKnownRole).toDateTime()));
    else if (session().isOutOfSight())
        text += tr(" The broker is away, %1.").arg(lastKnownText(session().link().since));
    m_answer->setText(text);
}

QLineEdit* TunersPage::filterLine() const
{
    return m_filter->line();
}

bool TunersPage::isFilled() const
{
    return m_rows.rowCount() > 0;
}

void TunersPage::save(QSettings& settings) const
{
    settings.setValue(QStringLiteral("tuners/groups"), m_groups->currentIndex());
    settings.setValue(QStringLiteral("tuners/grouped"), m_isGrouped);
    settings.setValue(QStringLiteral("tuners/folded"), QStringList(m_rows.folded().values()));
}

void TunersPage::restore(const QSettings& settings)
{
    const QStringList folded = settings.value(QStringLiteral("tuners/folded")).toStringList();
    m_rows.setFoldedNames(QSet<QString>(folded.begin(), folded.end()));
    m_isGrouped = settings.value(QStringLiteral("tuners/grouped")).toBool();
    m_groups->setCurrentIndex(
        qBound(0, settings.value(QStringLiteral("tuners/groups")).toInt(), m_groups->count() - 1));
    applyGroups();
}

QString TunersPage::commandLine() const
{
    return lineOf(server().isEmpty() && session().facts().size() > 1 ? "resources"
                                                                     : "classes"); // of one server
}

void TunersPage::followServer()
{
    applyFilter();
}

void TunersPage::showClasses(const QStringList& names)
{
    if (m_classes == names)
        return;
    m_classes = names;
    applyFilter();
}

} // namespace KoltaConsole
