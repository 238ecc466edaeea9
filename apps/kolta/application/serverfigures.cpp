#include "serverfigures.h"

#include "processordirectory.h"

#include <koltacommon/hardwareprocessingobserver.h>
#include <koltacommon/koltaprocessorobserver.h>
#include <koltacommon/koltaserverinterface.h>

#include <numeric>

namespace KoltaCli {

namespace {

/// Published: the names stay as they are.
constexpr std::array<TunerStateName, kTunerStateCount> kTunerStateNames{
    {{"free", "free"}, {"inUse", "in_use"}, {"inaccessible", "inaccessible"}, {"planned", "planned"}}};

} // namespace

const TunerStateName& nameOf(Kolta::TunerBookingManager::eTunerState state)
{
    return kTunerStateNames[static_cast<std::size_t>(state)];
}

int ServerFigures::tuners() const noexcept
{
    return std::accumulate(tunersInState.begin(), tunersInState.end(), 0);
}

QVector<QPair<QString, int>> ServerFigures::counts() const
{
    QVector<QPair<QString, int>> counts;
    for (std::size_t i = 0; i < tunersInState.size(); ++i)
        counts.append({QLatin1String(kTunerStateNames[i].json), tunersInState[i]});
    counts.append({QStringLiteral("processors"), processors});
    counts.append({QStringLiteral("productions"), productions});
    counts.append({QStringLiteral("hardware"), hardware});
    return counts;
}

ServerFigures ServerFigures::of(Server& server)
{
    ServerFigures figures;
    figures.name = server.getAddress();
    figures.host = server.getHostname();
    figures.state = server.getState();
    figures.stateText = server.getStateString(server.getState());
    figures.message = server.getStatusMessage();
    figures.isReady = server.isReady();
    figures.isConnected = figures.state != Kolta::SERVER_STATES::eDisconnected;
    figures.isUp = KoltaCli::isUp(server) && figures.state == Kolta::SERVER_STATES::eOperational;
    const Kolta::TunerBookingManager& booking = server.getBookingManager();
    for (const auto& tuner : booking.getAllTuners())
        ++figures.tunersInState[booking.getTunerState(tuner.GetTavikResource().GetGUID())];
    figures.processors = ProcessorDirectory({&server}).all().size();
    figures.productions = server.getProcessorObserver().GetProductionIDs().size();
    figures.hardware = server.getHWProcessingObserver().getActiveHWProcessors().GetHWProcessing().size();
    return figures;
}

} // namespace KoltaCli
