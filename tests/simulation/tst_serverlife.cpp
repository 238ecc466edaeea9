#include "productionsfixture.h"

#include <koltacommon/koltaownerobserver.h>
#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/koltaserverregistry.h>
#include <support/test.h>

using namespace KoltaSimulation;
using RESOURCEMANAGEMENT::ProcessorOverview;
using values::StringValue;
using values::Tree;

/// The life of a simulated server, and what of it outlives an end.
class TestServerLife : public ProductionsFixture
{
    Q_OBJECT

private Q_SLOTS:
    void knowsOwners()
    {
        const QString mcp = produced(mcpOn(freeTuner(0))).toString();
        Kolta::KoltaOwnerObserver mine(base() + "Owners"_s);
        Kolta::KoltaOwnerObserver others(base() + "Owners"_s);
        const QUuid me = QUuid::createUuid();
        mine.setClient(me, "me"_s);
        others.setClient(QUuid::createUuid(), "other"_s);
        QVERIFY(mine.requestOwnership(mcp) && mine.requestOwnership(QString()));
        QCOMPARE(others.GetGUIDsOwnedBy(me), QStringList({mcp, QString()}));
        QVERIFY(others.requestOwnership(mcp) && others.releaseOwnership(QString()));
        QCOMPARE(text("Status"), "Ownership refused: The owner is me"_s);
        QVERIFY(others.requestOwnership(QUuid::createUuid().toString()));
        QVERIFY(text("Status").contains("No processor"_s));
        QCOMPARE(mine.GetCurrentOwners().GetOwner().size(), 2);
        // Whatever stops has no owner; nor has anything when the server returns.
        m_control->StopAllProductions();
        settled();
        QCOMPARE(mine.GetGUIDsOwnedBy(me), QStringList{QString()});
        QVERIFY(mine.releaseOwnership(QString()) && others.requestOwnership(QString()));
        QCOMPARE(mine.GetCurrentOwners().GetOwner().size(), 1);
        vanishAndComeBack();
        QVERIFY(mine.GetCurrentOwners().GetOwner().isEmpty());
    }

