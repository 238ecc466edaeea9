#pragma once

#include <koltacommon/export.h>
#include <koltacommon/serversmodel.h>

namespace Kolta {

/// The running processors of servers as a tree: SCPs and MCPs, and below each what it holds.
///
/// The key is the server and the GUID, and its number among those with the same GUID; a processor that moves
/// to another one takes its row along. Rows are stale, as those of a server that is away, while the server
/// shows that nothing runs and that is not believed yet: see KoltaProcessorObserver about emptied overviews.
/// After a return an overview that stays empty is believed after three seconds.
class KOLTA_COMMON_EXPORT ProcessorModel final : public ServersModel
{
    Q_OBJECT

public:
    enum eColumn : int {
        eNameColumn,
        eKindColumn,  ///< "SCP", "MCP", "FFP", "DSC", "FHP", "FHA"
        eTunerColumn, ///< name, else GUID
        eFrequencyColumn,
        eBandwidthColumn,
        eDemandClassColumn,
        eUnitColumn, ///< name of the processing unit, else GUID
        eOwnerColumn,
        eProductionColumn, ///< GUID; of SCPs and MCPs
        eSinceColumn,      ///< when it began to run
        eServerColumn,
        eColumnCount
    };
    /// ViewRoles::StateRole.
    enum class State {
        Running,
        LastKnown ///< the row is stale
    };
    Q_ENUM(State)

    explicit ProcessorModel(QObject* parent = nullptr);
    ~ProcessorModel() override;

private:
    struct Facts;
    struct ProcessorRow;
    struct ProcessorSection;

    std::unique_ptr<Section> makeSection(KoltaServerInterface& server) override;
    bool show(Section& section) override;
};

} // namespace Kolta
