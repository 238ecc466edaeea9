#include "tst_productions.h"

#include <simulation/misbehaviour.h>

#include <resourcemodel/requests.h>
#include <startup/errorhandler.h>

#include <QRandomGenerator>

#include <random>

using namespace KoltaSimulation;
using Kolta::ProcessorConverter;
using Kolta::TavikXmlHelpers::ALL_GUIDS_OF;
using RESOURCEMANAGEMENT::FFP;
using RESOURCEMANAGEMENT::HWProcessingOverview;
using RESOURCEMANAGEMENT::MCP;
using RESOURCEMANAGEMENT::ProcessorOverview;
using RESOURCEMANAGEMENT::RequestResource;
using RESOURCEMANAGEMENT::SCP;
using values::StringValue;
using values::Tree;

void TestProductions::initTestCase()
{
    QString error;
    QVERIFY2(m_installation.load(QStringLiteral(KOLTA_INSTALLATION_DIR), error), qPrintable(error));
    m_installation.setCreditsPerUnit(100);
    Startup::ErrorHandler::Instance().setMask(Startup::eTraceError);
}

void TestProductions::init()
{
    m_server = std::make_unique<SimulatedServer>(m_installation);
    m_server->publish();
    m_control = std::make_unique<Kolta::KoltaProductionControl>();
    m_control->init(m_installation.basePath() + QStringLiteral("/ADMINISTRATION"));
    m_watch = std::make_unique<Watch>(base());
}

void TestProductions::cleanup()
{
    m_watch.reset();
    m_control.reset();
    m_server.reset();
    QVERIFY(!Tree::Instance().Find(m_installation.basePath()));
}

QString TestProductions::freeTuner(int number) const
{
    for (const auto& tuner : m_installation.resources().GetTuner()) {
        if (tuner.GetAccessible() && tuner.GetIdle() && number-- == 0)
            return tuner.GetTavikResource().GetGUID();
    }
    return QString();
}

bool TestProductions::isIdle(const QString& tuner) const
{
    const auto overview = read<RESOURCEMANAGEMENT::ResourceOverview>("Resources");
    const auto* found =
        dynamic_cast<const RESOURCEMANAGEMENT::Tuner*>(Kolta::TavikXmlHelpers::FindGUID(tuner, overview));
    return found && found->GetIdle();
}

QStringList TestProductions::settled()
{
    bool turned = false;
    QTimer::singleShot(0, [&turned] { turned = true; });
    while (!turned)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    return std::exchange(m_watch->texts, {});
}

/// GUID of the processor of an accepted production; null when it was refused.
QUuid TestProductions::produced(const REPORTGENERATOR::IRGObject& object, const QUuid& mcp)
{
    const QSet<QString> before = ALL_GUIDS_OF(running());
    const QUuid production = ask(object, mcp);
    if (settled() != QStringList{accepted(production)})
        return QUuid();
    const ProcessorOverview now = running();
    for (const MCP& one : now.GetMCP()) {
        if (!before.contains(guidOf(one).toString()))
            return guidOf(one);
        for (const FFP& ffp : one.GetFFP()) {
            if (!before.contains(guidOf(ffp).toString()))
                return guidOf(ffp);
        }
    }
    return now.GetSCP().isEmpty() ? QUuid() : guidOf(now.GetSCP().last());
}

