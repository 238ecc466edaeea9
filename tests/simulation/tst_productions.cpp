#include "productionwatch.h"

#include <simulation/misbehaviour.h>
#include <simulation/simulatedserver.h>

#include <koltacommon/koltaownerobserver.h>
#include <koltacommon/koltaproductioncontrol.h>
#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/koltaserverregistry.h>
#include <koltacommon/processorconverter.h>
#include <koltacommon/tavikxmlhelpers.h>
#include <resourcemodel/hwprocessing.h>
#include <resourcemodel/requests.h>
#include <startup/errorhandler.h>
#include <values/value.h>

#include <QDir>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QtTest>

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

namespace {

QString accepted(const QUuid& id)
{
    return id.toString() + QStringLiteral("@1@");
}

} // namespace

class TestProductions : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void livesThrough();
    void refuses_data();
    void refuses();
    void worksOffInOrder();
    void stopsWhatItKnows();
    void keepsItsBooks();
    void misbehaves_data();
    void misbehaves();
    void sharesTheHardwareList();
    void followsItsResources();
    void knowsOwners();
    void comesUp();
    void returnsWithoutAnything();
    void isOvertaken_data();
    void isOvertaken();
    void endsOnRequest();
    void runsFromTheBeginning();
    void servesThousands();

private:
    QString base() const { return m_server->nodePath(QString()); }
    QString text(const char* name) const
    {
        auto* value = Tree::Instance().FindAs<StringValue>(base() + QLatin1String(name));
        return value ? value->GetValue() : QStringLiteral("<none>");
    }
    template<class Overview>
    Overview read(const char* name) const
    {
        Overview overview;
        overview.SetXmlString(text(name), true);
        return overview;
    }
    ProcessorOverview running() const { return read<ProcessorOverview>("ActualConfiguration"); }
    QSet<QString> hardwareEntries() const
    {
        return ALL_GUIDS_OF(read<HWProcessingOverview>("HardwareProcessing"));
    }
    void checkBooks() const;
    void write(const char* name, const QString& text)
    {
        QVERIFY(values::WriteOrAnnounce(base() + QLatin1String(name), text));
    }
    QString freeTuner(int number) const;
    bool isIdle(const QString& tuner) const;
    /// Lets the server work off what waits; the answers and notices since the last call, in order.
    QStringList settled();
    QUuid ask(const REPORTGENERATOR::IRGObject& object, const QUuid& mcp = QUuid())
    {
        return m_control->requestProduction(object, false, mcp);
    }
    QUuid produced(const REPORTGENERATOR::IRGObject& object, const QUuid& mcp = QUuid());
    QStringList children(const char* name) const
    {
        auto* node = Tree::Instance().Find(base() + QLatin1String(name));
        return node ? node->GetChildNames() : QStringList(QStringLiteral("<none>"));
    }

    Installation m_installation;
    std::unique_ptr<SimulatedServer> m_server;
    std::unique_ptr<Kolta::KoltaProductionControl> m_control;
    std::unique_ptr<Watch> m_watch;
};

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

