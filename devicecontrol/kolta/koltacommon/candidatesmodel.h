#pragma once

#include <koltacommon/export.h>
#include <koltacommon/productionorder.h>
#include <koltacommon/serversmodel.h>

#include <functional>
#include <memory>
#include <utility>

namespace Kolta {

/// The tuners that come into question for an order, on all servers that are shown: those of each server in
/// the order in which they would be taken, behind them those that are refused, each with the reason.
///
/// Follows the order and the servers; what changes within one turn of the event loop is shown in the next as
/// one change. The key of a row is its tuner on its server, so a selected tuner stays the selected one
/// whatever becomes of its rank. The state (ViewRoles::StateRole) is a TunerBookingManager::eTunerState, the
/// OrderCandidate is in ViewRoles::ItemRole.
class KOLTA_COMMON_EXPORT CandidatesModel final : public ServersModel
{
    Q_OBJECT

public:
    enum eColumn : int {
        eRankColumn, ///< on its server; empty for a refused one
        eTunerColumn,
        eCostColumn,
        eReachesColumn,
        eBandwidthColumn,
        eServerColumn,
        eReasonColumn,
        eColumnCount
    };

    explicit CandidatesModel(QObject* parent = nullptr);
    ~CandidatesModel() override;

    /// A server that is away has its rows, stale ones, for orders that ask the same of its tuners as the last
    /// one that it has answered.
    void setOrder(const ProductionOrder& order);
    const ProductionOrder& order() const noexcept { return m_order; }
    /// While it does not follow, the rows stay as they are and no tuner is weighed; when it does again they
    /// are up to date at once. It follows from the beginning.
    void setFollowing(bool isFollowing);
    bool isFollowing() const noexcept { return m_isFollowing; }
    /// Asked before the rows of a server change: while it says true they wait, as if nobody followed, for the
    /// next setFollowing(true).
    void setHold(std::function<bool()> areHeld) { m_areHeld = std::move(areHeld); }
    /// Why a shown server has no candidates; empty when it has, or is not shown.
    QString problemOf(const QString& address) const;

Q_SIGNALS:
    /// The rows of a server, or its problem, are up to date again after a change. A receiver may delete this.
    void si_ChoiceChanged(const QString& address);

private:
    struct CandidateRow;
    struct CandidateSection;

    std::unique_ptr<Section> makeSection(KoltaServerInterface& server) override;
    bool show(Section& section) override;
    bool mayShow() const { return m_isFollowing && !(m_areHeld && m_areHeld()); }

    ProductionOrder m_order;
    bool m_isFollowing = true;
    std::function<bool()> m_areHeld;
};

} // namespace Kolta
