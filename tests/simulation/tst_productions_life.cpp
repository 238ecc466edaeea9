#include "../installationcopy.h"
#include "tst_productions.h"

#include <simulation/misbehaviour.h>

#include <koltacommon/koltaownerobserver.h>
#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/koltaserverregistry.h>

#include <QTemporaryDir>

using namespace KoltaSimulation;
using RESOURCEMANAGEMENT::ProcessorOverview;
using values::StringValue;
using values::Tree;

void TestProductions::knowsOwners()
{
    const QString mcp = produced(mcpOn(freeTuner(0))).toString();
    Kolta::KoltaOwnerObserver mine(base() + QStringLiteral("Owners"));
    Kolta::KoltaOwnerObserver others(base() + QStringLiteral("Owners"));
    const QUuid me = QUuid::createUuid();
    mine.setClient(me, QStringLiteral("me"));
    others.setClient(QUuid::createUuid(), QStringLiteral("other"));
    QVERIFY(mine.requestOwnership(mcp) && mine.requestOwnership(QString()));
    QCOMPARE(others.GetGUIDsOwnedBy(me), QStringList({mcp, QString()}));
    QVERIFY(others.requestOwnership(mcp) && others.releaseOwnership(QString()));
    QCOMPARE(text("Status"), QStringLiteral("Ownership refused: The owner is me"));
    QVERIFY(others.requestOwnership(QUuid::createUuid().toString()));
    QVERIFY(text("Status").contains(QStringLiteral("No processor")));
    QCOMPARE(mine.GetCurrentOwners().GetOwner().size(), 2);
    // Whatever stops has no owner; nor has anything when the server returns.
    m_control->StopAllProductions();
    settled();
    QCOMPARE(mine.GetGUIDsOwnedBy(me), QStringList{QString()});
    QVERIFY(mine.releaseOwnership(QString()) && others.requestOwnership(QString()));
    QCOMPARE(mine.GetCurrentOwners().GetOwner().size(), 1);
    m_server->vanish();
    m_server->comeBack();
    QVERIFY(mine.GetCurrentOwners().GetOwner().isEmpty());
}