    /// A server comes up as the library's own interface of it sees that.
    void comesUp()
    {
        auto& registry = Kolta::KoltaServerRegistry::Instance();
        const Kolta::KoltaServerInterface* const seen = registry.addServer("S1"_s, m_installation.basePath());
        QVERIFY(seen && seen->isReady());
        const QStringList client{seen->getClientId().toString()};
        QCOMPARE(children("Clients"), client);
        m_server->vanish();
        QVERIFY(!seen->isReady());
        m_server->setStartupStep(1);
        QStringList states;
        m_watch->onChange = [&](const QString& name) {
            if (name == "WorkingState"_s)
                states.append(text("StartupProgress") + text("Status"));
        };
        QVERIFY(m_server->comeBack());
        QVERIFY(seen->isReady());
        QCOMPARE(children("Clients"), client);
        QCOMPARE(seen->getStatusMessage(), "Starting"_s);
        QCOMPARE(text("InternalState"), "starting"_s);
        const QUuid early = ask(mcpOn(freeTuner(0)));
        QTRY_COMPARE(states, QStringList({"0Starting"_s, "25Checking"_s, "50Loading configuration"_s,
                                          "75Standby"_s, "100Operational"_s}));
        QCOMPARE(m_watch->texts, QStringList{early.toString() + "@0@S1 is starting"_s});
        QVERIFY(text("StartupErrors").contains("Tuner KW-06 is not accessible\n"_s));
        QCOMPARE(text("InternalState"), "running"_s);
        settled();
        QVERIFY(!produced(mcpOn(freeTuner(0))).isNull());
        m_watch->onChange = nullptr;

        // Whoever sets the state himself ends the start-up.
        m_server->vanish();
        m_server->setStartupStep(60000);
        QVERIFY(m_server->comeBack());
        m_server->setWorkingState(4);
        QVERIFY(!produced(mcpOn(freeTuner(0))).isNull());
        registry.removeAllServers();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    /// The server dies and returns while it tells somebody something, or while wishes wait: nothing of the
    /// old life follows.
    void isOvertaken()
    {
        m_server->addMisbehaviour(misbehaviour("delay-production=0,component=SCP"_s));
        for (const char* const node : {"", "taskID", "ActualConfiguration", "HardwareProcessing", "Resources",
                                       "ReplyResource", "StoppedResource", "Status"}) {
            const QUuid first = ask(mcpOn(freeTuner(0), "hw"));
            ask(scpOn(freeTuner(3)));
            settled(); // the SCP is delayed
            bool once = *node != 0;
            m_watch->onChange = [&](const QString& name) {
                if (name != QLatin1String(node) || !std::exchange(once, false))
                    return;
                vanishAndComeBack();
                m_watch->texts.clear();
            };
            m_control->StopProduction(first);
            write("StopResource", "nobody"_s);
            ask(mcpOn(freeTuner(1), "hw"));
            ask(mcpOn(freeTuner(2), "hw"));
            Tree::Instance().Emplace<StringValue>(base() + "Clients/{me}"_s, "here"_s);
            if (*node == 0)
                vanishAndComeBack();
            QCOMPARE(settled() + settled() + settled(), QStringList());
            QVERIFY(!once);
            m_watch->onChange = nullptr;
            QCOMPARE(text("ActualConfiguration"),
                     "<ProcessorOverview><NumberOfFFPs>0</NumberOfFFPs></ProcessorOverview>"_s);
            for (const char* const list : {"ConnectionInfo", "Clients", "RequestsNode"})
                QCOMPARE(children(list), QStringList());
            for (const char* const said : {"ReplyResource", "StoppedResource", "StopResource", "stopAll"})
                QCOMPARE(text(said), QString());
            QVERIFY(hardwareEntries().isEmpty());
            for (int tuner = 0; tuner < 4; ++tuner)
                QVERIFY(isIdle(freeTuner(tuner)));
            QVERIFY(!produced(mcpOn(freeTuner(1))).isNull());
            m_control->StopAllProductions();
            settled();
        }
    }

    void endsOnRequest()
    {
        const QUuid production = ask(mcpOn(freeTuner(0)));
        settled();
        QStringList statuses;
        m_watch->onChange = [&](const QString& name) {
            if (name == "WorkingState"_s)
                statuses.append(text("Status"));
        };
        QSignalSpy quits(m_server.get(), &SimulatedServer::quitRequested);
        write("reset", "1"_s);
        QTRY_COMPARE(m_watch->texts, QStringList{production.toString()}); // its end is told before
        QTRY_COMPARE(text("Status"), "Operational"_s);
        QCOMPARE(statuses, QStringList({"Shutting down"_s, "Operational"_s}));
        QVERIFY(isIdle(freeTuner(0)));
        QCOMPARE(quits.count(), 0);
        settled();
        QVERIFY(!produced(mcpOn(freeTuner(0))).isNull());

        // The wish of an earlier life is void.
        write("Quit", "1"_s);
        vanishAndComeBack();
        settled();
        QCOMPARE(quits.count(), 0);
        write("Quit", "1"_s);
        QTRY_COMPARE(quits.count(), 1);
        QVERIFY(!Tree::Instance().Find(base() + "HostName"_s));
    }

    /// An installation may say what runs from the beginning; it can be stopped like anything else.
    void runsFromTheBeginning()
    {
        QTemporaryDir folder;
        ProcessorOverview overview;
        overview.EditMCP() = {mcpOn(freeTuner(0)), mcpOn(freeTuner(1))};
        const QUuid known = QUuid::createUuid();
        overview.EditMCP()[0].EditKoltaProcessor().EditTavikResource().SetGUID(known.toString());
        QVERIFY(copyInstallation(installationFolder(), folder.path(), "actualconfiguration.xml",
                                 overview.GetXmlString().toUtf8()));
        Installation installation;
        QString error;
        QVERIFY2(installation.load(folder.path(), error), qPrintable(error));
        m_server.reset();
        m_server = std::make_unique<SimulatedServer>(installation);
        m_server->publish();
        for (int life = 0; life < 2; ++life) {
            QCOMPARE(guidOf(running().GetMCP().at(0)), known);
            QVERIFY(!guidOf(running().GetMCP().at(1)).isNull());
            QCOMPARE(m_control->getFrequencyRangesOfAllMCPs().size(), 2);
            QVERIFY(!isIdle(freeTuner(1)));
            QVERIFY(!produced(ffpOn(), known).isNull());
            m_control->StopProduction(known);
            QCOMPARE(settled().size(), 2);
            QVERIFY(isIdle(freeTuner(0)) && !isIdle(freeTuner(1)));
            vanishAndComeBack();
        }
    }
};

KOLTA_TEST(TestServerLife);
#include "tst_serverlife.moc"
