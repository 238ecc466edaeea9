#include "lifecycleserver.h"
#include "productionstory.h"

#include <simulation/simulatedserver.h>
#include <support/simulated.h>
#include <support/test.h>

#include <koltacommon/generalrequests.h>
#include <koltacommon/hardwareprocessingcontroller.h>
#include <koltacommon/koltaconnection.h>
#include <koltacommon/koltaserverregistry.h>
#include <koltacommon/koltatunertypeobserver.h>
#include <koltacommon/resourcedemandclassobserver.h>
#include <koltacommon/tunerclassesobserver.h>

#include <array>
#include <exception>
#include <random>

using namespace Kolta;
using namespace RESOURCEMANAGEMENT;
using KoltaSimulation::SimulatedServer;
using Lifecycle::Story;
using values::Tree;

namespace {

/// Of the administrative node, or of one below it.
QString path(const SimulatedServer& server, const char* node = nullptr)
{
    return server.nodePath(QLatin1String(node)).remove(QRegularExpression("/$"_s));
}

QString pathsBelow(const QString& path)
{
    QString paths;
    const values::TreeItem* const node = Tree::Instance().Find(path);
    for (const values::TreeItem* child : node ? node->GetChildren() : QVector<values::TreeItem*>())
        paths += child->GetPath() + QLatin1Char(' ') + pathsBelow(child->GetPath());
    return paths;
}

/// What is written ("=", "+" and "-": set, new, deleted) and signalled from the request to the
/// end, with a server that dies in between. GUIDs by number: 1 the client, 2 and 3 MCP and FFP of production
/// 4, 5 is refused, 6 the MCP of 7, 8 the move, 9 and 10 run for 11.
const char* const wholeStory =
    R"(# own, plan, request =OwnerRequest tst_lifecycle =Owners tst_lifecycle owner  #1 +RequestsNode 0
-RequestsNode +ConnectionInfo #2 +ConnectionInfo #3 =ActualConfiguration #2 >#3 runs #2 runs #3 1 MCPs
=HardwareProcessing #2 1 hardware =Resources a idle a false booking a 3 1 =ReplyResource #4@1@ replied #4
true
# refused +RequestsNode 0 -RequestsNode =ReplyResource #5@0@Tuner KW 1 Süd is in use replied #5 false Tuner
KW 1 Süd is in use
# moved +RequestsNode 0 -RequestsNode +ConnectionInfo #6 =ActualConfiguration #2 >#3 #6 runs #6 2 MCPs
=Resources a b idle b false booking b 0 1 =ReplyResource #7@1@ replied #7 true +RequestsNode 3 -RequestsNode
=ActualConfiguration #2 #6 >#3 changed #3 2 MCPs =ReplyResource #8@1@ replied #8 true
# dies -WorkingState connected false S1 state 0 -ConnectionInfo #2 -ConnectionInfo #3 -ConnectionInfo #6
-ReplyResource -StoppedResource -StopResource -OwnerRequest -HardwareProcessing -ActualConfiguration 0 MCPs
-Resources -Owners owner -Status
# returns +ReplyResource +StoppedResource +StopResource +OwnerRequest +HardwareProcessing 0 hardware
+ActualConfiguration 0 MCPs +Resources idle a true idle b true booking a 1 0 booking b 1 0 +Owners +Status
Operational status Operational +WorkingState Operational connected true S1 state 5
# again +RequestsNode 0 -RequestsNode +ConnectionInfo #9 +ConnectionInfo #10 =ActualConfiguration #9 >#10
runs #9 runs #10 1 MCPs =HardwareProcessing #9 1 hardware =Resources a idle a false booking a 0 1
=ReplyResource #11@1@ replied #11 true
# stopped =StopResource #4 =StopResource #11 =ActualConfiguration all ended ended #9 ended #10 0 MCPs
=HardwareProcessing 0 hardware -ConnectionInfo #10 -ConnectionInfo #9 =Resources idle a true booking a 1 0
=Status Nothing to stop: no production or processor #4 status Nothing to stop: no production or processor #4
=StoppedResource #11 stopped #11)";

} // namespace

