// Joins an installation of other processes with one call. From then on the program uses the same classes as
// if all of it were one process, also while servers and the broker die and return.
#include <distribution/treelink.h>
#include <koltacommon/koltaresourceobserver.h>
#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/koltaserverregistry.h>
#include <koltacommon/servernodes.h>
#include <koltacommon/shorttimevalues.h>
#include <values/tree.h>

#include <QCoreApplication>

#include <cstdio>

namespace {

constexpr int kJoinLimitMs = 10000;

void print(const QString& line)
{
    std::printf("%s\n", qPrintable(line));
    std::fflush(stdout);
}

/// Without its server a mirror is only what was known last.
void tellState(Kolta::KoltaServerInterface& server, const QString& address)
{
    const auto tuners = server.getResourceObserver().GetCurrentResources().GetTuner();
    const bool there = server.getState() != Kolta::SERVER_STATES::eDisconnected;
    print(there ? QStringLiteral("%1 is there with %2 tuners").arg(address).arg(tuners.size())
                : QStringLiteral("%1 has gone").arg(address));
    for (const auto& tuner : tuners) {
        if (there)
            print(QStringLiteral("  %1 is %2")
                      .arg(tuner.GetTavikResource().GetDisplayName(),
                           tuner.GetIdle() ? QStringLiteral("free") : QStringLiteral("in use")));
    }
}

void watch(Kolta::KoltaServerInterface& server)
{
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
}

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication application(argc, argv);
    const QString url = argc > 1 ? QString::fromLocal8Bit(argv[1]) : qEnvironmentVariable("KOLTA_TREE");
    QString error = QStringLiteral("usage: joininstallation [URL], or the URL in KOLTA_TREE");
    auto options =
        argc > 2 || url.isEmpty() ? std::nullopt : distribution::LinkOptions::FromConfiguration(url, error);
    if (!options) {
        std::fprintf(stderr, "joininstallation: %s\n", qPrintable(error));
        return 2;
    }
    options->compared = Kolta::ServerNodes::pathEnds(Kolta::ServerNodes::eWhole); // written as a whole
    Kolta::registerShortTimeValues();                                             // collections come along
    distribution::TreeLink link(values::Tree::Instance(), *options);
    QObject::connect(
        &link, &distribution::TreeLink::si_LinkChanged, [&error](bool online, const QString& reason) {
            error = reason;
            print(online ? QStringLiteral("joined") : QStringLiteral("the line is down: %1").arg(reason));
        });
    link.mirror({QStringLiteral("*")});
    if (!link.waitForLive({}, kJoinLimitMs)) {
        std::fprintf(stderr, "joininstallation: no server was found (%s)\n", qPrintable(error));
        return 1;
    }
    auto& registry = Kolta::KoltaServerRegistry::Instance();
    QObject::connect(&registry, &Kolta::KoltaServerRegistry::si_ServerAdded,
                     [&registry](const QString& address) { watch(*registry.server(address)); });
    registry.setDiscovery(true);
    return QCoreApplication::exec(); // until Ctrl-C
}