/// What clients read of what runs: its records, its drivers, and what a move and a stop make of them.
void TestProductions::showsWhatRuns()
{
    const QString tuner = freeTuner(0);
    MCP asked = mcpOn(tuner, "hw_20MHz");
    asked.EditFFP() = {ffpOn(tuner)};
    const QUuid production = ask(asked);
    QCOMPARE(settled(), QStringList{accepted(production)});
    const MCP mcp = running().GetMCP().at(0);
    const FFP inner = mcp.GetFFP().at(0);
    QCOMPARE(QUuid(mcp.GetProductionID()), production);
    const auto unit = mcp.GetKoltaProcessor().GetUsedProcessingUnit();
    QCOMPARE(unit.GetCredits(), 10);
    QCOMPARE(inner.GetKoltaProcessor().GetUsedProcessingUnit().GetCredits(), 2);
    const QString guid = guidOf(mcp).toString();
    QString type, address;
    QVERIFY(m_control->getDriverTypeAndAddress(guid, type, address));
    QCOMPARE(type, QStringLiteral("MCP"));
    QVERIFY(!address.isEmpty());
    QVERIFY(m_control->requestTunerProperties(guid).startsWith(QStringLiteral("<Settings>")));
    QCOMPARE(m_control->getFrequencyRangesOfAllMCPs().begin()->frequency, 1.0e8 / 3.0);
    QCOMPARE(m_control->getMcpGuidForTaskID(m_control->getTaskIDForGuid(guidOf(inner).toString())), guid);
    QVERIFY(QDateTime::fromString(m_control->getTaskReservedTimeForGuid(guid), Qt::ISODate) >
            QDateTime::currentDateTimeUtc());

    // An FFP of its own in that MCP, then in another one, whose tuner feeds it from then on.
    const QUuid ffp = produced(ffpOn(tuner), guidOf(mcp));
    const QUuid other = produced(mcpOn(freeTuner(1)));
    const QUuid move = m_control->requestFFPMove(ffp, other);
    QCOMPARE(settled(), QStringList{accepted(move)});
    const FFP moved = running().GetMCP().at(1).GetFFP().at(0);
    QCOMPARE(moved.GetTunerGUID(), freeTuner(1));
    QVERIFY(moved.GetKoltaProcessor().GetUsedProcessingUnit().GetGUID() != unit.GetGUID());
    m_control->requestFFPMove(ffp, guidOf(mcp), move);
    QCOMPARE(settled().size(), 1);
    // The MCP takes the FFP's production with it.
    m_control->StopProduction(production);
    QCOMPARE(settled().size(), 2);
}

void TestProductions::refuses_data()
{
    QTest::addColumn<QString>("xml"); ///< "MCP" and "FFP" stand for the GUIDs of what runs
    QTest::addColumn<QString>("reason");
    const auto start = [](auto processor) {
        RequestResource request;
        request.SetRequestType(0);
        if constexpr (std::is_same_v<decltype(processor), SCP>)
            request.SetSCP(processor);
        else
            request.SetMCP(processor);
        return request;
    };
    const auto inMcp = [&start](const QString& mcp, const QVector<FFP>& ffps) {
        RequestResource request = start(mcpOn(QStringLiteral("none")));
        request.EditMCP().EditKoltaProcessor().EditTavikResource().SetGUID(mcp);
        request.EditMCP().SetFFP(ffps);
        return request;
    };
    const auto move = [](const QString& ffp, const QString& mcp) {
        RequestResource request;
        request.SetRequestType(3);
        request.SetSubjectGUID(ffp);
        request.SetDestinationGUID(mcp);
        return request;
    };
    const auto row = [](const char* tag, const RequestResource& request, const QString& reason) {
        QTest::newRow(tag) << request.GetXmlString() << reason;
    };
    const QString nobody = QStringLiteral("{aaaaaaaa-0000-4000-8000-000000000000}");
    const QString mcp = QStringLiteral("{MCP}");
    const QString ffp = QStringLiteral("{FFP}");
    QString lost, busy;
    for (const auto& tuner : m_installation.resources().GetTuner()) {
        if (!tuner.GetAccessible())
            lost = tuner.GetTavikResource().GetGUID();
        else if (!tuner.GetIdle())
            busy = tuner.GetTavikResource().GetGUID();
    }
    FFP costly = ffpOn();
    costly.EditKoltaProcessor().SetDemandClassName(QStringLiteral("5M"));
    RequestResource both = start(scpOn(freeTuner(1)));
    both.SetMCP(mcpOn(freeTuner(1)));
    RequestResource running = start(mcpOn(freeTuner(1)));
    running.EditMCP().SetProductionID(QStringLiteral("{PRODUCTION}"));
    RequestResource other = start(scpOn(freeTuner(1)));
    other.SetRequestType(1);

    row("unknown tuner", start(mcpOn(nobody)), QStringLiteral("There is no tuner ") + nobody);
    row("lost tuner", start(scpOn(lost)), QStringLiteral("is not accessible"));
    row("busy tuner", start(mcpOn(busy)), QStringLiteral("is in use"));
    row("taken tuner", start(mcpOn(freeTuner(0))), QStringLiteral("is in use"));
    row("tuner of an FFP", inMcp(mcp, {ffpOn(busy)}), QStringLiteral("is in use"));
    row("no capacity", start(mcpOn(freeTuner(1), "sw_20MHz")), QStringLiteral("has 80 credits left"));
    row("no capacity in the MCP's unit", inMcp(mcp, {costly}), QStringLiteral("has 12 credits left"));
    row("demand class", start(mcpOn(freeTuner(1), "300k")), QStringLiteral("no demand class 300k for DCP"));
    row("unknown MCP", inMcp(nobody, {ffpOn()}), QStringLiteral("No MCP %1 runs").arg(nobody));
    row("FFP as MCP", inMcp(ffp, {ffpOn()}), QStringLiteral("No MCP"));
    row("nothing for the MCP", inMcp(mcp, {}), QStringLiteral("found 0 FFPs"));
    row("runs already", running, QStringLiteral("runs already"));
    row("move of nobody", move(nobody, mcp), QStringLiteral("No FFP %1 runs").arg(nobody));
    row("move of an MCP", move(mcp, mcp), QStringLiteral("No FFP"));
    row("move to nobody", move(ffp, nobody), QStringLiteral("No MCP %1 runs").arg(nobody));
    row("move to where it is", move(ffp, mcp), QStringLiteral("runs in that MCP already"));
    row("move without target", move(ffp, QStringLiteral("x")), QStringLiteral("GUIDs of an FFP and an MCP"));
    row("SCP and MCP", both, QStringLiteral("expected an SCP or an MCP"));
    row("request type", other, QStringLiteral("found the request type 1"));
    for (const char* text : {"", "<RequestResource>"})
        QTest::addRow("text \"%s\"", text) << QString::fromLatin1(text) << QStringLiteral("cannot be read");
}

