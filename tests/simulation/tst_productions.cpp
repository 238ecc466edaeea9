#include <simulation/misbehaviour.h>
#include <simulation/simulatedserver.h>

#include <koltacommon/koltaproductioncontrol.h>
#include <koltacommon/powercontrolcmd.h>
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

#include <functional>
#include <random>

using namespace KoltaSimulation;
using Kolta::ProcessorConverter;
using RESOURCEMANAGEMENT::FFP;
using RESOURCEMANAGEMENT::HWProcessingOverview;
using RESOURCEMANAGEMENT::MCP;
using RESOURCEMANAGEMENT::ProcessorOverview;
using RESOURCEMANAGEMENT::RequestResource;
using RESOURCEMANAGEMENT::SCP;
using values::StringValue;
using values::Tree;

namespace {

/// Writes down what happens below the server's administrative node, and may interfere.
class Watch : public values::ITreeListener
{
public:
    explicit Watch(const QString& base) : m_base(base) { Tree::Instance().AddListener(this); }
    ~Watch() override { Tree::Instance().RemoveListener(this); }
    /// What happened since the last call; repetitions in a row once.
    QString taken() { return std::exchange(m_events, {}).join(QLatin1Char(' ')); }

    QStringList texts;                            ///< what was said in the reply and stopped nodes
    std::function<void(const QString&)> onChange; ///< called with the name of the value that changed

private:
    void OnItemAdded(values::TreeItem& item) override { note(QStringLiteral("+"), item); }
    void OnItemRemoved(values::TreeItem& item) override { note(QStringLiteral("-"), item); }
    void OnItemChanged(values::TreeItem& item, TChangeCode, IObserver*) override
    {
        note(QString(), item);
        const QString name = item.GetName();
        if (name == QLatin1String("ReplyResource") || name == QLatin1String("StoppedResource"))
            texts.append(static_cast<StringValue&>(item).GetValue());
        if (onChange)
            onChange(name);
    }
    void note(const QString& sign, const values::TreeItem& item)
    {
        if (!item.GetPath().startsWith(m_base))
            return;
        const QString event = sign + item.GetPath().mid(m_base.size()).section(QLatin1Char('/'), 0, 0);
        if (m_events.isEmpty() || m_events.last() != event)
            m_events.append(event);
    }

