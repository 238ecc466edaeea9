#pragma once

#include "processorsamples.h"
#include "tunersamples.h"

#include <koltacommon/koltaprocessorobserver.h>
#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/koltaserverregistry.h>
#include <koltacommon/tunerbookingmanager.h>
#include <simulation/scriptedserver.h>

#include <QRandomGenerator>

#include <algorithm>

/// Servers and random histories of them, as views live through them.
namespace RandomHistory {

inline Kolta::KoltaServerRegistry& registry()
{
    return Kolta::KoltaServerRegistry::Instance();
}

/// A server and what may happen to it.
class Server : public KoltaSimulation::ScriptedServer
{
public:
    using ScriptedServer::ScriptedServer;

    /// Null when a slot removed it again.
    Kolta::KoltaServerInterface* enter()
    {
        Kolta::KoltaServerInterface* const entered = registry().addServer(name(), path());
        if (entered)
            entered->getProcessorObserver().setEmptyOverviewDelay(0);
        return entered;
    }
    void come()
    {
        isThere = true;
        appear();
    }
    void go()
    {
        isThere = false;
        vanish();
    }
    void setTuners(int count)
    {
        for (int i = 0; i < count; ++i)
            resources.EditTuner().append(tuner(i));
        classes = TunerSamples::classOverview({TunerSamples::tunerClass("K"_s, {"T0"_s, "T2"_s})});
    }
    static RESOURCEMANAGEMENT::Tuner tuner(int number)
    {
        auto made = TunerSamples::tuner("T%1"_s.arg(number));
        made.EditTavikResource().SetGUID(ProcessorSamples::guid(100 + number));
        made.SetType("type %1"_s.arg(number % 3));
        return made;
    }

    bool isThere = false;
};

/// Changes servers in every way that there is.
class RandomLife
{
public:
    explicit RandomLife(quint32 seed) : m_random(seed) {}

    int number(int bound) { return m_random.bounded(bound); }
    void any(Server& server)
    {
        switch (number(12)) {
        case 0:
            return server.isThere ? server.go() : server.come();
        case 1:
            if (!registry().removeServer(server.name()))
                server.enter();
            return;
        case 2:
        case 3:
            if (Kolta::KoltaServerInterface* const known = registry().server(server.name()))
                plan(known->getBookingManager());
            return;
        default:
            change(server);
            if (server.isThere)
                server.show();
        }
    }
    void change(Server& server)
    {
        auto& tuners = server.resources.EditTuner();
        switch (number(7)) {
        case 0:
            std::shuffle(tuners.begin(), tuners.end(), m_random);
            break;
        case 1:
            for (int i = number(4); i > 0 && !tuners.isEmpty(); --i)
                tuners.removeAt(number(tuners.size()));
            break;
        case 2:
            for (int i = number(number(9) ? 4 : 100); i > 0; --i)
                tuners.insert(number(tuners.size() + 1), tuner());
            break;
        case 3:
            server.running = ProcessorSamples::overviewOf(processors());
            for (auto& mcp : server.running.EditMCP())
                mcp.EditDataSource().SetTunerGUID(ProcessorSamples::guid(100 + number(12)));
            break;
        case 4:
            server.classes = TunerSamples::classOverview(classes());
            break;
        case 5:
            own(server);
            break;
        default:
            for (auto& each : tuners) {
                if (number(8) == 0)
                    each = tuner();
                else if (number(4) == 0)
                    each.SetIdle(number(2) == 0);
            }
        }
    }

private:
    RESOURCEMANAGEMENT::Tuner tuner()
    {
        const int which = number(200);
        auto made = Server::tuner(which);
        if (number(10) == 0)
            made.EditTavikResource().SetGUID(number(2) ? QString() : ProcessorSamples::guid(100 + number(5)));
        made.SetAccessible(number(5) > 0);
        made.SetType("type %1"_s.arg(number(3)));
        return made;
    }
    QVector<RESOURCEMANAGEMENT::TunerClass> classes()
    {
        QVector<QStringList> members(3);
        for (int i = 0; i < 40; ++i)
            members[number(3)] << "T%1"_s.arg(number(200));
        return {TunerSamples::tunerClass("A"_s, members.at(0)),
                TunerSamples::tunerClass("B"_s, members.at(1), 1, number(2) ? "A"_s : QString()),
                TunerSamples::tunerClass("C"_s, members.at(2), 0, number(2) ? "B"_s : QString())};
    }
    /// MCPs and SCPs that share what they hold in ever new ways; GUIDs that are missing or occur twice.
    QString processors()
    {
        QString text;
        for (int i = number(4); i > 0; --i) {
            text += "M%1=x%2("_s.arg(1 + number(4)).arg(number(2));
            for (int k = number(5); k > 0; --k)
                text += number(4) ? "f%1 "_s.arg(number(9) ? 10 + number(20) : 0)
                                  : "d%1(f%2) "_s.arg(40 + number(5)).arg(10 + number(20));
            text += ") "_s;
        }
        return number(3) ? text + "S9(f50)"_s : text;
    }
    void own(Server& server)
    {
        server.owners.Reset();
        for (int i = number(4); i > 0; --i) {
            RESOURCEMANAGEMENT::Owner owner;
            owner.SetOwnedGUID(ProcessorSamples::guid(1 + number(4)));
            owner.SetClientID(ProcessorSamples::guid(900));
            owner.SetName("operator %1"_s.arg(number(3)));
            server.owners.EditOwner().append(owner);
        }
    }
    void plan(Kolta::TunerBookingManager& booking)
    {
        QString problem;
        const QString which = ProcessorSamples::guid(100 + number(200));
        if (number(3) == 0)
            booking.clearPlanning();
        else if (!booking.planTuner(which, problem))
            booking.undoTunerPlanning(which);
    }

    QRandomGenerator m_random;
};

} // namespace RandomHistory