class TestLifecycle : public QObject
{
    Q_OBJECT

public Q_SLOTS:
    /// Anything may happen while somebody is told something.
    void react()
    {
        ++m_reactions;
        if (m_depth >= deepest || below(4) != 0)
            return;
        ++m_depth;
        step();
        --m_depth;
    }

private Q_SLOTS:
    void initTestCase() { Startup::ErrorHandler::Instance().setMask(0); }

    /// Whatever a test did, nothing of it is left.
    void cleanup()
    {
        m_depth = deepest;
        KoltaServerRegistry::Instance().setDiscovery(false);
        KoltaServerRegistry::Instance().removeAllServers();
        while (!m_loose.empty())
            m_loose.pop_back();
        m_server.reset();
        for (auto& server : m_servers)
            server.reset();
        turnOnce();
        QCOMPARE(pathsBelow("/ConnectManager/AdminTree"_s), QString());
        Tree::Instance().Clear();
        QCOMPARE(Tree::Instance().Size(), 0); // an observer that was forgotten would keep a tombstone
        QCOMPARE(InstanceCount<KoltaServerInterface>::living(), 0);
        QCOMPARE(InstanceCount<IValueChangeNotifier>::living(), 0);
        QCOMPARE(InstanceCount<KoltaProductionControl>::living(), 0);
        QCOMPARE(InstanceCount<TunerBookingManager>::living(), 0);
        QCOMPARE(InstanceCount<KoltaConnection>::living(), 0);
    }

    void oneProduction_data()
    {
        QTest::addColumn<bool>("elsewhere");
        QTest::newRow("one process") << false;
        QTest::newRow("two processes") << true;
    }
    /// From the server's appearance to clear books, with everything that is written and signalled in its
    /// order, which is the same wherever the server runs.
    void oneProduction()
    {
        QFETCH(bool, elsewhere);
        KoltaServerInterface& server =
            *KoltaServerRegistry::Instance().addServer("S1"_s, m_installation.basePath());
        KoltaProductionControl& control = server.getProductionControl();
        TunerBookingManager& booking = server.getBookingManager();
        server.getProcessorObserver().setEmptyOverviewDelay(0);
        QString error;
        bool isMissing = false;
        if (elsewhere)
            m_server = Lifecycle::serverElsewhere(error, isMissing);
        else
            m_server = std::make_unique<Lifecycle::ServerHere>(m_installation);
        if (isMissing)
            QSKIP(qPrintable(error));
        QVERIFY2(m_server, qPrintable(error));
        turnOnce();
        QTRY_VERIFY(server.isReady());
        QStringList tuners;
        for (const Tuner& tuner : m_installation.resources().GetTuner())
            tuners.append(tuner.GetTavikResource().GetGUID());
        Story story(server.getAdministrationBasePath());
        story.follow(server);
        const auto stage = [&story](const char* name) { story.add(QLatin1String(name)); };
        const auto shown = [&server] { return server.getProcessorObserver().GetCurrentProcessors(); };
        // What is told last of a step ends it.
        const auto until = [&](const QString& last) {
            const auto isOver = [&] { return m_server->hasHeardAll() && story.told(tuners).endsWith(last); };
            turnOnce();
            static_cast<void>(waitFor(isOver)); // what is missing is told in the end
            turnOnce();
        };

        stage("# own, plan, request");
        QVERIFY(server.getGuiOwnerObserver().requestOwnership(QString()));
        until("owner #1"_s);
        QVERIFY(booking.planTuner(tuners.at(0), error));
        MCP asked = mcpOn(tuners.at(0), "hw_20MHz");
        asked.EditFFP() = {ffpOn()};
        const QUuid first = control.requestProduction(asked);
        until("replied #4 true"_s);
        stage("# refused");
        control.requestProduction(mcpOn(tuners.at(0)));
        until("replied #5 false Tuner KW 1 Süd is in use"_s);
        stage("# moved");
        control.requestProduction(mcpOn(tuners.at(1)));
        until("replied #7 true"_s);
        control.requestFFPMove(guidOf(shown().GetMCP().at(0).GetFFP().at(0)), guidOf(shown().GetMCP().at(1)));
        until("replied #8 true"_s);
        stage("# dies");
        m_server->vanish();
        until("-Status"_s);
        QVERIFY(shown().GetMCP().isEmpty() && control.getFrequencyRangesOfAllMCPs().isEmpty());
        QVERIFY(control.requestProduction(asked).isNull());
        stage("# returns");
        m_server->comeBack();
        until("state 5"_s);
        QCOMPARE(server.getHWProcessingObserver().getActiveHWProcessors().GetHWProcessing().size(), 0);
        stage("# again");
        const QUuid second = control.requestProduction(asked);
        until("replied #11 true"_s);
        stage("# stopped");
        control.StopProduction(first); // of the life before
        control.StopProduction(second);
        until("stopped #11"_s);
        QCOMPARE(booking.getNumberOfFreeTuners(), tuners.size());
        QVERIFY(control.getFrequencyRangesOfAllMCPs().isEmpty() && shown().GetMCP().isEmpty());

        const QString told = story.told(tuners);
        const QString expected = QString::fromUtf8(wholeStory).simplified();
        int same = 0;
        while (same < told.size() && same < expected.size() && told.at(same) == expected.at(same))
            ++same;
        QVERIFY2(told == expected, qPrintable(told.mid(qMax(0, same - 300), 600)));
    }

