#include "lifecycleserver.h"

#include <koltacommon/servernodes.h>
#include <support/patience.h>
#include <support/program.h>
#include <support/simulated.h>
#include <support/testprogram.h>
#include <support/text.h>

#include <resourcemodel/resources.h>

#ifdef KOLTA_WITH_DISTRIBUTION
#include <distribution/localbroker.h>
#include <distribution/treelink.h>

#include <QSocketNotifier>

#include <cstdio>

#include <unistd.h>
#endif

#include <algorithm>

namespace Lifecycle {

using KoltaSimulation::Installation;

Installation fewTuners()
{
    using namespace RESOURCEMANAGEMENT;
    Installation installation = sampleInstallation();
    ResourceOverview few = installation.resources();
    auto& tuners = few.EditTuner();
    const auto busy = [](const Tuner& tuner) { return !tuner.GetAccessible() || !tuner.GetIdle(); };
    tuners.erase(std::remove_if(tuners.begin(), tuners.end(), busy), tuners.end());
    tuners.resize(6);
    for (Tuner& tuner : tuners)
        tuner.SetSupportsHardwareProcessing(true);
    installation.setResources(few);
    return installation;
}

#ifdef KOLTA_WITH_DISTRIBUTION

namespace {

using namespace distribution;

const char* const serverProgram = "lifecycleserver";

std::unique_ptr<TreeLink> linkTo(const QString& url)
{
    QString error;
    LinkOptions options = *LinkOptions::FromConfiguration(url, error);
    options.compared = Kolta::ServerNodes::pathEnds(Kolta::ServerNodes::eWhole);
    return std::make_unique<TreeLink>(values::Tree::Instance(), options);
}

/// The program of the other process: "v" on standard input lets the server vanish, "r" return.
int serve(int argc, char** argv)
{
    using namespace Kolta::ServerNodes;
    QCoreApplication application(argc, argv);
    const Installation installation = fewTuners();
    KoltaSimulation::SimulatedServer server(installation);
    server.publish();
    const auto link = linkTo(QString::fromLocal8Bit(argv[argc - 1]));
    const QString base = installation.basePath();
    QObject::connect(link.get(), &TreeLink::si_Published, [] {
        std::puts("published");
        std::fflush(stdout);
    });
    link->publish(installation.serverName(), {base}, base + "/ADMINISTRATION/WorkingState"_s,
                  std::make_unique<ServerPolicy>(
                      base + "/ADMINISTRATION"_s,
                      ServerPlaces{names(eFolder), names(eRequest, eFolder), names(eWhole), QString()}));
    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, [&server] {
        char order = 0;
        if (::read(STDIN_FILENO, &order, 1) != 1)
            QCoreApplication::quit();
        else if (order == 'v')
            server.vanish();
        else if (order == 'r')
            server.comeBack();
    });
    return QCoreApplication::exec();
}

const TestProgram program(serverProgram, &serve);

class ServerElsewhere final : public StoryServer
{
public:
    ~ServerElsewhere() override
    {
        m_process.closeWriteChannel();
        m_process.ends();
        const auto hasLeft = [this] { return m_link->branches().value(0).state == BranchState::Withdrawn; };
        static_cast<void>(m_link && waitFor(hasLeft));
    }
    bool start(QString& reason)
    {
        if (!m_broker.start(reason))
            return false;
        m_process.begin(QCoreApplication::applicationFilePath(),
                        {QLatin1String(serverProgram), m_broker.url()});
        m_link = linkTo(m_broker.url());
        m_link->mirror({"S1"_s});
        reason = "the server's process was not heard of"_s;
        return m_link->waitForLive({"S1"_s}, kPatienceMs);
    }
    void vanish() override { m_process.write("v"); }
    void comeBack() override { m_process.write("r"); }
    bool hasHeardAll() const override { return m_link->branches().value(0).openWishes == 0; }

private:
    LocalBroker m_broker{LocalBroker::Settings()};
    Program m_process;
    std::unique_ptr<TreeLink> m_link;
};

} // namespace

std::unique_ptr<StoryServer> serverElsewhere(QString& reason, bool& isMissing)
{
    auto server = std::make_unique<ServerElsewhere>();
    const bool isUp = server->start(reason);
    isMissing = !LocalBroker::IsInstalled();
    return isUp ? std::move(server) : nullptr;
}

#else

std::unique_ptr<StoryServer> serverElsewhere(QString& reason, bool& isMissing)
{
    reason = "this build has no links between processes"_s;
    isMissing = true;
    return nullptr;
}

#endif

} // namespace Lifecycle
