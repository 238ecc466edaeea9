#include "candidatestable.h"

#include <koltacommon/journal.h>
#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/koltaserverregistry.h>
#include <koltacommon/ordercandidates.h>
#include <koltacommon/units.h>
#include <koltacommon/viewroles.h>
#include <koltaconsole/session/orderdraft.h>
#include <koltaconsole/session/serverfacts.h>
#include <koltaconsole/session/session.h>
#include <koltaconsole/widgets/columnfit.h>
#include <koltaconsole/widgets/columns.h>
#include <koltaconsole/widgets/filterbar.h>
#include <koltaconsole/widgets/stateitemdelegate.h>

#include <algorithm>
#include <limits>

namespace KoltaConsole {

namespace Roles = Kolta::ViewRoles;
using Kolta::CandidatesModel;
using Kolta::OrderCandidate;

namespace {

constexpr int kRefused = std::numeric_limits<int>::max(); ///< how a rank is sorted that is none
constexpr int kReasonWidth = 110;                         ///< at least

/// As the delegate asks for texts of refused ones: dim.
class CandidateDelegate : public StateItemDelegate
{
public:
    using StateItemDelegate::StateItemDelegate;

protected:
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override
    {
        StateItemDelegate::initStyleOption(option, index);
        const bool isRefused =
            index.sibling(index.row(), CandidatesModel::eRankColumn).data().toString().isEmpty();
        if (!isRefused)
            return;
        option->palette.setColor(QPalette::Text, Theme::instance().color(Role::Dim));
        option->palette.setColor(QPalette::HighlightedText, Theme::instance().onSelection(Role::Dim));
    }
};

void arrangeColumns(QTreeView& view)
{
    setColumnWidths(view, {48, 130, 56, 130, 90, 64});
    view.setColumnHidden(CandidatesModel::eBandwidthColumn, true);
    new ColumnFit(view,
                  {{CandidatesModel::eServerColumn, 56},
                   {CandidatesModel::eReachesColumn, 112},
                   {CandidatesModel::eTunerColumn, 96}},
                  kReasonWidth);
}

} // namespace

bool CandidatesTable::Rows::filterAcceptsRow(int row, const QModelIndex& parent) const
{
    return hasServer(sourceModel()->index(row, 0, parent).data(Roles::ServerRole).toString());
}

bool CandidatesTable::Rows::hasServer(const QString& address) const
{
    return (m_wanted.isEmpty() || address == m_wanted) && (m_shown.isEmpty() || address == m_shown);
}

void CandidatesTable::Rows::setServers(const QString& wanted, const QString& shown)
{
    if (wanted == m_wanted && shown == m_shown)
        return;
    m_wanted = wanted;
    m_shown = shown;
    invalidateFilter();
}

QVariant CandidatesTable::Rows::data(const QModelIndex& index, int role) const
{
    const QVariant own = QSortFilterProxyModel::data(index, role);
    if (role == Qt::DisplayRole && index.column() == CandidatesModel::eReasonColumn)
        return reasonOf(index, own.toString());
    if (role != Qt::DisplayRole || index.column() != CandidatesModel::eRankColumn)
        return own;
    return isAccepted(index) && !m_session.isOutOfSight() ? QVariant(index.row() + 1) : QVariant(QString());
}

bool CandidatesTable::Rows::isAway(const QModelIndex& source) const
{
    return !m_session.isOutOfSight() && source.data(Roles::StaleRole).toBool();
}

bool CandidatesTable::Rows::isAccepted(const QModelIndex& index) const
{
    const QModelIndex rank = index.sibling(index.row(), CandidatesModel::eRankColumn);
    return rank.data(Roles::SortRole).toInt() != kRefused && !isAway(mapToSource(rank));
}

/// Beside the row above, which is taken before it; of a refused one as the server tells it.
QString CandidatesTable::Rows::reasonOf(const QModelIndex& index, const QString& own) const
{
    const auto cell = [](const QModelIndex& row, int column) {
        return row.sibling(row.row(), column).data();
    };
    if (isAway(mapToSource(index))) {
        const QDateTime known = index.data(Roles::LastKnownRole).toDateTime();
        return CandidatesTable::tr("%1 is away, %2")
            .arg(index.data(Roles::ServerRole).toString(), lastKnownText(known));
    }
    if (!isAccepted(index))
        return refusalOf(index, own);
    if (index.row() == 0)
        return CandidatesTable::tr("cheapest");
    const QModelIndex above = this->index(index.row() - 1, 0);
    const int dearer =
        cell(index, CandidatesModel::eCostColumn).toInt() - cell(above, CandidatesModel::eCostColumn).toInt();
    if (dearer > 0)
        return CandidatesTable::tr("dearer by %1").arg(dearer);
    if (index.data(Roles::ServerRole) != above.data(Roles::ServerRole))
        return CandidatesTable::tr("same cost, another server");
    switch (above.data(Roles::ItemRole).value<OrderCandidate>().facts.ahead) {
    case Kolta::TunerCriterion::Depth:
        return CandidatesTable::tr("same cost, more enclosing classes");
    case Kolta::TunerCriterion::Bandwidth:
        return CandidatesTable::tr("same cost, wider");
    case Kolta::TunerCriterion::HardwareProcessing:
        return CandidatesTable::tr("same cost, has hardware processing");
    case Kolta::TunerCriterion::PanoramaScan:
        return CandidatesTable::tr("same cost, has panorama scan");
    case Kolta::TunerCriterion::Guid:
        return CandidatesTable::tr("same cost and name, GUID sorts later");
    default:
        return CandidatesTable::tr("same cost, name sorts later");
    }
}

/// With the time from which on its holder has it, when that was seen.
QString CandidatesTable::Rows::refusalOf(const QModelIndex& index, const QString& own) const
{
    const auto candidate = index.data(Roles::ItemRole).value<OrderCandidate>();
    const bool isTaken = candidate.facts.refusal == Kolta::TunerRefusal::NotIdle ||
                         candidate.facts.refusal == Kolta::TunerRefusal::Excluded;
    if (!isTaken)
        return own;
    const Kolta::Stretch taken = m_session.journal().book().present(
        {Kolta::EventSubject::Type::Tuner, index.data(Roles::ServerRole).toString(), candidate.guid()});
    const bool isKnown = taken.from.isValid() && taken.sawBegin && taken.state == candidate.state;
    return isKnown ? CandidatesTable::tr("%1, since %2").arg(own, timeText(taken.from)) : own;
}

/// By rank on the own server where costs are equal, then by servers as people number them.
bool CandidatesTable::Rows::lessThan(const QModelIndex& a, const QModelIndex& b) const
{
    const auto key = [](const QModelIndex& index, int column) {
        return index.sibling(index.row(), column).data(Roles::SortRole).toInt();
    };
    const auto rank = [&](const QModelIndex& index) {
        return isAway(index) ? kRefused : key(index, CandidatesModel::eRankColumn);
    };
    const int ranks[] = {rank(a), rank(b)};
    if ((ranks[0] == kRefused) != (ranks[1] == kRefused))
        return ranks[1] == kRefused;
    const int costs[] = {key(a, CandidatesModel::eCostColumn), key(b, CandidatesModel::eCostColumn)};
    if (costs[0] != costs[1])
        return costs[0] < costs[1];
    if (ranks[0] != ranks[1])
        return ranks[0] < ranks[1];
    const auto server = [this](const QModelIndex& index) {
        return m_serverOrder.keyOf(index.data(Roles::ServerRole).toString());
    };
    const int order = server(a).compare(server(b));
    return order == 0 ? a.row() < b.row() : order < 0;
}

CandidatesTable::CandidatesTable(Session& session, QWidget* parent)
    : QTreeView(parent), m_session(session), m_rows(session)
{
    m_model.setFollowing(false);
    m_model.setHold([this] { return m_rows.rowCount() > 0 && m_still.areHeld(); });
    // A server that is away or back changes rows alone; this hears of it before they are sorted.
    connect(&m_model, &QAbstractItemModel::dataChanged, this, [this] {
        if (m_still.areHeld())
            m_rows.setDynamicSortFilter(false);
    });
    connect(&m_still, &StillRows::si_Due, this, &CandidatesTable::catchUp);
    m_rows.setSourceModel(&m_model);
    m_rows.setDynamicSortFilter(true);
    m_rows.sort(0);
    setModel(&m_rows);
    setItemDelegate(new CandidateDelegate(this, [](const QModelIndex& index) {
        if (index.column() != CandidatesModel::eTunerColumn)
            return std::optional<Look>();
        Look look = tunerLook(index.data(Roles::StateRole).toInt());
        look.word = index.data().toString();
        return std::optional<Look>(look);
    }));
    dressTable(*this);
    setAccessibleName(tr("Candidates"));
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    arrangeColumns(*this);
    m_model.followRegistry(Kolta::KoltaServerRegistry::Instance());
    connect(&m_model, &CandidatesModel::si_ChoiceChanged, this, &CandidatesTable::chooseWished);
    connect(&m_model, &CandidatesModel::si_ChoiceChanged, this, &CandidatesTable::si_Changed);
    connect(&m_rows, &QAbstractItemModel::dataChanged, this, &CandidatesTable::si_Changed);
    connect(&session, &Session::si_LinkChanged, &m_rows, &QSortFilterProxyModel::invalidate);
    connect(&session, &Session::si_LinkChanged, this, &CandidatesTable::si_Changed);
    connect(&session.draft(), &OrderDraft::si_Changed, this, &CandidatesTable::follow);
    connect(selectionModel(), &QItemSelectionModel::selectionChanged, this, &CandidatesTable::si_Changed);
    // It may hear of a change later than the rows.
    connect(&session.journal(), &Kolta::Journal::added, viewport(), qOverload<>(&QWidget::update));
    follow();
}

void CandidatesTable::showEvent(QShowEvent* event)
{
    QTreeView::showEvent(event);
    m_model.setFollowing(true);
    chooseWished();
}

void CandidatesTable::hideEvent(QHideEvent* event)
{
    QTreeView::hideEvent(event);
    m_model.setFollowing(false);
}

void CandidatesTable::catchUp()
{
    if (!m_rows.dynamicSortFilter())
        m_rows.setDynamicSortFilter(true);
    m_model.setFollowing(m_model.isFollowing());
}

void CandidatesTable::follow()
{
    Kolta::ProductionOrder order = m_session.draft().order();
    order.tunerGuid.clear();
    m_model.setOrder(order);
    m_rows.setServers(m_session.draft().server(), m_only);
    m_wished = m_session.draft().tuner();
    if (!m_wished.isEmpty())
        selectionModel()->clear();
    chooseWished();
    Q_EMIT si_Changed();
}

/// Its row stays the chosen one whatever becomes of its rank.
void CandidatesTable::chooseWished()
{
    for (int row = 0; m_model.isFollowing() && !m_wished.isEmpty() && row < m_rows.rowCount(); ++row) {
        const QModelIndex index = m_rows.index(row, 0);
        if (candidate(row).guid() != m_wished ||
            index.data(Roles::ServerRole).toString() != m_session.draft().server())
            continue;
        m_wished.clear();
        setCurrentIndex(index);
        Q_EMIT si_WishedChosen();
    }
}

void CandidatesTable::showServer(const QString& address)
{
    m_only = address;
    m_rows.setServers(m_session.draft().server(), m_only);
    Q_EMIT si_Changed();
}

bool CandidatesTable::isStale(int row) const
{
    return m_rows.index(row, 0).data(Roles::StaleRole).toBool();
}

OrderCandidate CandidatesTable::candidate(int row) const
{
    return m_rows.index(row, 0).data(Roles::ItemRole).value<OrderCandidate>();
}

int CandidatesTable::applyFilter(const FilterWords& words)
{
    return FilterBar::showRows(*this, [&](int row) {
        if (words.isEmpty())
            return true;
        FilterWords::Band band;
        if (words.wantsBand()) {
            const RESOURCEMANAGEMENT::Tuner tuner = candidate(row).facts.tuner;
            band = {tuner.GetMinFrequency(), tuner.GetMaxFrequency(), tuner.GetMaxSWBandwidth()};
        }
        return words.matches(m_rows.index(row, 0).data(Roles::SearchRole).toString(), band);
    });
}

/// -1 for none. What nobody sees is not what somebody chose.
int CandidatesTable::chosenRow() const
{
    const QModelIndexList chosen = selectionModel()->selectedRows();
    return chosen.isEmpty() || isRowHidden(chosen.first().row(), QModelIndex()) ? -1 : chosen.first().row();
}

bool CandidatesTable::isOfferHidden() const
{
    return chosenRow() < 0 && acceptedCount() > 0 && isRowHidden(0, QModelIndex());
}

bool CandidatesTable::isWishedMissing() const
{
    return m_model.isFollowing() && !m_wished.isEmpty() && chosenRow() < 0;
}

QString CandidatesTable::refusal() const
{
    const int row = chosenRow();
    if (!m_model.isFollowing() || row < 0 || m_rows.isAccepted(m_rows.index(row, 0)))
        return QString();
    return m_rows.index(row, CandidatesModel::eReasonColumn).data().toString();
}

Offer CandidatesTable::offer() const
{
    const int row = qMax(0, chosenRow());
    if (!m_model.isFollowing() || m_session.isOutOfSight() || row >= m_rows.rowCount() || isStale(row))
        return {};
    const OrderCandidate found = candidate(row);
    if (found.rank == 0)
        return {};
    return {m_rows.index(row, 0).data(Roles::ServerRole).toString(), found.guid(),
            found.facts.tuner.GetTavikResource().GetDisplayName(), found.facts.cost};
}

bool CandidatesTable::isOwnChoice() const
{
    return m_model.isFollowing() && chosenRow() > 0;
}

int CandidatesTable::acceptedCount() const
{
    int count = 0;
    for (int row = 0; row < m_rows.rowCount(); ++row)
        count += m_rows.isAccepted(m_rows.index(row, 0)) ? 1 : 0;
    return count;
}

int CandidatesTable::refusedCount() const
{
    return m_rows.rowCount() - acceptedCount();
}

QString CandidatesTable::reach() const
{
    double from = std::numeric_limits<double>::infinity(), to = 0.0;
    for (int row = 0; row < m_rows.rowCount(); ++row) {
        if (isStale(row))
            continue;
        const OrderCandidate each = candidate(row);
        from = std::min(from, each.facts.tuner.GetMinFrequency());
        to = std::max(to, each.facts.tuner.GetMaxFrequency());
    }
    return to > from ? Kolta::hertzRangeToText(from, to) : QString();
}

int CandidatesTable::tooNarrowCount() const
{
    int count = 0;
    for (int row = 0; row < m_rows.rowCount(); ++row)
        count += !isStale(row) && candidate(row).facts.refusal == Kolta::TunerRefusal::TooNarrow ? 1 : 0;
    return count;
}

bool CandidatesTable::isAway(const QString& address) const
{
    const Kolta::KoltaServerInterface* const server = m_session.server(address);
    return !server || server->getState() == Kolta::SERVER_STATES::eDisconnected;
}

QStringList CandidatesTable::awayServers() const
{
    const auto hasLeft = [this](const QString& address) {
        const auto& all = m_session.facts();
        return std::any_of(all.begin(), all.end(), [&address](const ServerFacts& facts) {
            return facts.address == address && facts.hasLeft();
        });
    };
    QStringList away;
    for (const QString& address : m_model.addresses()) {
        if (isAway(address) && m_rows.hasServer(address) && !hasLeft(address))
            away.append(address);
    }
    return away;
}

QString CandidatesTable::problem() const
{
    const QString server = m_session.draft().server();
    if (!server.isEmpty() && !m_only.isEmpty() && server != m_only)
        return tr("the order is for %1, and %2 alone is shown").arg(server, m_only);
    if (m_model.addresses().isEmpty())
        return tr("no server has been seen yet");
    QStringList away;
    for (const QString& address : m_model.addresses()) {
        if (m_rows.rowCount() > 0 || !m_rows.hasServer(address))
            continue;
        if (isAway(address))
            away.append(address);
        else if (const QString text = m_model.problemOf(address); !text.isEmpty())
            return text;
    }
    return away.isEmpty() ? QString()
                          : tr("%1 is away", "", away.size()).arg(away.join(QStringLiteral(", ")));
}

} // namespace KoltaConsole
