#include "resultsview.h"

#include "shorttimemaps.h"

#include <common/actionlines.h>
#include <koltaconsole/actions/actions.h>
#include <koltaconsole/plots/resultsplot.h>
#include <koltaconsole/widgets/columns.h>
#include <koltaconsole/widgets/filterbar.h>
#include <koltaconsole/widgets/filterwords.h>
#include <koltaconsole/widgets/rowtexts.h>
#include <koltaconsole/widgets/stateitemdelegate.h>

#include <koltacommon/servernodes.h>

#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QMap>
#include <QPushButton>
#include <QSet>
#include <QSplitter>
#include <QTreeView>
#include <QVBoxLayout>

#include <algorithm>

namespace KoltaConsole {

using Kolta::ShortTimeResult;

namespace {

constexpr int kGatherMs = 250;
constexpr int kNamedOthers = 3;
/// Symbol rate, GUID of the FFP and recording: for those who look for them.
constexpr int kAtFirstHidden[] = {5, 9, 10};
/// As ResultsPlot draws them, in the order of the shapes, the last for all others.
const char* const kSigns[] = {"■", "●", "▲", "◆", "▼", "+", "✕", "○", "□"};

QString nameOf(const QString& profile)
{
    return profile.isEmpty() ? ResultsView::tr("none matches") : shortName(profile);
}

} // namespace

QVariant SortableResult::GetSortValue4Column(int column, const ShortTimeResult& result)
{
    const QVariant numbers[] = {static_cast<double>(result.startTime),
                                static_cast<double>(result.frequency),
                                result.bandwidth,
                                result.duration,
                                result.level,
                                result.symbolRate};
    if (column >= 0 && column < static_cast<int>(std::size(numbers)))
        return numbers[column];
    return Kolta::ViewRoles::sortText(GetText4Column(column, result));
}

QVariant ResultModel::itemData(const Row& row, int column, int role) const
{
    if (role != Kolta::ViewRoles::SearchRole)
        return ItemMapModel::itemData(row, column, role);
    QStringList cells;
    for (int place = 0; place < adapterColumns(); ++place)
        cells.append(ItemMapModel::itemData(row, place, Qt::DisplayRole).toString());
    return cells.join(QLatin1Char('\n')).toLower();
}

ResultsView::ResultsView(Session& session, ActionTable& actions, QWidget* parent)
    : QWidget(parent)
    , m_session(session)
    , m_actions(actions)
    , m_plot(new ResultsPlot(this))
    , m_table(new QTreeView(this))
    , m_filter(new FilterBar(tr("Filter: hopper, 98 MHz, !burst"), tr("Filter of results"), this))
    , m_heading(new QLabel(this))
    , m_legend(new QLabel(this))
    , m_shapes(ResultsPlot::kShapes)
{
    m_heading->setProperty("heading", true);
    m_legend->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    m_legend->setWordWrap(true);
    m_rows.setSourceModel(&m_model);
    makeTable();
    makeAction();
    auto* const moves = new QHBoxLayout;
    moves->setSpacing(2);
    moves->addWidget(m_filter, 1);
    m_plot->addButtons(*moves);
    auto* const top = new QHBoxLayout;
    top->setContentsMargins(8, 5, 8, 5);
    top->setSpacing(12);
    top->addWidget(m_heading);
    top->addWidget(m_legend, 1);
    top->addWidget(m_actions.makeButton(QStringLiteral("short-follow"), this));
    auto* const parts = new QSplitter(Qt::Vertical, this);
    parts->setHandleWidth(1);
    parts->addWidget(m_plot);
    parts->addWidget(m_table);
    parts->setSizes({340, 150});
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    m_filter->setContentsMargins(8, 5, 8, 0);
    layout->addLayout(moves);
    layout->addLayout(top);
    layout->addWidget(parts, 1);
    follow();
    showLegend();
}

void ResultsView::follow()
{
    connect(m_filter->line(), &QLineEdit::textChanged, this, &ResultsView::applyFilter);
    m_gathering.setSingleShot(true);
    m_gathering.setInterval(kGatherMs);
    connect(&m_gathering, &QTimer::timeout, this, &ResultsView::draw);
    connect(&m_model, &QAbstractItemModel::rowsInserted, this, &ResultsView::gather);
    connect(&m_model, &QAbstractItemModel::rowsRemoved, this, &ResultsView::gather);
    connect(&m_model, &QAbstractItemModel::dataChanged, this, &ResultsView::gather);
    connect(m_plot, &ResultsPlot::si_FollowingChanged, &m_actions, &ActionTable::refresh);
    connect(m_plot, &ResultsPlot::si_RangeChanged, this, &ResultsView::showLegend);
}

void ResultsView::makeAction()
{
    ActionTable::Entry entry;
    entry.id = QStringLiteral("short-follow");
    entry.text = tr("Follow");
    entry.shortcut = QKeySequence(Qt::Key_F);
    entry.problem = [this] {
        return m_plot->isFollowing() ? tr("The newest result stays in sight already.") : QString();
    };
    entry.run = [this] { m_plot->setFollowing(true); };
    m_actions.add(entry, this);
}

void ResultsView::makeTable()
{
    m_table->setModel(&m_rows);
    m_table->setItemDelegate(new StateItemDelegate(m_table));
    dressTable(*m_table);
    m_table->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_table->setAccessibleName(tr("Results"));
    m_table->setSortingEnabled(true);
    m_table->sortByColumn(0, Qt::DescendingOrder);
    for (const int column : kAtFirstHidden)
        m_table->setColumnHidden(column, true);
    setColumnWidths(*m_table, {188, 96, 84, 84, 84, 84, 84, 160, 40});
    offerColumns(*m_table);
}

void ResultsView::showServer(const QString& address)
{
    const bool isOther = m_server != address;
    showShortTime(m_model, m_session, address, isOther);
    if (isOther) {
        m_server = address;
        m_shapes.assign(m_shapes.size(), std::nullopt);
        gather();
    }
    if (isOther || isVisible())
        showLegend();
}

QString ResultsView::line() const
{
    const Kolta::KoltaServerInterface* const server = m_session.server(m_server);
    if (!server)
        return QString();
    const QString path =
        Kolta::ServerNodes::shortTimePath<Kolta::ShortTimeResultItemMap>(server->getServerBasePath());
    return KoltaApps::ActionLines(QString()).look({QStringLiteral("tree"), QStringLiteral("dump"), path});
}

QLineEdit* ResultsView::filterLine() const
{
    return m_filter->line();
}

/// Of the table and of the plot.
void ResultsView::applyFilter()
{
    const FilterWords words(m_filter->text());
    if (words.isEmpty())
        m_rows.setFilter({});
    else
        m_rows.setFilter([this, words](int row, const QString& search) {
            const ShortTimeResult* const result =
                words.wantsBand() ? m_model.itemAt(m_model.index(row, 0)) : nullptr;
            if (!result)
                return words.matches(search, {});
            const auto middle = static_cast<double>(result->frequency);
            const double half = result->bandwidth / 2.0;
            return words.matches(search,
                                 {middle - half, middle + half, static_cast<double>(result->bandwidth)});
        });
    draw();
}

/// Hidden, it waits until it is seen.
void ResultsView::gather()
{
    m_isDue = true;
    if (isVisible() && !m_gathering.isActive())
        m_gathering.start();
}

void ResultsView::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    if (m_isDue)
        draw();
}