    void anyOrder()
    {
        m_random.seed(testSeed());
        m_depth = 0;
        for (std::size_t i = 0; i < m_servers.size(); ++i) {
            auto installation = m_installation;
            installation.setServerName("S%1"_s.arg(i + 1));
            m_servers[i] = std::make_unique<SimulatedServer>(installation);
            QVERIFY(m_servers[i]->listen());
            m_servers[i]->publish();
        }
        KoltaServerRegistry::Instance().setDiscovery(true);
        for (int steps = 0; steps < 4000; ++steps) {
            step();
            if (below(4) == 0)
                turnOnce();
        }
        QVERIFY(m_reactions > 1000);
    }

private:
    int below(int bound) { return static_cast<int>(m_random() % quint32(bound)); }
    void hear(QObject& object)
    {
        const QMetaMethod slot = metaObject()->method(metaObject()->indexOfSlot("react()"));
        for (int i = QObject::staticMetaObject.methodCount(); i < object.metaObject()->methodCount(); ++i) {
            const QMetaMethod method = object.metaObject()->method(i);
            if (method.methodType() == QMetaMethod::Signal)
                connect(&object, method, this, slot, Qt::UniqueConnection);
        }
    }

    /// Something happens: to a server, its interface, or what was made beside it. Nothing is touched after a
    /// call that may have told somebody of something.
    void step()
    {
        auto& registry = KoltaServerRegistry::Instance();
        SimulatedServer& simulated = *m_servers[std::size_t(below(3))];
        const QString base = simulated.installation().basePath();
        const QString name = simulated.installation().serverName();
        KoltaServerInterface* const server = registry.server(name);
        const int action = below(40);
        if (action < 2)
            simulated.vanish();
        else if (action < 5)
            simulated.comeBack();
        else if (action < 6)
            simulated.setWorkingState(below(14) - 3);
        else if (action < 9)
            simulated.setTunerIdle(simulated.resources().GetTuner().at(below(6)).GetTavikResource().GetGUID(),
                                   below(2) == 0);
        else if (action < 14 && m_loose.size() < 12)
            makeLoose(simulated);
        else if (action < 18 && !m_loose.empty()) {
            std::swap(m_loose.at(std::size_t(below(int(m_loose.size())))), m_loose.back());
            const auto doomed = std::move(m_loose.back());
            m_loose.pop_back();
        } else if (!server) {
            if (KoltaServerInterface* const added = registry.addServer(name, base))
                hear(*added);
        } else if (action < 19)
            registry.removeServer(name);
        else if (action < 22)
            delete server;
        else
            useServer(*server);
    }