/// One production from its request to its end: what is written, in which order, and what clients read.
void TestProductions::livesThrough()
{
    const QString tuner = freeTuner(0);
    MCP asked = mcpOn(tuner, "hw_20MHz");
    asked.EditFFP() = {ffpOn(tuner)};
    const QUuid production = ask(asked);
    // Read at once, answered only after the call has returned.
    QCOMPARE(children("RequestsNode"), QStringList());
    QCOMPARE(m_watch->taken(), QStringLiteral("+RequestsNode -RequestsNode"));
    QCOMPARE(settled(), QStringList{accepted(production)});
    QCOMPARE(m_watch->taken(), QStringLiteral("+ConnectionInfo ActualConfiguration HardwareProcessing "
                                              "Resources ReplyResource"));

    const ProcessorOverview overview = running();
    QCOMPARE(overview.GetNumberOfFFPs(), 1);
    const MCP mcp = overview.GetMCP().at(0);
    const FFP inner = mcp.GetFFP().at(0);
    QCOMPARE(QUuid(mcp.GetProductionID()), production);
    QVERIFY(!guidOf(mcp).isNull() && !guidOf(inner).isNull() && guidOf(mcp) != guidOf(inner));
    const auto unit = mcp.GetKoltaProcessor().GetUsedProcessingUnit();
    QCOMPARE(unit.GetCredits(), 10);
    QCOMPARE(inner.GetKoltaProcessor().GetUsedProcessingUnit().GetCredits(), 2);
    QCOMPARE(unit.GetGUID(),
             m_installation.resources().GetProcessingUnit().at(0).GetTavikResource().GetGUID());
    QVERIFY(!isIdle(tuner));
    const QString guid = guidOf(mcp).toString();
    QCOMPARE(hardwareEntries(), QSet<QString>{guid});

    QString type, address;
    QVERIFY(m_control->getDriverTypeAndAddress(guid, type, address));
    QCOMPARE(type, QStringLiteral("MCP"));
    QVERIFY(!address.isEmpty());
    QVERIFY(m_control->requestTunerProperties(guid).startsWith(QStringLiteral("<Settings>")));
    QCOMPARE(m_control->requestTunerProperties(guidOf(inner).toString()),
             m_control->requestTunerProperties(guid));
    const auto ranges = m_control->getFrequencyRangesOfAllMCPs();
    QCOMPARE(ranges.size(), 1);
    QCOMPARE(ranges.begin()->frequency, 1.0e8 / 3.0);
    QCOMPARE(m_control->getMcpGuidForTaskID(m_control->getTaskIDForGuid(guidOf(inner).toString())), guid);
    const QDateTime reserved =
        QDateTime::fromString(m_control->getTaskReservedTimeForGuid(guid), Qt::ISODate);
    QVERIFY(reserved > QDateTime::currentDateTimeUtc());

    // An FFP of its own in that MCP, then in another one, whose tuner feeds it from then on.
    const QUuid ffp = produced(ffpOn(tuner), guidOf(mcp));
    const QUuid other = produced(mcpOn(freeTuner(1)));
    QVERIFY(!ffp.isNull() && !other.isNull());
    m_watch->taken();
    const QUuid move = QUuid::createUuid();
    QCOMPARE(m_control->requestFFPMove(ffp, other, move), move);
    QCOMPARE(settled(), QStringList{accepted(move)});
    const FFP moved = running().GetMCP().at(1).GetFFP().at(0);
    QCOMPARE(guidOf(moved), ffp);
    QCOMPARE(moved.GetTunerGUID(), freeTuner(1));
    QVERIFY(moved.GetKoltaProcessor().GetUsedProcessingUnit().GetGUID() != unit.GetGUID());
    m_control->requestFFPMove(ffp, guidOf(mcp), move);
    QCOMPARE(settled().size(), 1);

    // The MCP takes the FFP's production with it; what it held is free, what goes on is untouched.
    m_watch->taken();
    m_control->StopProduction(production);
    const QStringList ended = settled();
    QCOMPARE(ended.size(), 2);
    QCOMPARE(ended.at(1), production.toString());
    QCOMPARE(m_watch->taken(), QStringLiteral("StopResource ActualConfiguration HardwareProcessing "
                                              "-ConnectionInfo Resources StoppedResource"));
    QCOMPARE(running().GetMCP().size(), 1);
    QVERIFY(isIdle(tuner) && !isIdle(freeTuner(1)));
    QCOMPARE(children("ConnectionInfo"), QStringList{other.toString()});
    QVERIFY(hardwareEntries().isEmpty());
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
    write("UnitPowerControl", QStringLiteral("1@0@") + unit);
    QCOMPARE(settled(), QStringList{lost.toString()});
    QVERIFY(isIdle(freeTuner(1)));

    // A client that changes a tuner with an old record of it does not set it free.
    RESOURCEMANAGEMENT::ResourceOverview wish;
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

void TestProductions::isOvertaken_data()
{
    QTest::addColumn<QString>("node");
    for (const char* node : {"taskID", "ActualConfiguration", "HardwareProcessing", "Resources",
                             "ReplyResource", "StoppedResource", "Status"})
        QTest::newRow(node) << QString::fromLatin1(node);
}

/// The server dies and returns while it tells somebody something: nothing of the old life follows.
void TestProductions::isOvertaken()
{
    QFETCH(QString, node);
    const QUuid first = ask(mcpOn(freeTuner(0), "hw"));
    settled();
    bool once = true;
    const auto overtake = [&](const QString& name) {
        if (name != node || !std::exchange(once, false))
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
    for (int tuner = 0; tuner < 3; ++tuner)
        QVERIFY(isIdle(freeTuner(tuner)));
    QVERIFY(!produced(mcpOn(freeTuner(1))).isNull());
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
    const QDir sample(QStringLiteral(KOLTA_INSTALLATION_DIR));
    for (const QString& file : sample.entryList(QDir::Files))
        QVERIFY(QFile::copy(sample.filePath(file), folder.filePath(file)));
    ProcessorOverview overview;
    overview.EditMCP() = {mcpOn(freeTuner(0)), mcpOn(freeTuner(1))};
    const QUuid known = QUuid::createUuid();
    overview.EditMCP()[0].EditKoltaProcessor().EditTavikResource().SetGUID(known.toString());
    QFile file(folder.filePath(QStringLiteral("actualconfiguration.xml")));
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write(overview.GetXmlString().toUtf8()) > 0);
    file.close();
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
        m_control->StopProduction(known);
        QCOMPARE(settled().size(), 1);
        QVERIFY(isIdle(freeTuner(0)) && !isIdle(freeTuner(1)));
        m_server->vanish();
        m_server->comeBack();
    }
}

/// Thousands of requests in one turn write each overview once; so do thousands of ends.
void TestProductions::servesThousands()
{
    constexpr int count = 2000;
    m_installation.setCreditsPerUnit(count * 20);
    m_server.reset();
    m_server = std::make_unique<SimulatedServer>(m_installation);
    m_installation.setCreditsPerUnit(100);
    m_server->publish();
    const QUuid mcp = produced(mcpOn(freeTuner(0)));
    int overviews = 0;
    m_watch->onChange = [&overviews](const QString& name) {
        overviews +=
            name == QLatin1String("ActualConfiguration") || name == QLatin1String("Resources") ? 1 : 0;
    };
    for (int i = 0; i < count / 2; ++i) {
        ask(mcpOn(QStringLiteral("none")));
        ask(ffpOn(), mcp);
    }
    QCOMPARE(settled().size(), count);
    QCOMPARE(overviews, 1);
    QCOMPARE(running().GetNumberOfFFPs(), count / 2);
    QCOMPARE(children("ConnectionInfo").size(), count + 1);
    m_control->StopAllProductions();
    QCOMPARE(settled().size(), count + 1);
    QCOMPARE(overviews, 3);
    QCOMPARE(children("ConnectionInfo"), QStringList());
}

QTEST_GUILESS_MAIN(TestProductions)
#include "tst_productions.moc"
