#include "simulatedinstallation.h"

#include "options.h"

#include <koltacommon/guidtext.h>
#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/koltaserverregistry.h>
#include <koltacommon/productionjob.h>
#include <simulation/activity.h>
#include <simulation/installation.h>
#include <simulation/resourcegenerator.h>
#include <simulation/simulatedserver.h>

#include <QUuid>

namespace KoltaConsole {

using Kolta::KoltaServerInterface;
using Kolta::KoltaServerRegistry;
using Kolta::Operation;
using Kolta::ProductionJob;
using Kolta::ProductionOrder;
using KoltaSimulation::Installation;
using KoltaSimulation::SimulatedServer;

namespace {

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

bool SimulatedInstallation::start(const Options& options, QString& error)
{
    Installation sample;
    if (!sample.load(Installation::sampleFolder(), error))
        return false;
    for (int number = 1; number <= options.servers; ++number) {
        m_servers.push_back(std::make_unique<SimulatedServer>(
            KoltaSimulation::makeInstallation(sample, number, options.tuners)));
        SimulatedServer& server = *m_servers.back();
        server.publish();
        if (options.activityMs > 0)
            (new KoltaSimulation::Activity(server, static_cast<quint32>(number)))->start(options.activityMs);
    }
    connect(&KoltaServerRegistry::Instance(), &KoltaServerRegistry::si_ServerAdded, this,
            &SimulatedInstallation::startProductions);
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
