#include <koltacommon/candidatesmodel.h>

#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/ordercandidates.h>
#include <koltacommon/viewroles.h>
#include <koltacommon/viewtexts.h>

#include <QHash>
#include <QPointer>

#include <algorithm>
#include <limits>
#include <tuple>
#include <utility>

namespace Kolta {

namespace {

constexpr ModelColumn kColumns[] = {{QT_TRANSLATE_NOOP("Kolta::CandidatesModel", "Rank"), true},
                                    {QT_TRANSLATE_NOOP("Kolta::CandidatesModel", "Tuner"), false},
                                    {QT_TRANSLATE_NOOP("Kolta::CandidatesModel", "Cost"), true},
                                    {QT_TRANSLATE_NOOP("Kolta::CandidatesModel", "Reaches"), false},
                                    {QT_TRANSLATE_NOOP("Kolta::CandidatesModel", "Bandwidth"), true},
                                    {QT_TRANSLATE_NOOP("Kolta::CandidatesModel", "Server"), false},
                                    {QT_TRANSLATE_NOOP("Kolta::CandidatesModel", "Reason"), false}};

bool asksTheSame(const ProductionOrder& a, const ProductionOrder& b)
{
    const auto asked = [](const ProductionOrder& order) {
        return std::tie(order.kind, order.tunerClass, order.tunerGuid, order.demandClass, order.mcp,
                        order.frequency, order.bandwidth, order.storageGuids, order.processor);
    };
    return asked(a) == asked(b);
}

} // namespace

struct CandidatesModel::CandidateRow : Row
{
    CandidateRow(const Section& section, const QString& name, OrderCandidate shown)
        : Row(section.keyOf(name), &section), candidate(std::move(shown))
    {
    }

    ColumnSet update(Row& fresh) override
    {
        const OrderCandidate before =
            std::exchange(candidate, std::move(static_cast<CandidateRow&>(fresh).candidate));
        if (candidate.isSameAs(before))
            return 0;
        // A mark or a tooltip may be another one although all texts are the same.
        ColumnSet columns = columnBit(eTunerColumn) | columnBit(eReasonColumn);
        if (candidate.rank != before.rank)
            columns |= columnBit(eRankColumn);
        if (candidate.facts.cost != before.facts.cost)
            columns |= columnBit(eCostColumn);
        if (!candidate.facts.tuner.IsSameAs(before.facts.tuner))
            columns |= columnBit(eReachesColumn) | columnBit(eBandwidthColumn);
        return columns;
    }
    QString text(int column) const override;
    QVariant sortValue(int column) const override;
    QVariant value(int role) const override;

    OrderCandidate candidate;
};

QString CandidatesModel::CandidateRow::text(int column) const
{
    const RESOURCEMANAGEMENT::Tuner& tuner = candidate.facts.tuner;
    switch (column) {
    case eRankColumn:
        return candidate.rank > 0 ? QString::number(candidate.rank) : QString();
    case eTunerColumn:
        return tuner.GetTavikResource().GetDisplayName();
    case eCostColumn:
        return QString::number(candidate.facts.cost);
    case eReachesColumn:
        return ViewTexts::range(tuner.GetMinFrequency(), tuner.GetMaxFrequency());
    case eBandwidthColumn:
        return ViewTexts::hertz(tuner.GetMaxSWBandwidth());
    case eReasonColumn:
        return candidate.reason();
    default:
        return origin->address;
    }
}

QVariant CandidatesModel::CandidateRow::sortValue(int column) const
{
    const RESOURCEMANAGEMENT::Tuner& tuner = candidate.facts.tuner;
    switch (column) {
    case eRankColumn: // refused ones behind all others
        return candidate.rank > 0 ? candidate.rank : std::numeric_limits<int>::max();
    case eCostColumn:
        return candidate.facts.cost;
    case eReachesColumn:
        return tuner.GetMinFrequency();
    case eBandwidthColumn:
        return tuner.GetMaxSWBandwidth();
    default:
        return Row::sortValue(column);
    }
}

QVariant CandidatesModel::CandidateRow::value(int role) const
{
    switch (role) {
    case ViewRoles::ItemRole:
        return QVariant::fromValue(candidate);
    case ViewRoles::GuidRole:
        return candidate.guid();
    case ViewRoles::StateRole:
        return static_cast<int>(candidate.state);
    case ViewRoles::PlannedRole:
        return candidate.state == TunerBookingManager::ePlanned;
    case ViewRoles::HolderRole:
        return candidate.holder.text();
    default:
        return Row::value(role);
    }
}

struct CandidatesModel::CandidateSection : Section
{
    CandidateSection(KoltaServerInterface& shown, const ProductionOrder& order)
        : Section(shown), explainer(shown, order)
    {
    }