void ResultsView::draw()
{
    m_isDue = false;
    m_counts.clear();
    QSet<QString> names;
    QVector<const ShortTimeResult*> shown;
    const int first = qMax(0, m_model.rowCount() - kMost);
    for (int row = first; row < m_model.rowCount(); ++row) {
        const ShortTimeResult* const result = m_model.itemAt(m_model.index(row, 0));
        if (!result)
            continue;
        names.insert(result->profileName);
        if (m_rows.isMatching(row))
            shown.append(result);
    }
    for (std::optional<QString>& name : m_shapes) {
        if (name && !names.contains(*name))
            name.reset();
    }
    QVector<ResultsPlot::Point> points;
    points.reserve(shown.size());
    for (const ShortTimeResult* const result : qAsConst(shown)) {
        ++m_counts[result->profileName];
        points.append({result->startTime, static_cast<double>(result->duration),
                       static_cast<double>(result->frequency), static_cast<double>(result->bandwidth),
                       shapeOf(result->profileName), nameOf(result->profileName)});
    }
    m_plot->setPoints(points);
    showLegend();
}

/// The one that it has, or one that is free.
int ResultsView::shapeOf(const QString& profile)
{
    auto found = std::find(m_shapes.begin(), m_shapes.end(), profile);
    if (found == m_shapes.end()) {
        found = std::find(m_shapes.begin(), m_shapes.end(), std::nullopt);
        if (found != m_shapes.end())
            *found = profile;
    }
    return static_cast<int>(found - m_shapes.begin());
}

void ResultsView::showLegend()
{
    const QLocale locale;
    const QString counts =
        tr("%1 of %2 results")
            .arg(locale.toString(m_plot->shownCount()), locale.toString(m_model.rowCount()));
    const bool isPast = m_model.isLastKnown() && m_model.rowCount() > 0;
    m_plot->setStale(isPast);
    m_heading->setText(isPast ? QStringLiteral("%1, %2").arg(counts, lastKnownText(m_session, m_server))
                              : counts);
    const bool isNothing = m_model.rowCount() > 0 && m_rows.rowCount() == 0;
    m_filter->tell(isNothing ? tr("No result matches \"%1\".").arg(m_filter->text()) : QString(), isNothing);
    if (!isNothing && !m_counts.isEmpty())
        return tellLegend();
    m_legend->setToolTip(QString());
    m_legend->setText(isNothing ? QString()
                                : tr("Nothing has been found yet: results come once an FFP looks for a "
                                     "profile, see Assignments."));
}

/// Which sign is whose. Many that have none of their own are all in the tool tip.
void ResultsView::tellLegend()
{
    const QLocale locale;
    const auto part = [&locale](int shape, const QString& name, int count) { // a sign stands on its line
        return QStringLiteral("%1\u00a0%2 (%3)")
            .arg(QString::fromUtf8(kSigns[shape]), name, locale.toString(count));
    };
    QMap<QString, int> others;
    for (auto each = m_counts.cbegin(); each != m_counts.cend(); ++each)
        others.insert(each.key(), each.value());
    QStringList parts;
    for (std::size_t shape = 0; shape < m_shapes.size(); ++shape) {
        const QString name = m_shapes[shape].value_or(QString());
        if (const int count = m_shapes[shape] ? others.take(name) : 0; count > 0)
            parts.append(part(static_cast<int>(shape), nameOf(name), count));
    }
    QStringList all = parts, names;
    int count = 0;
    for (auto each = others.cbegin(); each != others.cend(); ++each) {
        names.append(nameOf(each.key()));
        all.append(part(ResultsPlot::kShapes, names.last(), each.value()));
        count += each.value();
    }
    if (names.size() > kNamedOthers)
        names = names.mid(0, kNamedOthers) << QStringLiteral("…");
    if (count > 0)
        parts.append(
            part(ResultsPlot::kShapes, tr("others: %1").arg(names.join(QStringLiteral(", "))), count));
    m_legend->setText(parts.join(QStringLiteral("   ")));
    m_legend->setToolTip(all.join(QLatin1Char('\n')));
}

} // namespace KoltaConsole