    QString m_base;
    QStringList m_events;
};

MCP mcpOn(const QString& tuner, const char* demandClass = "sw")
{
    MCP mcp;
    ProcessorConverter::setupDefaultMCP(mcp);
    mcp.EditKoltaProcessor().SetDemandClassName(QLatin1String(demandClass));
    mcp.EditDataSource().SetTunerGUID(tuner);
    mcp.SetFrequency(1.0e8 / 3.0);
    mcp.SetBandwidth(2.0e7);
    return mcp;
}

SCP scpOn(const QString& tuner)
{
    SCP scp;
    ProcessorConverter::setupDefaultSCP(scp);
    scp.EditDataSource().SetTunerGUID(tuner);
    return scp;
}

FFP ffpOn(const QString& tuner = QString())
{
    FFP ffp;
    ProcessorConverter::setupDefaultFFP(ffp);
    if (!tuner.isEmpty())
        ffp.SetTunerGUID(tuner);
    return ffp;
}

template<class Processor>
QUuid guidOf(const Processor& processor)
{
    return QUuid(processor.GetKoltaProcessor().GetTavikResource().GetGUID());
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
    void losesAUnit();
    void keepsHeldTunersBusy();
    void comesUp();
    void returnsWithoutAnything();
    void isOvertaken_data();
    void isOvertaken();
    void endsOnRequest();
    void runsFromTheBeginning();
    void servesThousands();

private:
    QString base() const { return m_server->nodePath(QString()); }
    QString text(const QString& name) const
    {
        auto* value = Tree::Instance().FindAs<StringValue>(base() + name);
        return value ? value->GetValue() : QStringLiteral("<none>");
    }
    template<class Overview>
    Overview read(const char* name) const
    {
        Overview overview;
        overview.SetXmlString(text(QLatin1String(name)), true);
        return overview;
    }
    ProcessorOverview running() const { return read<ProcessorOverview>("ActualConfiguration"); }
    void write(const char* name, const QString& text)
    {
        QVERIFY(values::WriteOrAnnounce(base() + QLatin1String(name), text));
    }
    /// A request as another client might write it.
    void request(const QString& name, const QString& text)
    {
        Tree::Instance().Emplace<StringValue>(base() + QStringLiteral("RequestsNode/") + name, text);
    }
    QString freeTuner(int number) const;
    bool isIdle(const QString& tuner) const;
    /// Lets the server work off what waits; the answers and notices since the last call, in order.
    QStringList settled();
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
    const QSet<QString> before = Kolta::TavikXmlHelpers::ALL_GUIDS_OF(running());
    const QUuid production = m_control->requestProduction(object, false, mcp);
    if (settled() != QStringList{production.toString() + QStringLiteral("@1@")})
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
    const QUuid production = m_control->requestProduction(asked, false, QUuid());
    // Read at once, answered only after the call has returned.
    QCOMPARE(children("RequestsNode"), QStringList());
    QCOMPARE(m_watch->taken(), QStringLiteral("+RequestsNode -RequestsNode"));
    QCOMPARE(settled(), QStringList{production.toString() + QStringLiteral("@1@")});
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
    QCOMPARE(read<HWProcessingOverview>("HardwareProcessing").GetHWProcessing().at(0).GetGUID(),
             guidOf(mcp).toString());

    const QString guid = guidOf(mcp).toString();
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
    QCOMPARE(settled(), QStringList{move.toString() + QStringLiteral("@1@")});
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
    QVERIFY(read<HWProcessingOverview>("HardwareProcessing").GetHWProcessing().isEmpty());
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
    QTest::newRow("no XML") << "<RequestResource>"
                            << "cannot be read";
    QTest::newRow("empty") << ""
                           << "cannot be read";
}

void TestProductions::refuses()
{
    QFETCH(QString, xml);
    QFETCH(QString, reason);
    MCP asked = mcpOn(freeTuner(0), "sw_20MHz");
    asked.EditFFP() = {ffpOn(), ffpOn(), ffpOn(), ffpOn(), ffpOn()}; // 90 of 100 credits
    const QUuid production = m_control->requestProduction(asked, false, QUuid());
    for (int unit = 0; unit < 4; ++unit)
        m_control->requestProduction(mcpOn(QStringLiteral("none")), false, QUuid());
    settled();
    const MCP mcp = running().GetMCP().at(0);
    xml.replace(QLatin1String("{MCP}"), guidOf(mcp).toString());
    xml.replace(QLatin1String("{FFP}"), guidOf(mcp.GetFFP().at(0)).toString());
    xml.replace(QLatin1String("{PRODUCTION}"), production.toString());
    const auto shown = [this]() -> QString {
        return text(QStringLiteral("ActualConfiguration")) + text(QStringLiteral("Resources")) +
               text(QStringLiteral("HardwareProcessing")) + children("ConnectionInfo").join(QString());
    };
    const QString before = shown();
    QSignalSpy replies(m_control.get(), &Kolta::KoltaProductionControl::si_ProductionRequestReplied);
    // Without an ID of its own a request goes by the name of its value. The same answer is heard twice.
    const QUuid id = QUuid::createUuid();
    request(QStringLiteral("id") + id.toString(), xml);
    request(QStringLiteral("id") + id.toString(), xml);
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
    const QUuid first = m_control->requestProduction(mcpOn(freeTuner(0)), false, QUuid());
    m_control->StopAllProductions();
    const QUuid second = m_control->requestProduction(scpOn(freeTuner(0)), false, QUuid());
    const QUuid third = m_control->requestProduction(mcpOn(freeTuner(0)), false, QUuid());
    m_watch->taken();
    const QStringList said = settled();
    QCOMPARE(said.size(), 4);
    QCOMPARE(said.mid(0, 3), QStringList({first.toString() + QStringLiteral("@1@"), first.toString(),
                                          second.toString() + QStringLiteral("@1@")}));
    QVERIFY(said.at(3).startsWith(third.toString() + QStringLiteral("@0@")));
    QCOMPARE(m_watch->taken(), QStringLiteral("+ConnectionInfo ActualConfiguration Resources ReplyResource "
                                              "StoppedResource ReplyResource"));
    QCOMPARE(running().GetSCP().size(), 1);
    QVERIFY(running().GetMCP().isEmpty());

    // A request that is made in the middle of an answer waits for its turn.
    m_control->StopAllProductions();
    QUuid nested;
    connect(m_control.get(), &Kolta::KoltaProductionControl::si_ProductionStopped, this, [&] {
        nested = m_control->requestProduction(mcpOn(freeTuner(0)), false, QUuid());
        m_control->StopProduction(nested);
    });
    QCOMPARE(settled(), QStringList{second.toString()});
    disconnect(m_control.get(), nullptr, this, nullptr);
    QCOMPARE(settled(), QStringList({nested.toString() + QStringLiteral("@1@"), nested.toString()}));
}

void TestProductions::stopsWhatItKnows()
{
    MCP asked = mcpOn(freeTuner(0), "scp");
    ProcessorConverter::setupDefaultDSC(
        *(asked.EditDSC().append(RESOURCEMANAGEMENT::DSC()), asked.EditDSC().begin()), 2);
    ProcessorConverter::setupDefaultFHP(
        *(asked.EditFHP().append(RESOURCEMANAGEMENT::FHP()), asked.EditFHP().begin()), 1);
    asked.EditDSC()[0].EditFFP()[1].SetTunerGUID(freeTuner(1));
    const QUuid production = m_control->requestProduction(asked, false, QUuid());
    settled();
    QVERIFY(!isIdle(freeTuner(1)));
    const MCP mcp = running().GetMCP().at(0);
    write("StopResource", QStringLiteral("nonsense"));
    settled();
    QVERIFY(text(QStringLiteral("Status")).contains(QStringLiteral("nonsense")));
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
    QVERIFY(text(QStringLiteral("Status")).contains(production.toString()));
}

/// Whatever happens, the overviews agree with each other.
void TestProductions::keepsItsBooks()
{
    const quint32 seed = QRandomGenerator::global()->generate();
    qInfo("seed %u", seed);
    std::mt19937 random(seed);
    const auto below = [&random](int bound) { return static_cast<int>(random() % quint32(bound)); };
    const auto initial = m_installation.resources();
    int accepted = 0;
    for (int round = 0; round < 150; ++round) {
        for (int i = below(4); i >= 0; --i) {
            const ProcessorOverview now = running();
            const QUuid mcp = now.GetMCP().isEmpty() ? QUuid::createUuid()
                                                     : guidOf(now.GetMCP().at(below(now.GetMCP().size())));
            const auto guids = Kolta::TavikXmlHelpers::ALL_GUIDS_OF(now).values();
            const QString any = guids.isEmpty() ? mcp.toString() : guids.at(below(guids.size()));
            const QString tuner = freeTuner(below(8));
            switch (below(12)) {
            case 0:
            case 1:
                m_control->requestProduction(scpOn(tuner), false, QUuid());
                break;
            case 2:
            case 3:
            case 4:
                m_control->requestProduction(mcpOn(tuner, below(2) ? "sw_5MHz" : "hw"), false, QUuid());
                break;
            case 5:
            case 6:
                m_control->requestProduction(ffpOn(below(2) ? tuner : QString()), false, mcp);
                break;
            case 7:
            case 8:
                m_control->requestFFPMove(QUuid(any), mcp, QUuid());
                break;
            case 9:
                m_control->StopProduction(QUuid(any));
                break;
            case 10:
                write("UnitPowerControl",
                      Kolta::PowerControlCmd(
                          Kolta::PowerControlCmd::eScopeUnit, below(3) > 0,
                          {initial.GetProcessingUnit().at(below(6)).GetTavikResource().GetGUID()})
                          .toString());
                break;
            default:
                if (below(10) == 0)
                    m_control->StopAllProductions();
            }
        }
        for (const QString& said : settled())
            accepted += said.contains(QLatin1String("@1@")) ? 1 : 0;

        const ProcessorOverview now = running();
        QHash<QString, int> credits;
        QSet<QString> tuners, drivers, hardware;
        const auto count = [&](const auto& node, const QString& tuner) {
            const auto& unit = node.GetKoltaProcessor().GetUsedProcessingUnit();
            credits[unit.GetGUID()] += unit.GetCredits();
            tuners.insert(tuner);
            drivers.insert(guidOf(node).toString());
        };
        int ffps = 0;
        for (const SCP& scp : now.GetSCP()) {
            count(scp, scp.GetDataSource().GetTunerGUID());
            const int inner = scp.IsFFPSet() ? 1 : 0;
            credits[scp.GetKoltaProcessor().GetUsedProcessingUnit().GetGUID()] += 2 * inner;
            ffps += inner;
        }
        for (const MCP& mcp : now.GetMCP()) {
            count(mcp, mcp.GetDataSource().GetTunerGUID());
            if (mcp.GetKoltaProcessor().GetDemandClassName() == QLatin1String("hw"))
                hardware.insert(guidOf(mcp).toString());
            for (const FFP& ffp : mcp.GetFFP()) {
                count(ffp, ffp.GetTunerGUID());
                QCOMPARE(ffp.GetKoltaProcessor().GetUsedProcessingUnit().GetGUID(),
                         mcp.GetKoltaProcessor().GetUsedProcessingUnit().GetGUID());
                ++ffps;
            }
        }
        QCOMPARE(now.GetNumberOfFFPs(), ffps);
        const auto resources = read<RESOURCEMANAGEMENT::ResourceOverview>("Resources");
        for (const auto& unit : resources.GetProcessingUnit())
            QVERIFY(credits.value(unit.GetTavikResource().GetGUID()) <=
                    (unit.GetRegistration() == 1 ? 100 : 0));
        for (int i = 0; i < initial.GetTuner().size(); ++i) {
            const QString guid = initial.GetTuner().at(i).GetTavikResource().GetGUID();
            QCOMPARE(resources.GetTuner().at(i).GetIdle(),
                     initial.GetTuner().at(i).GetIdle() && !tuners.contains(guid));
        }
        const QStringList shown = children("ConnectionInfo");
        QCOMPARE(QSet<QString>(shown.begin(), shown.end()), drivers);
        QCOMPARE(Kolta::TavikXmlHelpers::ALL_GUIDS_OF(read<HWProcessingOverview>("HardwareProcessing")),
                 hardware);
    }
    QVERIFY(accepted > 30);
}

void TestProductions::misbehaves_data()
{
    QTest::addColumn<QString>("rule");
    QTest::addColumn<QString>("said"); ///< "P" stands for the production, "?" for another GUID
    QTest::addColumn<int>("mcps");
    QTest::newRow("refuses") << "refuse-production=Not today,component=MCP,times=1"
                             << "P@0@Not today" << 0;
    QTest::newRow("refuses others") << "refuse-production,component=SCP"
                                    << "P@1@" << 1;
    QTest::newRow("is silent") << "silent-production"
                               << "" << 0;
    QTest::newRow("is late") << "delay-production=1"
                             << "P@1@" << 1;
    QTest::newRow("answers badly") << "broken-production"
                                   << "@?@P" << 1;
    QTest::newRow("tells of others") << "stray-stop"
                                     << "? P@1@" << 1;
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
    const QString production = m_control->requestProduction(mcpOn(freeTuner(0)), false, QUuid()).toString();
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
    const auto entries = [this] {
        return Kolta::TavikXmlHelpers::ALL_GUIDS_OF(read<HWProcessingOverview>("HardwareProcessing"));
    };
    HWProcessingOverview written;
    written.EditHWProcessing().append(RESOURCEMANAGEMENT::HWProcessing());
    written.EditHWProcessing()[0].SetGUID(QStringLiteral("{client}"));
    write("HardwareProcessing", written.GetXmlString());
    const QString mcp = produced(mcpOn(freeTuner(0), "hw")).toString();
    QCOMPARE(entries(), QSet<QString>({QStringLiteral("{client}"), mcp}));
    // A client takes an entry out; another production leaves it at that.
    write("HardwareProcessing", written.GetXmlString());
    const QString second = produced(mcpOn(freeTuner(1), "hw_20MHz")).toString();
    QCOMPARE(entries(), QSet<QString>({QStringLiteral("{client}"), second}));
    // What cannot be read gives way to the last list that could be.
    write("HardwareProcessing", QStringLiteral("<HW"));
    produced(mcpOn(freeTuner(2)));
    QCOMPARE(text(QStringLiteral("HardwareProcessing")), QStringLiteral("<HW"));
    m_control->StopAllProductions();
    settled();
    QCOMPARE(entries(), QSet<QString>{QStringLiteral("{client}")});
}

void TestProductions::losesAUnit()
{
    const QUuid kept = m_control->requestProduction(mcpOn(freeTuner(0)), false, QUuid());
    const QUuid lost = m_control->requestProduction(mcpOn(freeTuner(1)), false, QUuid());
    settled();
    const QString unit = running().GetMCP().at(1).GetKoltaProcessor().GetUsedProcessingUnit().GetGUID();
    write("UnitPowerControl", QStringLiteral("1@0@") + unit);
    QCOMPARE(settled(), QStringList{lost.toString()});
    QCOMPARE(QUuid(running().GetMCP().at(0).GetProductionID()), kept);
    QVERIFY(isIdle(freeTuner(1)));
}

/// A client that changes a tuner with an old record of it does not set it free.
void TestProductions::keepsHeldTunersBusy()
{
    const QString tuner = freeTuner(0);
    QVERIFY(!produced(mcpOn(tuner)).isNull());
    RESOURCEMANAGEMENT::ResourceOverview wish;
    for (const auto& one : m_installation.resources().GetTuner()) {
        if (one.GetTavikResource().GetGUID() == tuner)
            wish.EditTuner().append(one);
    }
    wish.EditTuner()[0].SetOptions(QStringLiteral("NEW"));
    write("ChangedTuners", wish.GetXmlString());
    QVERIFY(text(QStringLiteral("Resources")).contains(QStringLiteral("<Options>NEW</Options>")));
    QVERIFY(!m_server->setTunerIdle(tuner, true));
    QVERIFY(!isIdle(tuner));
    m_control->StopAllProductions();
    settled();
    QVERIFY(isIdle(tuner));
}

void TestProductions::comesUp()
{
    m_server->vanish();
    m_server->setStartupStep(1);
    QStringList states;
    m_watch->onChange = [&](const QString& name) {
        if (name == QLatin1String("WorkingState"))
            states.append(text(QStringLiteral("StartupProgress")) + text(QStringLiteral("Status")));
    };
    QVERIFY(m_server->comeBack());
    QCOMPARE(text(QStringLiteral("Status")), QStringLiteral("Starting"));
    QCOMPARE(text(QStringLiteral("InternalState")), QStringLiteral("starting"));
    const QUuid early = m_control->requestProduction(mcpOn(freeTuner(0)), false, QUuid());
    QTRY_COMPARE(states, QStringList({QStringLiteral("25Checking"), QStringLiteral("50Loading configuration"),
                                      QStringLiteral("75Standby"), QStringLiteral("100Operational")}));
    QCOMPARE(m_watch->texts, QStringList{early.toString() + QStringLiteral("@0@S1 is starting")});
    QVERIFY(
        text(QStringLiteral("StartupErrors")).contains(QStringLiteral("Tuner KW-06 is not accessible\n")));
    QCOMPARE(text(QStringLiteral("InternalState")), QStringLiteral("running"));
    settled();
    QVERIFY(!produced(mcpOn(freeTuner(0))).isNull());
    m_watch->onChange = nullptr;

    // Whoever sets the state himself ends the start-up.
    m_server->vanish();
    m_server->setStartupStep(60000);
    QVERIFY(m_server->comeBack());
    m_server->setWorkingState(4);
    QVERIFY(!produced(mcpOn(freeTuner(0))).isNull());
}

void TestProductions::returnsWithoutAnything()
{
    MisbehaviourRule late;
    late.kind = Misbehaviour::DelayProduction;
    late.argument = 0;
    late.component = QStringLiteral("SCP");
    m_server->addMisbehaviour(late);
    QVERIFY(!produced(mcpOn(freeTuner(0), "hw")).isNull());
    m_control->requestProduction(scpOn(freeTuner(1)), false, QUuid());
    settled(); // delays the SCP
    m_control->requestProduction(mcpOn(freeTuner(2)), false, QUuid());
    m_control->StopAllProductions();
    Tree::Instance().Emplace<StringValue>(base() + QStringLiteral("Clients/{me}"), QStringLiteral("here"));
    m_server->vanish();
    QVERIFY(m_server->comeBack());
    for (int turn = 0; turn < 3; ++turn)
        QCOMPARE(settled(), QStringList());
    QCOMPARE(text(QStringLiteral("ActualConfiguration")),
             QStringLiteral("<ProcessorOverview><NumberOfFFPs>0</NumberOfFFPs></ProcessorOverview>"));
    QVERIFY(isIdle(freeTuner(0)));
    for (const char* node : {"ConnectionInfo", "Clients", "RequestsNode"})
        QCOMPARE(children(node), QStringList());
    for (const char* node : {"ReplyResource", "StoppedResource", "StopResource", "stopAll"})
        QCOMPARE(text(QLatin1String(node)), QString());
    QVERIFY(read<HWProcessingOverview>("HardwareProcessing").GetHWProcessing().isEmpty());
    m_server->clearMisbehaviour();
    QVERIFY(!produced(mcpOn(freeTuner(0))).isNull());
}

void TestProductions::isOvertaken_data()
{
    QTest::addColumn<QString>("node");
    for (const char* node : {"taskID", "Kolta_GUID", "ActualConfiguration", "HardwareProcessing", "Resources",
                             "ReplyResource", "StoppedResource", "Status"})
        QTest::newRow(node) << QString::fromLatin1(node);
}

/// The server dies and returns while it tells somebody something: nothing of the old life follows.
void TestProductions::isOvertaken()
{
    QFETCH(QString, node);
    const QUuid first = m_control->requestProduction(mcpOn(freeTuner(0), "hw"), false, QUuid());
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
    // Values of a connection are new, so they are heard of by their parent.
    struct Children : IObserver
    {
        std::function<void()> heard;
        void Update(Observable*, TChangeCode) override { heard(); }
    } newcomers;
    newcomers.heard = [&] {
        for (const QString& child : children("ConnectionInfo")) {
            if (child != first.toString() &&
                (node == QLatin1String("taskID") || node == QLatin1String("Kolta_GUID")))
                overtake(node);
        }
    };
    Tree::Instance().Find(base() + QStringLiteral("ConnectionInfo"))->Attach(&newcomers);
    m_control->StopProduction(first);
    write("StopResource", QStringLiteral("nobody"));
    m_control->requestProduction(mcpOn(freeTuner(1), "hw"), false, QUuid());
    m_control->requestProduction(mcpOn(freeTuner(2), "hw"), false, QUuid());
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
    const QUuid production = m_control->requestProduction(mcpOn(freeTuner(0)), false, QUuid());
    settled();
    QStringList statuses;
    m_watch->onChange = [&](const QString& name) {
        if (name == QLatin1String("WorkingState"))
            statuses.append(text(QStringLiteral("Status")));
    };
    QSignalSpy quits(m_server.get(), &SimulatedServer::quitRequested);
    write("reset", QStringLiteral("1"));
    QTRY_COMPARE(m_watch->texts, QStringList{production.toString()}); // its end is told before
    QTRY_COMPARE(text(QStringLiteral("Status")), QStringLiteral("Operational"));
    QCOMPARE(statuses, QStringList{QStringLiteral("Shutting down")});
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
        m_control->requestProduction(mcpOn(QStringLiteral("none")), false, QUuid());
        m_control->requestProduction(ffpOn(), false, mcp);
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