    void useServer(KoltaServerInterface& server)
    {
        const QString tuner = m_installation.resources().GetTuner().at(below(6)).GetTavikResource().GetGUID();
        hear(server);
        using Server = KoltaServerInterface;
        static constexpr QObject& (*parts[])(Server&) = {
            [](Server& s) -> QObject& { return s.getResourceObserver(); },
            [](Server& s) -> QObject& { return s.getProcessorObserver(); },
            [](Server& s) -> QObject& { return s.getHWProcessingObserver(); },
            [](Server& s) -> QObject& { return s.getBookingManager(); },
            [](Server& s) -> QObject& { return s.getGuiOwnerObserver(); },
            [](Server& s) -> QObject& { return s.getTunerClassObserver(); },
            [](Server& s) -> QObject& { return s.getRdcObserver(); },
            [](Server& s) -> QObject& { return s.getTunerTypeObserver(); },
            [](Server& s) -> QObject& { return s.getProductionControl(); }};
        hear(parts[below(int(std::size(parts)))](server));
        QString error;
        const int action = below(10);
        if (action == 0)
            server.getResourceObserver().UpdateAll();
        else if (action == 1)
            server.getProcessorObserver().setEmptyOverviewDelay(below(2));
        else if (action == 2)
            server.getHWProcessingObserver().resetHardwareProcessingList();
        else if (action == 3 && below(2) == 0)
            server.getBookingManager().planTuner(tuner, error);
        else if (action == 3)
            server.getBookingManager().clearPlanning();
        else if (action == 4)
            server.getGuiOwnerObserver().requestOwnership(QString());
        else
            startOrStop(server.getProductionControl(), tuner);
    }

    void makeLoose(SimulatedServer& simulated)
    {
        using Server = SimulatedServer;
        static constexpr QObject* (*makers[])(Server&) = {
            [](Server& s) -> QObject* { return new KoltaResourceObserver(path(s, "Resources")); },
            [](Server& s) -> QObject* { return new KoltaProcessorObserver(path(s, "ActualConfiguration")); },
            [](Server& s) -> QObject* { return new KoltaOwnerObserver(path(s, "Owners")); },
            [](Server& s) -> QObject* {
                auto* const booking = new TunerBookingManager;
                booking->init(path(s));
                return booking;
            },
            [](Server& s) -> QObject* {
                auto* const controller = new HardwareProcessingController;
                controller->init(path(s, "ActualConfiguration"), path(s, "HardwareProcessing"));
                return controller;
            },
            [](Server& s) -> QObject* {
                auto* const control = new KoltaProductionControl;
                try {
                    control->init(path(s));
                } catch (const std::exception&) { // the server is not there
                }
                return control;
            },
            [](Server& s) -> QObject* {
                auto* const link = new KoltaConnection("loose"_s, QString(), s.hostAndPort(), false);
                link->open();
                link->executeRequest(new AppDescription);
                return link;
            }};
        m_loose.emplace_back(makers[below(int(std::size(makers)))](simulated));
        hear(*m_loose.back());
    }

    void startOrStop(KoltaProductionControl& control, const QString& tuner)
    {
        const auto mcps = control.getFrequencyRangesOfAllMCPs().keys();
        const QUuid any = mcps.isEmpty() ? QUuid::createUuid() : mcps.at(below(mcps.size()));
        const int action = below(8);
        if (action == 0)
            control.StopAllProductions();
        else if (action == 1)
            control.StopProductions(QList<QUuid>{any, QUuid(), any});
        else if (action == 2)
            control.requestFFPMove(any, any);
        else if (action == 3)
            control.requestProduction(ffpOn(), false, any);
        else if (action == 4)
            control.requestProduction(scpOn(tuner));
        else
            control.requestProduction(mcpOn(tuner, below(2) ? "hw" : "sw"));
    }

    const KoltaSimulation::Installation m_installation = Lifecycle::fewTuners();
    std::unique_ptr<Lifecycle::StoryServer> m_server;
    std::array<std::unique_ptr<SimulatedServer>, 3> m_servers;
    std::vector<std::unique_ptr<QObject>> m_loose; ///< that belong to no interface
    std::mt19937 m_random;
    static constexpr int deepest = 3;
    int m_depth = 0;
    int m_reactions = 0;
};

KOLTA_TEST(TestLifecycle);
#include "tst_lifecycle.moc"
