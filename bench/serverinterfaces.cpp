#include "figure.h"

#include <koltacommon/hardwareprocessingobserver.h>
#include <koltacommon/koltaownerobserver.h>
#include <koltacommon/koltaprocessorobserver.h>
#include <koltacommon/koltaproductioncontrol.h>
#include <koltacommon/koltaresourceobserver.h>
#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/koltaserverregistry.h>
#include <koltacommon/koltatunertypeobserver.h>
#include <koltacommon/resourcedemandclassobserver.h>
#include <koltacommon/tunerbookingmanager.h>
#include <koltacommon/tunerclassesobserver.h>
#include <simulation/installation.h>
#include <simulation/simulatedserver.h>

#include <QCoreApplication>

#include <memory>
#include <vector>

namespace Bench {

namespace {

using Kolta::KoltaServerRegistry;

constexpr int kMany = 100;

/// Servers of the sample installation, published in the value tree.
class Servers
{
public:
    Servers(int count, int number)
    {
        QString error;
        KoltaSimulation::Installation installation;
        require(installation.load(QStringLiteral(KOLTA_INSTALLATION_DIR), error), "the installation is bad");
        for (int i = 0; i < count; ++i) {
            installation.setServerName(QStringLiteral("B%1-%2").arg(number).arg(i));
            m_servers.push_back(std::make_unique<KoltaSimulation::SimulatedServer>(installation));
            m_servers.back()->publish();
        }
    }

    /// Binds an interface to every server, with all its parts, and lets them go again.
    void work() const
    {
        auto& registry = KoltaServerRegistry::Instance();
        for (const auto& server : m_servers) {
            const QString& path = server->installation().basePath();
            Kolta::KoltaServerInterface* const bound = registry.addServer(path, path);
            require(bound && bound->isReady(), "a server is not ready");
            bound->getProcessorObserver();
            bound->getHWProcessingObserver();
            bound->getRdcObserver();
            bound->getTunerClassObserver();
            bound->getTunerTypeObserver();
            bound->getGuiOwnerObserver();
            bound->getProductionControl();
            require(bound->getBookingManager().getOverallNumberOfTuners() ==
                        server->resources().GetTuner().size(),
                    "a mirror is not complete");
        }
        registry.removeAllServers();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

private:
    std::vector<std::unique_ptr<KoltaSimulation::SimulatedServer>> m_servers;
};

const bool added = addFigure({"server_interfaces_growth_at_equal_bytes", kOfTenths, 1.25, Unit::Time,
                              [] { return growthAtEqualBytes<Servers>(kMany); }});

} // namespace

} // namespace Bench