void TestProductions::refuses()
{
    QFETCH(QString, xml);
    QFETCH(QString, reason);
    MCP asked = mcpOn(freeTuner(0), "sw_20MHz");
    asked.EditFFP() = {ffpOn(), ffpOn(), ffpOn(), ffpOn(), ffpOn()}; // 90 of 100 credits
    const QUuid production = ask(asked);
    for (int unit = 0; unit < 4; ++unit)
        ask(mcpOn(QStringLiteral("none")));
    settled();
    const MCP mcp = running().GetMCP().at(0);
    xml.replace(QLatin1String("{MCP}"), guidOf(mcp).toString());
    xml.replace(QLatin1String("{FFP}"), guidOf(mcp.GetFFP().at(0)).toString());
    xml.replace(QLatin1String("{PRODUCTION}"), production.toString());
    const auto shown = [this]() -> QString {
        return text("ActualConfiguration") + text("Resources") + text("HardwareProcessing") +
               children("ConnectionInfo").join(QString());
    };
    const QString before = shown();
    QSignalSpy replies(m_control.get(), &Kolta::KoltaProductionControl::si_ProductionRequestReplied);
    // Without an ID of its own a request goes by the name of its value. The same answer is heard twice.
    const QUuid id = QUuid::createUuid();
    for (int i = 0; i < 2; ++i)
        Tree::Instance().Emplace<StringValue>(base() + QStringLiteral("RequestsNode/id") + id.toString(),
                                              xml);
    settled();
    QCOMPARE(replies.count(), 2);
    for (const auto& reply : replies) {
        QCOMPARE(reply.at(0).toUuid(), xml.contains(production.toString()) ? production : id);
        QVERIFY(!reply.at(1).toBool());
        QVERIFY2(reply.at(2).toString().contains(reason), qPrintable(reply.at(2).toString()));
    }
    QCOMPARE(shown(), before);
}