/// A server comes up as the library's own interface of it sees that.
void TestProductions::comesUp()
{
    auto& registry = Kolta::KoltaServerRegistry::Instance();
    const Kolta::KoltaServerInterface* const seen =
        registry.addServer(QStringLiteral("S1"), m_installation.basePath());
    QVERIFY(seen && seen->isReady());
    const QStringList client{seen->getClientId().toString()};
    QCOMPARE(children("Clients"), client);
    m_server->vanish();
    QVERIFY(!seen->isReady());
    m_server->setStartupStep(1);
    QStringList states;
    m_watch->onChange = [&](const QString& name) {
        if (name == QLatin1String("WorkingState"))
            states.append(text("StartupProgress") + text("Status"));
    };
    QVERIFY(m_server->comeBack());
    QVERIFY(seen->isReady());
    QCOMPARE(children("Clients"), client);
    QCOMPARE(seen->getStatusMessage(), QStringLiteral("Starting"));
    QCOMPARE(text("InternalState"), QStringLiteral("starting"));
    const QUuid early = ask(mcpOn(freeTuner(0)));
    QTRY_COMPARE(states, QStringList({QStringLiteral("0Starting"), QStringLiteral("25Checking"),
                                      QStringLiteral("50Loading configuration"), QStringLiteral("75Standby"),
                                      QStringLiteral("100Operational")}));
    QCOMPARE(m_watch->texts, QStringList{early.toString() + QStringLiteral("@0@S1 is starting")});
    QVERIFY(text("StartupErrors").contains(QStringLiteral("Tuner KW-06 is not accessible\n")));
    QCOMPARE(text("InternalState"), QStringLiteral("running"));
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

void TestProductions::returnsWithoutAnything()
{
    MisbehaviourRule late;
    late.kind = Misbehaviour::DelayProduction;
    late.argument = 0;
    late.component = QStringLiteral("SCP");
    m_server->addMisbehaviour(late);
    QVERIFY(!produced(mcpOn(freeTuner(0), "hw")).isNull());
    ask(scpOn(freeTuner(1)));
    settled(); // delays the SCP
    ask(mcpOn(freeTuner(2)));
    m_control->StopAllProductions();
    Tree::Instance().Emplace<StringValue>(base() + QStringLiteral("Clients/{me}"), QStringLiteral("here"));
    m_server->vanish();
    QVERIFY(m_server->comeBack());
    for (int turn = 0; turn < 3; ++turn)
        QCOMPARE(settled(), QStringList());
    QCOMPARE(text("ActualConfiguration"),
             QStringLiteral("<ProcessorOverview><NumberOfFFPs>0</NumberOfFFPs></ProcessorOverview>"));
    QVERIFY(isIdle(freeTuner(0)));
    for (const char* node : {"ConnectionInfo", "Clients", "RequestsNode"})
        QCOMPARE(children(node), QStringList());
    for (const char* node : {"ReplyResource", "StoppedResource", "StopResource", "stopAll"})
        QCOMPARE(text(node), QString());
    QVERIFY(hardwareEntries().isEmpty());
    m_server->clearMisbehaviour();
    QVERIFY(!produced(mcpOn(freeTuner(0))).isNull());
}

/// The server dies and returns while it tells somebody something: nothing of the old life follows.
void TestProductions::isOvertaken()
{
    for (const char* const node : {"taskID", "ActualConfiguration", "HardwareProcessing", "Resources",
                                   "ReplyResource", "StoppedResource", "Status"}) {
        const QUuid first = ask(mcpOn(freeTuner(0), "hw"));
        settled();
        bool once = true;
        const auto overtake = [&](const QString& name) {
            if (name != QLatin1String(node) || !std::exchange(once, false))
                return;
            m_server->vanish();
            m_watch->texts.clear();
            m_server->comeBack();
        };
        m_watch->onChange = overtake;
        m_control->StopProduction(first);
        write("StopResource", QStringLiteral("nobody"));
        ask(mcpOn(freeTuner(1), "hw"));
        ask(mcpOn(freeTuner(2), "hw"));
        QCOMPARE(settled(), QStringList());
        QVERIFY(!once);
        m_watch->onChange = nullptr;
        QVERIFY(running().GetMCP().isEmpty());
        QCOMPARE(children("ConnectionInfo"), QStringList());
        QVERIFY(hardwareEntries().isEmpty());
        for (int tuner = 0; tuner < 3; ++tuner)
            QVERIFY(isIdle(freeTuner(tuner)));
        QVERIFY(!produced(mcpOn(freeTuner(1))).isNull());
        m_control->StopAllProductions();
        settled();
    }
}

void TestProductions::endsOnRequest()
{
    const QUuid production = ask(mcpOn(freeTuner(0)));
    settled();
    QStringList statuses;
    m_watch->onChange = [&](const QString& name) {
        if (name == QLatin1String("WorkingState"))
            statuses.append(text("Status"));
    };
    QSignalSpy quits(m_server.get(), &SimulatedServer::quitRequested);
    write("reset", QStringLiteral("1"));
    QTRY_COMPARE(m_watch->texts, QStringList{production.toString()}); // its end is told before
    QTRY_COMPARE(text("Status"), QStringLiteral("Operational"));
    QCOMPARE(statuses, QStringList({QStringLiteral("Shutting down"), QStringLiteral("Operational")}));
    QVERIFY(isIdle(freeTuner(0)));
    QCOMPARE(quits.count(), 0);
    settled();
    QVERIFY(!produced(mcpOn(freeTuner(0))).isNull());

    // The wish of an earlier life is void.
    write("Quit", QStringLiteral("1"));
    m_server->vanish();
    m_server->comeBack();
    settled();
    QCOMPARE(quits.count(), 0);
    write("Quit", QStringLiteral("1"));
    QTRY_COMPARE(quits.count(), 1);
    QVERIFY(!Tree::Instance().Find(base() + QStringLiteral("HostName")));
}

/// An installation may say what runs from the beginning; it can be stopped like anything else.
void TestProductions::runsFromTheBeginning()
{
    QTemporaryDir folder;
    ProcessorOverview overview;
    overview.EditMCP() = {mcpOn(freeTuner(0)), mcpOn(freeTuner(1))};
    const QUuid known = QUuid::createUuid();
    overview.EditMCP()[0].EditKoltaProcessor().EditTavikResource().SetGUID(known.toString());
    QVERIFY(copyInstallation(QStringLiteral(KOLTA_INSTALLATION_DIR), folder.path(), "actualconfiguration.xml",
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
        m_server->vanish();
        m_server->comeBack();
    }
}
