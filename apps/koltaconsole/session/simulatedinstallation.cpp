#include "simulatedinstallation.h"

#include "options.h"

#include <koltacommon/guidtext.h>
#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/koltaserverregistry.h>
#include <koltacommon/productionjob.h>
#include <koltacommon/servernodes.h>
#include <resourcemodel/tunerclasses.h>
#include <simulation/activity.h>
#include <simulation/installation.h>
#include <simulation/resourcegenerator.h>
#include <simulation/simulatedserver.h>
#include <values/value.h>

#include <QHash>
#include <QUuid>
#include <QVector>

namespace KoltaConsole {

using Kolta::KoltaServerInterface;
using Kolta::KoltaServerRegistry;
using Kolta::Operation;
using Kolta::ProductionJob;
using Kolta::ProductionOrder;
using KoltaSimulation::Installation;
using KoltaSimulation::SimulatedServer;

namespace {

/// Every unit of the sample works, but for one of this server.
constexpr int kNumberThatLacksAUnit = 4;

void registerUnits(Installation& installation)
{
    auto resources = installation.resources();
    for (auto& unit : resources.EditProcessingUnit())
        unit.SetRegistration(RESOURCEMANAGEMENT::ProcessingUnit::eRegistered);
    installation.setResources(resources);
}

/// Puts generated tuners, of which the sample's classes know nothing, into these.
void classify(Installation& installation)
{
    static const QHash<QString, QString> classOfType{
        {QStringLiteral("KW"), QStringLiteral("HF")},
        {QStringLiteral("ZELM"), QStringLiteral("Basic")},
        {QStringLiteral("EB"), QStringLiteral("Wide")},
        {QStringLiteral("DX"), QStringLiteral("Direction finding")}};
    const QString node = Kolta::ServerNodes::name(Kolta::ServerNodes::eTunerClasses);
    RESOURCEMANAGEMENT::TunerClassOverview classes;
    classes.SetXmlString(installation.furtherOverviews().value(node), true);
    QHash<QString, QVector<QString>> ids;
    for (const auto& tuner : installation.resources().GetTuner())
        ids[classOfType.value(tuner.GetType())].append(tuner.GetTavikResource().GetAddress());
    for (auto& tunerClass : classes.EditTunerClass())
        tunerClass.SetTunerID(ids.value(tunerClass.GetName()));
    installation.setFurtherOverview(node, classes.GetXmlString());
}

ProductionOrder orderOf(ProductionOrder::Kind kind, const QString& tunerClass, double frequency,
                        double bandwidth)
{
    ProductionOrder order;
    order.kind = kind;
    order.tunerClass = tunerClass;
    order.frequency = frequency;
    order.bandwidth = bandwidth;
    return order;
}

} // namespace

SimulatedInstallation::SimulatedInstallation(QObject* parent) : QObject(parent) {}

SimulatedInstallation::~SimulatedInstallation() = default;

QString SimulatedInstallation::folder()
{
    return Installation::sampleFolder();
}

bool SimulatedInstallation::start(const Options& options, QString& error)
{
    Installation sample;
    if (!sample.load(folder(), error))
        return false;
    auto& registry = KoltaServerRegistry::Instance();
    for (int number = 1; number <= options.servers; ++number) {
        Installation installation = sample;
        installation.setServerName(Installation::usualName(number));
        installation.setHostName(QStringLiteral("station-%1.kolta.example").arg(number));
        if (options.tuners > 0) {
            installation.setResources(
                KoltaSimulation::makeResources(options.tuners, static_cast<quint32>(number)));
            classify(installation);
        }
        if (number != kNumberThatLacksAUnit)
            registerUnits(installation);
        m_servers.push_back(std::make_unique<SimulatedServer>(installation));
        SimulatedServer& server = *m_servers.back();
        server.publish();
        if (options.activityMs > 0)
            (new KoltaSimulation::Activity(server, static_cast<quint32>(number)))->start(options.activityMs);
    }
    connect(&registry, &KoltaServerRegistry::si_ServerAdded, this, &SimulatedInstallation::follow);
    connect(&registry, &KoltaServerRegistry::si_ServerAdded, this, &SimulatedInstallation::startProductions);
    return true;
}

SimulatedServer* SimulatedInstallation::server(const QString& address) const
{
    for (const auto& server : m_servers) {
        if (server->installation().serverName() == address)
            return server.get();
    }
    return nullptr;
}

/// Tuners of the sample are out of reach on purpose; errors of its start-up has the server that lacks a unit.
void SimulatedInstallation::follow(const QString& address)
{
    KoltaServerInterface* const interface = KoltaServerRegistry::Instance().server(address);
    const SimulatedServer* const server = this->server(address);
    if (!interface || !server || address.midRef(1).toInt() == kNumberThatLacksAUnit)
        return;
    const QString path = server->nodePath(Kolta::ServerNodes::name(Kolta::ServerNodes::eStartupErrors));
    const auto clear = [path](Kolta::SERVER_STATES::eServerState state) {
        if (state == Kolta::SERVER_STATES::eOperational)
            values::WriteOrAnnounce(path, QString());
    };
    connect(interface, &KoltaServerInterface::si_StateChanged, this, clear);
    clear(interface->getState());
}

/// An MCP with an FFP in it on servers with odd numbers, an SCP on the others.
void SimulatedInstallation::startProductions(const QString& address)
{
    using Kolta::SERVER_STATES::eOperational;
    KoltaServerInterface* const server = KoltaServerRegistry::Instance().server(address);
    if (!server || !this->server(address))
        return;
    if (server->getState() != eOperational) {
        auto* const once = new QObject(this);
        connect(server, &KoltaServerInterface::si_StateChanged, once,
                [this, once, address](Kolta::SERVER_STATES::eServerState state) {
                    if (state != eOperational)
                        return;
                    once->deleteLater();
                    startProductions(address);
                });
        return;
    }
    const int number = address.midRef(1).toInt();
    const auto run = [this, server](const ProductionOrder& order) {
        auto* const job = new ProductionJob(*server, order, this);
        ++m_openOrders;
        job->deleteWhenFinished();
        job->then(this, [this](const Operation&) { --m_openOrders; });
        return job;
    };
    if (number % 2 == 0) {
        run(orderOf(ProductionOrder::Kind::Scp, QStringLiteral("HF"), 1e6 * (5 + number), 10e3));
        return;
    }
    auto* const mcp = run(orderOf(ProductionOrder::Kind::Mcp, QStringLiteral("Wide"), 98.5e6, 8e6));
    mcp->then(this, [run](const Operation& operation) {
        const auto& done = static_cast<const ProductionJob&>(operation);
        if (done.state() != Operation::State::Done)
            return;
        ProductionOrder ffp = orderOf(ProductionOrder::Kind::Ffp, QString(), 98.1e6, 300e3);
        ffp.mcp = Kolta::guidFromText(done.processor());
        run(ffp);
    });
}

} // namespace KoltaConsole