/// What comes in one turn is worked off in its order and shown once.
void TestProductions::worksOffInOrder()
{
    const QUuid first = ask(mcpOn(freeTuner(0)));
    m_control->StopAllProductions();
    const QUuid second = ask(scpOn(freeTuner(0)));
    const QUuid third = ask(mcpOn(freeTuner(0)));
    m_watch->taken();
    const QStringList said = settled();
    QCOMPARE(said.size(), 4);
    QCOMPARE(said.mid(0, 3), QStringList({accepted(first), first.toString(), accepted(second)}));
    QVERIFY(said.at(3).startsWith(third.toString() + QStringLiteral("@0@")));
    QCOMPARE(m_watch->taken(), QStringLiteral("+ConnectionInfo ActualConfiguration Resources ReplyResource "
                                              "StoppedResource ReplyResource"));
    QCOMPARE(running().GetSCP().size(), 1);
    QVERIFY(running().GetMCP().isEmpty());

    // A request that is made in the middle of an answer waits for its turn.
    m_control->StopAllProductions();
    QUuid nested;
    connect(m_control.get(), &Kolta::KoltaProductionControl::si_ProductionStopped, this, [&] {
        nested = ask(mcpOn(freeTuner(0)));
        m_control->StopProduction(nested);
    });
    QCOMPARE(settled(), QStringList{second.toString()});
    disconnect(m_control.get(), nullptr, this, nullptr);
    QCOMPARE(settled(), QStringList({accepted(nested), nested.toString()}));
}

void TestProductions::stopsWhatItKnows()
{
    MCP asked = mcpOn(freeTuner(0), "scp");
    asked.EditDSC() = {RESOURCEMANAGEMENT::DSC()};
    asked.EditFHP() = {RESOURCEMANAGEMENT::FHP()};
    ProcessorConverter::setupDefaultDSC(asked.EditDSC()[0], 2);
    ProcessorConverter::setupDefaultFHP(asked.EditFHP()[0], 1);
    asked.EditDSC()[0].EditFFP()[1].SetTunerGUID(freeTuner(1));
    const QUuid production = ask(asked);
    settled();
    QVERIFY(!isIdle(freeTuner(1)));
    const MCP mcp = running().GetMCP().at(0);
    write("StopResource", QStringLiteral("nonsense"));
    settled();
    QVERIFY(text("Status").contains(QStringLiteral("nonsense")));
    write("StopResource", QUuid::createUuid().toString());
    // A part of a production ends without ending it, and releases what it alone held.
    write("StopResource", guidOf(mcp.GetDSC().at(0).GetFFP().at(1)).toString(QUuid::WithoutBraces).toUpper());
    write("StopResource", guidOf(mcp.GetFHP().at(0).GetFHA().at(0)).toString());
    QCOMPARE(settled(), QStringList());
    QCOMPARE(running().GetNumberOfFFPs(), 1);
    QVERIFY(running().GetMCP().at(0).GetFHP().at(0).GetFHA().isEmpty());
    QVERIFY(isIdle(freeTuner(1)) && !isIdle(freeTuner(0)));
    write("StopResource", guidOf(mcp.GetDSC().at(0)).toString());
    write("StopResource", QStringLiteral(" %1 ").arg(guidOf(mcp).toString(QUuid::WithoutBraces).toUpper()));
    write("StopResource", production.toString());
    QCOMPARE(settled(), QStringList{production.toString()});
    QVERIFY(text("Status").contains(production.toString()));
}