    OrderExplainer explainer;
    QString problem;
    bool isLate = false;      ///< it has changed while the model did not follow
    ProductionOrder answered; ///< the last one to which it had something to say
};

CandidatesModel::CandidatesModel(QObject* parent) : ServersModel("Kolta::CandidatesModel", kColumns, parent)
{
}

CandidatesModel::~CandidatesModel() = default;

std::unique_ptr<ServersModel::Section> CandidatesModel::makeSection(KoltaServerInterface& server)
{
    auto section = std::make_unique<CandidateSection>(server, m_order);
    CandidateSection* const own = section.get();
    connect(&own->explainer, &OrderExplainer::mayHaveChanged, &own->context, [this, own] { follow(*own); });
    return section;
}

void CandidatesModel::setOrder(const ProductionOrder& order)
{
    m_order = order;
    for (const auto& section : sections())
        static_cast<CandidateSection&>(*section).explainer.setOrder(order);
}

void CandidatesModel::setFollowing(bool isFollowing)
{
    m_isFollowing = isFollowing;
    const QPointer<CandidatesModel> guard(this);
    const auto isLate = [](const auto& section) {
        return static_cast<const CandidateSection&>(*section).isLate;
    };
    while (guard && mayShow()) {
        // Whoever hears of one may bring others or take them away.
        const auto late = std::find_if(sections().begin(), sections().end(), isLate);
        if (late == sections().end())
            return;
        static_cast<CandidateSection&>(**late).isLate = false;
        follow(**late);
    }
}

QString CandidatesModel::problemOf(const QString& address) const
{
    for (const auto& section : sections()) {
        if (section->address == address)
            return static_cast<const CandidateSection&>(*section).problem;
    }
    return QString();
}

/// What a server that is away had for an order is nothing for one that asks something else.
bool CandidatesModel::show(Section& section)
{
    auto& due = static_cast<CandidateSection&>(section);
    if (!mayShow()) {
        due.isLate = true;
        return true;
    }
    const QString address = due.address;
    const OrderChoice& choice = due.explainer.choice();
    due.problem = choice.problem;
    const bool isAway = !due.server || due.server->getState() == SERVER_STATES::eDisconnected;
    if (!isAway)
        due.answered = m_order;
    Rows wanted;
    if (asksTheSame(due.answered, m_order)) {
        wanted.reserve(choice.candidates.size());
        QHash<QString, int> counts; // of those with one GUID
        counts.reserve(static_cast<int>(choice.candidates.size()));
        for (const OrderCandidate& candidate : choice.candidates) {
            const int number = counts[candidate.guid()]++;
            const QString name = number == 0 ? candidate.guid()
                                             : candidate.guid() + QLatin1Char(' ') + QString::number(number);
            wanted.push_back(std::make_unique<CandidateRow>(due, name, candidate));
        }
    }
    if (!replaceSection(due, wanted))
        return false;
    const QPointer<CandidatesModel> guard(this);
    Q_EMIT si_ChoiceChanged(address);
    return !guard.isNull();
}

} // namespace Kolta
