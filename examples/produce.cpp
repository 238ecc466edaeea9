// Plans a tuner of a class, has a production run on it, and stops that again.
#include "localserver.h"

#include <koltacommon/koltaproductioncontrol.h>
#include <koltacommon/koltaresourceobserver.h>
#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/koltaserverregistry.h>
#include <koltacommon/processorconverter.h>
#include <koltacommon/tunerbookingmanager.h>
#include <koltacommon/tunerclasscostfunction.h>
#include <koltacommon/tunerclassesobserver.h>
#include <koltacommon/tunerclassresourceselector.h>

#include <QCoreApplication>

#include <cstdio>

using Kolta::KoltaProductionControl;
using Kolta::TunerBookingManager;

namespace {

/// A production on the best free tuner of that class, which is planned now; without tuner when there is none.
RESOURCEMANAGEMENT::MCP plan(Kolta::KoltaServerInterface& server, const QString& className, QString& error)
{
    TunerBookingManager& booking = server.getBookingManager();
    Kolta::TunerClassResourceSelector selector;
    selector.setTunerClassOverview(server.getTunerClassObserver().getTunerClassOverview());
    selector.setResourceOverview(server.getResourceObserver().GetCurrentResources());
    // The server does not know of plans: what is planned for another production must be left out here.
    const auto tuner = selector.selectTuner(
        className,
        [&booking](const RESOURCEMANAGEMENT::Tuner& one) {
            return booking.getTunerState(one.GetTavikResource().GetGUID()) == TunerBookingManager::ePlanned;
        },
        {});
    RESOURCEMANAGEMENT::MCP mcp;
    Kolta::ProcessorConverter::setupDefaultMCP(mcp);
    mcp.EditKoltaProcessor().SetDemandClassName(selector.getMCPResourceDemandClassForTunerClass(className));
    const QString guid = tuner.GetTavikResource().GetGUID();
    if (guid.isEmpty())
        error = QStringLiteral("no tuner of the class %1 is free").arg(className);
    else if (booking.planTuner(guid, error)) {
        std::printf("planned: %s\n", qPrintable(tuner.GetTavikResource().GetDisplayName()));
        mcp.EditDataSource().SetTunerGUID(guid);
    }
    return mcp;
}

int fail(const QString& error)
{
    std::fprintf(stderr, "produce: %s\n", qPrintable(error));
    return 1;
}

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication application(argc, argv);
    if (argc != 3) {
        std::fputs("usage: produce INSTALLATION-FOLDER TUNER-CLASS\n", stderr);
        return 2;
    }
    LocalServer played(QString::fromLocal8Bit(argv[1]));
    played.appear();

    auto& registry = Kolta::KoltaServerRegistry::Instance();
    Kolta::KoltaServerInterface* const server =
        registry.addServer(QStringLiteral("S1"), QStringLiteral("/AdminTree/S1"));
    if (!server || !server->isReady())
        return fail(QStringLiteral("S1 is not ready"));
    KoltaProductionControl& control = server->getProductionControl();
    TunerBookingManager& booking = server->getBookingManager();

    QString error;
    RESOURCEMANAGEMENT::MCP mcp = plan(*server, QString::fromLocal8Bit(argv[2]), error);
    if (!error.isEmpty())
        return fail(error);

    // All clients of a server hear all answers; the GUID tells whose it is. An answer may come before the
    // request returns, so the GUID is made here.
    const QUuid production = QUuid::createUuid();
    mcp.SetProductionID(production.toString());
    QObject::connect(&control, &KoltaProductionControl::si_ProductionRequestReplied,
                     [&](const QUuid& id, bool accepted, const QString& text) {
                         if (id != production)
                             return;
                         std::printf("%s\n", accepted ? "accepted" : qPrintable("refused: " + text));
                         if (accepted)
                             return control.StopProduction(id);
                         booking.undoProductionPlanning(mcp);
                         QCoreApplication::exit(1);
                     });
    QObject::connect(
        &booking, &TunerBookingManager::si_TunerStateChanged,
        [](const QString&, TunerBookingManager::eTunerState, TunerBookingManager::eTunerState now) {
            std::printf("tuner is %s\n", now == TunerBookingManager::eFree ? "free" : "in use");
        });
    QObject::connect(&control, &KoltaProductionControl::si_ProductionStopped, [&production](const QUuid& id) {
        if (id == production) {
            std::printf("stopped\n");
            QCoreApplication::quit();
        }
    });
    if (control.requestProduction(mcp, true).isNull()) {
        booking.undoProductionPlanning(mcp);
        return fail(QStringLiteral("the request could not be made"));
    }
    return QCoreApplication::exec();
}
