#pragma once

#include <koltacommon/export.h>
#include <koltacommon/serversmodel.h>

namespace Kolta {

/// Servers with their states and counts, one row each; the key is the address. The counts of a server that is
/// away are the last ones. The state (ViewRoles::StateRole) is a SERVER_STATES::eServerState, its text the
/// server's own.
class KOLTA_COMMON_EXPORT ServerModel final : public ServersModel
{
    Q_OBJECT

public:
    enum eColumn : int {
        eAddressColumn,
        eStateColumn,
        eHostColumn,
        eFreeColumn, ///< tuners, as the next four
        eInUseColumn,
        ePlannedColumn,
        eOutOfReachColumn,
        eTunersColumn,
        eRunningColumn,  ///< SCPs and MCPs
        eUnitsColumn,    ///< processing units, "9 of 10": registered ones of all
        eProgressColumn, ///< of starting, as the server writes it
        eMessageColumn,  ///< the last one
        eSinceColumn,    ///< when the state began
        eErrorsColumn,   ///< of its start-up: their number, by which it is sorted, and the first
        eColumnCount
    };

    explicit ServerModel(QObject* parent = nullptr);
    ~ServerModel() override;

private:
    struct Facts;
    struct ServerRow;
    struct ServerSection;

    std::unique_ptr<Section> makeSection(KoltaServerInterface& server) override;
    bool show(Section& section) override;
};

} // namespace Kolta
