#pragma once

#include <koltacommon/export.h>
#include <koltacommon/serversmodel.h>

namespace Kolta {

/// The tuner classes of servers as a tree: servers, below each its classes as they are nested, and in them
/// the classes' tuners; tuners that no class lists stand directly below the server. The order is that of
/// TunerClassTree. A server without classes shows the default ones.
///
/// The key of a class is its server and the names on the way to it, that of a tuner as in TunerModel. Nothing
/// is free on a server that is away. How many tuners servers and classes have, and of these are free, are
/// ViewRoles::CountRole and FreeRole, which tuners do not have. The state (ViewRoles::StateRole) of tuners is
/// as in TunerModel; classes have none.
class KOLTA_COMMON_EXPORT TunerClassModel final : public ServersModel
{
    Q_OBJECT

public:
    enum eColumn : int {
        eNameColumn,        ///< of the server, class or tuner
        eFreeColumn,        ///< "3 of 6", of a tuner its state
        eDemandClassColumn, ///< that productions on tuners of the class need
        eCostColumn,        ///< penalty of the class alone
        eDescriptionColumn, ///< of a tuner its range
        eColumnCount
    };
    explicit TunerClassModel(QObject* parent = nullptr);
    ~TunerClassModel() override;

private:
    struct ClassRow;
    struct TunerRow;
    struct ClassSection;

    std::unique_ptr<Section> makeSection(KoltaServerInterface& server) override;
    bool show(Section& section) override;
    bool showStale(Section& section) override;
    bool showPlaces(ClassSection& section, const std::vector<int>& places);
};

} // namespace Kolta
