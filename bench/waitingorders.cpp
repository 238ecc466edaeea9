#include "figure.h"

#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/koltaserverregistry.h>
#include <koltacommon/processorconverter.h>
#include <koltacommon/productionjob.h>
#include <simulation/scriptedserver.h>

#include <QCoreApplication>

#include <memory>
#include <vector>

namespace Bench {

namespace {

using namespace RESOURCEMANAGEMENT;
using Kolta::ProductionJob;

constexpr int kMany = 1000;

/// A server on which as many processors run as orders wait for theirs.
class Orders
{
public:
    Orders(int count, int number) : m_server(QStringLiteral("Orders%1").arg(number))
    {
        TunerClass all;
        all.SetGUID(QUuid::createUuid().toString());
        all.SetName(QStringLiteral("All"));
        for (int i = 0; i < count; ++i) {
            m_server.resources.EditTuner().append(tuner());
            all.EditTunerID().append(m_server.resources.GetTuner().last().GetTavikResource().GetGUID());
            m_server.running.EditMCP().append(mcp());
        }
        m_server.classes.EditTunerIdDefinition().SetChoice(2);
        m_server.classes.EditTunerClass().append(all);
        m_server.appear();
        auto& registry = Kolta::KoltaServerRegistry::Instance();
        auto* const bound = registry.addServer(m_server.name(), m_server.path());
        require(bound && bound->isReady(), "the server is not ready");
        Kolta::ProductionOrder order;
        order.tunerClass = QStringLiteral("All");
        order.displayName = QStringLiteral("X");
        order.frequency = 1e6;
        for (int i = 0; i < count; ++i) {
            m_jobs.push_back(std::make_unique<ProductionJob>(*bound, order, nullptr));
            m_jobs.back()->setTimeLimit(Kolta::Operation::kNoLimit);
        }
        QCoreApplication::processEvents();
        require(m_server.requests.size() == count, "an order was not sent");
    }
    ~Orders()
    {
        m_jobs.clear();
        Kolta::KoltaServerRegistry::Instance().removeServer(m_server.path());
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    Orders(const Orders&) = delete;
    Orders& operator=(const Orders&) = delete;

    /// The server shows what runs, and all orders look whether theirs is there.
    void work()
    {
        m_bandwidth = 3e3 - m_bandwidth;
        m_server.running.EditMCP().first().SetBandwidth(m_bandwidth);
        m_server.show();
        require(m_jobs.front()->state() == Kolta::Operation::State::Running, "an order does not wait");
    }

private:
    static Tuner tuner()
    {
        Tuner tuner;
        tuner.EditTavikResource().SetGUID(QUuid::createUuid().toString());
        tuner.SetAccessible(true);
        tuner.SetIdle(true);
        tuner.SetMinFrequency(9e3);
        tuner.SetMaxFrequency(3e7);
        tuner.SetMaxSWBandwidth(1e6);
        return tuner;
    }
    static MCP mcp()
    {
        MCP mcp;
        Kolta::ProcessorConverter::setupDefaultMCP(mcp);
        mcp.EditKoltaProcessor().EditTavikResource().SetGUID(QUuid::createUuid().toString());
        mcp.SetProductionID(QUuid::createUuid().toString());
        return mcp;
    }

    KoltaSimulation::ScriptedServer m_server;
    std::vector<std::unique_ptr<ProductionJob>> m_jobs;
    double m_bandwidth = 1e3;
};

const bool added = addFigure({"waiting_orders_growth_at_equal_bytes", kOfTenths, 1.4, Unit::Time,
                              [] { return growthAtEqualBytes<Orders>(kMany); }});

} // namespace

} // namespace Bench
