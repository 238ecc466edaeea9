#include "serverfigures.h"

#include "processordirectory.h"

#include <koltacommon/hardwareprocessingobserver.h>
#include <koltacommon/koltaprocessorobserver.h>
#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/tunerbookingmanager.h>

namespace KoltaCli {

using Kolta::TunerBookingManager;

namespace {

void countTuners(const TunerBookingManager& booking, ServerFigures& figures)
{
    for (const auto& tuner : booking.getAllTuners()) {
        switch (booking.getTunerState(tuner.GetTavikResource().GetGUID())) {
        case TunerBookingManager::eFree:
            ++figures.free;
            break;
        case TunerBookingManager::eInUse:
            ++figures.inUse;
            break;
        case TunerBookingManager::eInaccessible:
            ++figures.inaccessible;
            break;
        case TunerBookingManager::ePlanned:
            ++figures.planned;
            break;
        }
    }
}

} // namespace

QVector<QPair<QString, int>> ServerFigures::counts() const
{
    return {{QStringLiteral("free"), free},
            {QStringLiteral("inUse"), inUse},
            {QStringLiteral("inaccessible"), inaccessible},
            {QStringLiteral("planned"), planned},
            {QStringLiteral("processors"), processors},
            {QStringLiteral("productions"), productions},
            {QStringLiteral("hardware"), hardware}};
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
    countTuners(server.getBookingManager(), figures);
    figures.processors = ProcessorDirectory({&server}).all().size();
    figures.productions = server.getProcessorObserver().GetProductionIDs().size();
    figures.hardware = server.getHWProcessingObserver().getActiveHWProcessors().GetHWProcessing().size();
    return figures;
}

} // namespace KoltaCli
