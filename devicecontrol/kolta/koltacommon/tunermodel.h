#pragma once

#include <koltacommon/export.h>
#include <koltacommon/serversmodel.h>
#include <koltacommon/tunerbookingmanager.h>

#include <resourcemodel/resources.h>

#include <QMetaType>

#include <map>
#include <memory>
#include <vector>

Q_DECLARE_METATYPE(RESOURCEMANAGEMENT::Tuner)

namespace Kolta {

struct TunerEntry;

/// The tuners of servers, with who uses them: one row each, by server and then in the order of the server's
/// overview; or below groups, which are in the order of their names and show how many of their tuners are
/// free.
///
/// The key of a tuner is its server and GUID, and its number among those with the same GUID. The state
/// (ViewRoles::StateRole) is a TunerBookingManager::eTunerState; plans of this process are in it at once. The
/// record is in ViewRoles::ItemRole. An overview in which some tuners changed costs these and a comparison of
/// pointers for each of the others.
class KOLTA_COMMON_EXPORT TunerModel final : public ServersModel
{
    Q_OBJECT

public:
    enum eColumn : int {
        eNameColumn,
        eClassColumn, ///< of a server without classes, that of the default ones
        eTypeColumn,
        eRangeColumn,
        eBandwidthColumn, ///< the widest for software processing
        eStateColumn,
        eUserColumn,
        eSinceColumn, ///< of a server that is away: when it was known last
        eServerColumn,
        eAddressColumn, ///< where the server reaches the device
        eOptionsColumn, ///< option codes of the device
        eColumnCount
    };
    enum class Grouping { None, ByClass, ByServer, ByType };

    explicit TunerModel(QObject* parent = nullptr, Grouping grouping = Grouping::None);
    ~TunerModel() override;

    /// The state in words, which all who show it use: "free", "in use", "planned here", "out of reach".
    static QString stateText(TunerBookingManager::eTunerState state);

private:
    struct TunerRow;
    struct GroupRow;
    struct TunerSection;

    std::unique_ptr<Section> makeSection(KoltaServerInterface& server) override;
    bool show(Section& section) override;
    bool showStale(Section& section) override;
    bool hide(Section& section, int firstRow) override;
    bool showAll(TunerSection& section);
    bool showPlaces(TunerSection& section, const std::vector<int>& places);
    bool showGroups();
    bool showInGroups(TunerSection& section, const std::vector<int>& places);
    bool tellInGroups(const std::map<int, std::vector<RowChange>>& changes);
    QString groupOf(const Section& section, const TunerEntry& entry) const;

    const Grouping m_grouping;
};

} // namespace Kolta
