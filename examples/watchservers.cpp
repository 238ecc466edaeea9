// Finds the servers of an installation and prints what happens to them, their tuners and their processors.
#include "localserver.h"

#include <koltacommon/koltaprocessorobserver.h>
#include <koltacommon/koltaresourceobserver.h>
#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/koltaserverregistry.h>
#include <koltacommon/processorconverter.h>

#include <QCoreApplication>

#include <cstdio>

namespace {

void print(const QString& line)
{
    std::printf("%s\n", qPrintable(line));
}

/// Without its server a mirror is only what was known last.
void tellState(Kolta::KoltaServerInterface& server, const QString& address)
{
    const int tuners = server.getResourceObserver().GetCurrentResources().GetTuner().size();
    const bool there = server.getState() != Kolta::SERVER_STATES::eDisconnected;
    print(there ? QStringLiteral("%1 is there with %2 tuners").arg(address).arg(tuners)
                : QStringLiteral("%1 has gone").arg(address));
}

/// Everything of interest at one server. Its parts are made when they are first asked for, and go with it.
void watch(Kolta::KoltaServerInterface& server)
{
    using Kolta::KoltaProcessorObserver;
    using Kolta::KoltaResourceObserver;
    tellState(server, server.getAddress());
    QObject::connect(&server, &Kolta::KoltaServerInterface::si_ConnectionChanged,
                     [&server](bool, const QString& address) { tellState(server, address); });
    KoltaResourceObserver& resources = server.getResourceObserver();
    QObject::connect(&resources, &KoltaResourceObserver::si_TunerIdleStateChanged,
                     [&resources](const QString& guid, bool idle) {
                         print(QStringLiteral("tuner %1 is %2")
                                   .arg(resources.GetDisplayNameByGUID(guid),
                                        idle ? QStringLiteral("free") : QStringLiteral("in use")));
                     });
    KoltaProcessorObserver& processors = server.getProcessorObserver();
    QObject::connect(&processors, &KoltaProcessorObserver::si_ProcessorStarted,
                     [&processors](const QString& guid) {
                         print(QStringLiteral("%1 runs").arg(processors.GetDisplayNameByGUID(guid)));
                     });
    QObject::connect(&processors, &KoltaProcessorObserver::si_ValueDeleted,
                     [] { print(QStringLiteral("nobody knows what runs now")); });
}

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication application(argc, argv);
    if (argc != 2) {
        std::fputs("usage: watchservers INSTALLATION-FOLDER\n", stderr);
        return 2;
    }
    Kolta::KoltaServerRegistry& registry = Kolta::KoltaServerRegistry::Instance();
    QObject::connect(&registry, &Kolta::KoltaServerRegistry::si_ServerAdded,
                     [&registry](const QString& address) { watch(*registry.server(address)); });
    registry.setDiscovery(true);

    // From here on the installation is played.
    LocalServer server(QString::fromLocal8Bit(argv[1]));
    server.appear();
    QTimer::singleShot(0, &server, [&server] {
        RESOURCEMANAGEMENT::MCP mcp;
        Kolta::ProcessorConverter::setupDefaultMCP(mcp);
        const auto& resources =
            Kolta::KoltaServerRegistry::Instance().server(QStringLiteral("S1"))->getResourceObserver();
        mcp.EditDataSource().SetTunerGUID(resources.GetGUIDForFreeTuner(QStringLiteral("KW")));
        server.start(mcp);
        server.vanish();
        server.appear();
        QCoreApplication::quit();
    });
    return QCoreApplication::exec();
}
