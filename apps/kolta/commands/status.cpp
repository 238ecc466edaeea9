#include "commands.h"

#include <kolta/application/processordirectory.h>
#include <kolta/application/servers.h>
#include <kolta/cli/commandline.h>
#include <kolta/cli/output.h>
#include <kolta/cli/table.h>

#include <koltacommon/hardwareprocessingobserver.h>
#include <koltacommon/koltaprocessorobserver.h>
#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/tunerbookingmanager.h>

#include <algorithm>

namespace KoltaCli {

using Kolta::TunerBookingManager;

namespace {

/// How many of what a server has.
struct Counts
{
    int free = 0;
    int inUse = 0;
    int inaccessible = 0;
    int planned = 0;
    int processors = 0;
    int productions = 0;
    int hardware = 0;
};

Counts countAll(Server& server)
{
    Counts counts;
    const TunerBookingManager& booking = server.getBookingManager();
    for (const auto& tuner : booking.getAllTuners()) {
        switch (booking.getTunerState(tuner.GetTavikResource().GetGUID())) {
        case TunerBookingManager::eFree:
            ++counts.free;
            break;
        case TunerBookingManager::eInUse:
            ++counts.inUse;
            break;
        case TunerBookingManager::eInaccessible:
            ++counts.inaccessible;
            break;
        case TunerBookingManager::ePlanned:
            ++counts.planned;
            break;
        }
    }
    counts.processors = ProcessorDirectory({&server}).all().size();
    counts.productions = server.getProcessorObserver().GetProductionIDs().size();
    counts.hardware = server.getHWProcessingObserver().getActiveHWProcessors().GetHWProcessing().size();
    return counts;
}

QVector<int> figures(const Counts& counts)
{
    return {counts.free,       counts.inUse,       counts.inaccessible, counts.planned,
            counts.processors, counts.productions, counts.hardware};
}

/// Of a server that has gone nobody knows what it has; what the mirrors show then is of the past.
bool isConnected(const Server& server)
{
    return server.getState() != Kolta::SERVER_STATES::eDisconnected;
}

void printObject(Server& server)
{
    QJsonObject object{{QStringLiteral("server"), server.getAddress()},
                       {QStringLiteral("host"), server.getHostname()},
                       {QStringLiteral("state"), server.getState()},
                       {QStringLiteral("stateText"), server.getStateString(server.getState())},
                       {QStringLiteral("message"), server.getStatusMessage()},
                       {QStringLiteral("ready"), server.isReady()}};
    if (isConnected(server)) {
        static const char* const names[] = {"free",       "inUse",       "inaccessible", "planned",
                                            "processors", "productions", "hardware"};
        const QVector<int> values = figures(countAll(server));
        for (int i = 0; i < values.size(); ++i)
            object[QLatin1String(names[i])] = values.at(i);
    }
    printJson(object);
}

void printTable(const QVector<Server*>& servers)
{
    Table table({QStringLiteral("SERVER"), QStringLiteral("HOST"), QStringLiteral("STATE"),
                 QStringLiteral("READY"), QStringLiteral("FREE"), QStringLiteral("IN USE"),
                 QStringLiteral("INACCESSIBLE"), QStringLiteral("PLANNED"), QStringLiteral("PROCESSORS"),
                 QStringLiteral("PRODUCTIONS"), QStringLiteral("HARDWARE"), QStringLiteral("MESSAGE")});
    table.alignRight({4, 5, 6, 7, 8, 9, 10});
    for (Server* server : servers) {
        QStringList cells{
            server->getAddress(), server->getHostname(),
            QStringLiteral("%1 %2").arg(server->getState()).arg(server->getStateString(server->getState())),
            yesNo(server->isReady())};
        const QVector<int> values = figures(countAll(*server));
        for (const int value : values)
            cells.append(isConnected(*server) ? QString::number(value) : QString());
        table.addRow(cells << server->getStatusMessage());
    }
    table.print();
}

int status(const CommandLine& line, const Servers& servers)
{
    const QVector<Server*>& all = servers.all();
    if (line.json())
        std::for_each(all.begin(), all.end(), [](Server* server) { printObject(*server); });
    else
        printTable(all);
    const auto isReady = [](const Server* server) { return server->isReady(); };
    return std::all_of(all.begin(), all.end(), isReady) ? eExitOk : eExitFailed;
}

} // namespace

Command statusCommand()
{
    return {"status",
            "tell how the servers are",
            "Tells how the servers of a simulated installation inside this process are: their working state "
            "and how "
            "much of everything they have.",
            {},
            Servers::options(),
            with(Servers::start, status)};
}

} // namespace KoltaCli