/// Whatever happens, the overviews agree with each other.
void TestProductions::keepsItsBooks()
{
    const quint32 seed = QRandomGenerator::global()->generate();
    qInfo("seed %u", seed);
    std::mt19937 random(seed);
    const auto below = [&random](int bound) { return static_cast<int>(random() % quint32(bound)); };
    const auto& units = m_installation.resources().GetProcessingUnit();
    int fulfilled = 0;
    for (int round = 0; round < 150; ++round) {
        for (int i = below(4); i >= 0; --i) {
            const QVector<MCP> mcps = running().GetMCP();
            const QUuid mcp = mcps.isEmpty() ? QUuid::createUuid() : guidOf(mcps.at(below(mcps.size())));
            const auto guids = ALL_GUIDS_OF(running()).values();
            const QUuid any = guids.isEmpty() ? mcp : QUuid(guids.at(below(guids.size())));
            const QString tuner = freeTuner(below(8));
            const QString unit = units.at(below(units.size())).GetTavikResource().GetGUID();
            const int action = below(24);
            if (action < 4)
                ask(scpOn(tuner));
            else if (action < 10)
                ask(mcpOn(tuner, below(2) ? "sw_5MHz" : "hw"));
            else if (action < 14)
                ask(ffpOn(below(2) ? tuner : QString()), mcp);
            else if (action < 18)
                m_control->requestFFPMove(any, mcp, QUuid());
            else if (action < 21)
                m_control->StopProduction(any);
            else if (action < 23)
                write("UnitPowerControl", QStringLiteral("1@%1@%2").arg(below(3) ? 1 : 0).arg(unit));
            else if (below(5) == 0)
                m_control->StopAllProductions();
        }
        fulfilled += settled().filter(QStringLiteral("@1@")).size();
        checkBooks();
        if (QTest::currentTestFailed())
            return;
    }
    QVERIFY(fulfilled > 30);
    // Nothing is left of all that: every unit has all its credits.
    m_control->StopAllProductions();
    for (const auto& unit : units)
        write("UnitPowerControl", QStringLiteral("1@1@") + unit.GetTavikResource().GetGUID());
    for (int i = 0; i < 2 * units.size(); ++i)
        ask(mcpOn(QStringLiteral("none"), i < units.size() ? "sw_20MHz" : "sw_5MHz"));
    QCOMPARE(settled().filter(QStringLiteral("@1@")).size(), 2 * units.size());
}

void TestProductions::checkBooks() const
{
    QHash<QString, int> credits;
    QSet<QString> tuners, drivers, hardware;
    const auto count = [&](const auto& node, const QString& tuner, int more = 0) {
        const auto& unit = node.GetKoltaProcessor().GetUsedProcessingUnit();
        credits[unit.GetGUID()] += unit.GetCredits() + more;
        tuners.insert(tuner);
        drivers.insert(guidOf(node).toString());
        return unit.GetGUID();
    };
    const ProcessorOverview now = running();
    int ffps = 0;
    for (const SCP& scp : now.GetSCP()) {
        ffps += scp.IsFFPSet() ? 1 : 0;
        count(scp, scp.GetDataSource().GetTunerGUID(), scp.IsFFPSet() ? 2 : 0);
    }
    for (const MCP& mcp : now.GetMCP()) {
        const QString unit = count(mcp, mcp.GetDataSource().GetTunerGUID());
        if (mcp.GetKoltaProcessor().GetDemandClassName() == QLatin1String("hw"))
            hardware.insert(guidOf(mcp).toString());
        for (const FFP& ffp : mcp.GetFFP())
            QCOMPARE(count(ffp, ffp.GetTunerGUID()), unit);
        ffps += mcp.GetFFP().size();
    }
    QCOMPARE(now.GetNumberOfFFPs(), ffps);
    const auto resources = read<RESOURCEMANAGEMENT::ResourceOverview>("Resources");
    for (const auto& unit : resources.GetProcessingUnit())
        QVERIFY(credits.value(unit.GetTavikResource().GetGUID()) <= (unit.GetRegistration() == 1 ? 100 : 0));
    const auto& initial = m_installation.resources().GetTuner();
    for (int i = 0; i < initial.size(); ++i) {
        const bool used = tuners.contains(initial.at(i).GetTavikResource().GetGUID());
        QCOMPARE(resources.GetTuner().at(i).GetIdle(), initial.at(i).GetIdle() && !used);
    }
    const QStringList shown = children("ConnectionInfo");
    QCOMPARE(QSet<QString>(shown.begin(), shown.end()), drivers);
    QCOMPARE(hardwareEntries(), hardware);
}

void TestProductions::misbehaves_data()
{
    QTest::addColumn<QString>("rule");
    QTest::addColumn<QString>("said"); ///< "P" stands for the production, "?" for another GUID
    QTest::addColumn<int>("mcps");
    const auto row = [](const char* rule, const char* said, int mcps) {
        QTest::newRow(rule) << QString::fromLatin1(rule) << QString::fromLatin1(said) << mcps;
    };
    row("refuse-production=Not today,component=MCP,times=1", "P@0@Not today", 0);
    row("refuse-production", "P@0@Refused on demand", 0);
    row("refuse-production,component=SCP", "P@1@", 1);
    row("silent-production", "", 0);
    row("delay-production=1", "P@1@", 1);
    row("broken-production", "@?@P", 1);
    row("stray-stop", "? P@1@", 1);
}

void TestProductions::misbehaves()
{
    QFETCH(QString, rule);
    QFETCH(QString, said);
    QFETCH(int, mcps);
    MisbehaviourRule read;
    QString error;
    QVERIFY2(MisbehaviourRule::fromText(rule, read, error), qPrintable(error));
    m_server->addMisbehaviour(read);
    const QString production = ask(mcpOn(freeTuner(0))).toString();
    QStringList heard = settled();
    if (read.kind == Misbehaviour::DelayProduction) {
        QVERIFY(heard.isEmpty());
        QTRY_VERIFY(!m_watch->texts.isEmpty());
        heard = settled();
    }
    if (read.kind == Misbehaviour::StrayStop && !heard.isEmpty()) {
        QVERIFY(!QUuid(heard.first()).isNull() && heard.first() != production);
        heard.first() = QStringLiteral("?");
    }
    QCOMPARE(heard.join(QLatin1Char(' ')).replace(production, QStringLiteral("P")), said);
    QCOMPARE(running().GetMCP().size(), mcps);
    m_server->clearMisbehaviour();
}

void TestProductions::sharesTheHardwareList()
{
    HWProcessingOverview written;
    written.EditHWProcessing().append(RESOURCEMANAGEMENT::HWProcessing());
    written.EditHWProcessing()[0].SetGUID(QStringLiteral("{client}"));
    write("HardwareProcessing", written.GetXmlString());
    const QString mcp = produced(mcpOn(freeTuner(0), "hw")).toString();
    QCOMPARE(hardwareEntries(), QSet<QString>({QStringLiteral("{client}"), mcp}));
    // A client takes an entry out; another production leaves it at that.
    write("HardwareProcessing", written.GetXmlString());
    const QString second = produced(mcpOn(freeTuner(1), "hw_20MHz")).toString();
    QCOMPARE(hardwareEntries(), QSet<QString>({QStringLiteral("{client}"), second}));
    // What cannot be read gives way to the last list that could be.
    write("HardwareProcessing", QStringLiteral("<HW"));
    produced(mcpOn(freeTuner(2)));
    QCOMPARE(text("HardwareProcessing"), QStringLiteral("<HW"));
    m_control->StopAllProductions();
    settled();
    QCOMPARE(hardwareEntries(), QSet<QString>{QStringLiteral("{client}")});
}

/// What holds a unit or a tuner follows what clients do to it.
void TestProductions::followsItsResources()
{
    const QUuid kept = ask(mcpOn(freeTuner(0)));
    const QUuid lost = ask(mcpOn(freeTuner(1)));
    settled();
    const QString unit = running().GetMCP().at(1).GetKoltaProcessor().GetUsedProcessingUnit().GetGUID();
    RESOURCEMANAGEMENT::ResourceOverview wish;
    for (const auto& one : m_installation.resources().GetProcessingUnit()) {
        if (one.GetTavikResource().GetGUID() == unit)
            wish.EditProcessingUnit().append(one);
    }
    wish.EditProcessingUnit()[0].ResetRegistration();
    write("ChangedPUs", wish.GetXmlString());
    QCOMPARE(settled(), QStringList{lost.toString()});
    QVERIFY(isIdle(freeTuner(1)));

    // A client that changes a tuner with an old record of it does not set it free.
    wish.Reset();
    for (const auto& tuner : m_installation.resources().GetTuner()) {
        if (tuner.GetTavikResource().GetGUID() == freeTuner(0))
            wish.EditTuner().append(tuner);
    }
    wish.EditTuner()[0].SetOptions(QStringLiteral("NEW"));
    write("ChangedTuners", wish.GetXmlString());
    QVERIFY(text("Resources").contains(QStringLiteral("<Options>NEW</Options>")));
    QVERIFY(!m_server->setTunerIdle(freeTuner(0), true));
    QVERIFY(!isIdle(freeTuner(0)));
    m_control->StopProduction(kept);
    settled();
    QVERIFY(isIdle(freeTuner(0)));
}

QTEST_GUILESS_MAIN(TestProductions)
