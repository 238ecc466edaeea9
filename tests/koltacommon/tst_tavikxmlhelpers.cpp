#include <koltacommon/processorwalk.h>
#include <koltacommon/tavikxmlhelpers.h>

#include <resourcemodel/hwprocessing.h>
#include <resourcemodel/resources.h>
#include <startup/errorhandler.h>

#include <QtTest>

using namespace Kolta;
using namespace Kolta::TavikXmlHelpers;
using namespace RESOURCEMANAGEMENT;
namespace Walk = Kolta::ProcessorWalk;

namespace {

QString guid(int number)
{
    return QStringLiteral("{00000000-0000-4000-8000-%1}").arg(number, 12, 10, QLatin1Char('0'));
}

template<class Node>
Node processor(int number)
{
    Node node;
    TavikResource& resource = node.EditKoltaProcessor().EditTavikResource();
    resource.SetGUID(guid(number));
    resource.SetDisplayName(QStringLiteral("P%1").arg(number));
    return node;
}

/// One node of each kind at each place: SCP 1 (FFP 2, DSC 3 (FFP 4), FHP 5), MCP 6 (FFP 7, FHP 8 (FHA 9, FFP
/// 10), DSC 11 (FFP 12)).
ProcessorOverview makeTree()
{
    SCP scp = processor<SCP>(1);
    scp.SetFFP(processor<FFP>(2));
    scp.SetDSC(processor<DSC>(3));
    scp.EditDSC().EditFFP().append(processor<FFP>(4));
    scp.SetFHP(processor<FHP>(5));
    MCP mcp = processor<MCP>(6);
    mcp.EditFFP().append(processor<FFP>(7));
    mcp.EditFHP().append(processor<FHP>(8));
    mcp.EditFHP()[0].EditFHA().append(processor<FHA>(9));
    mcp.EditFHP()[0].EditFFP().append(processor<FFP>(10));
    mcp.EditDSC().append(processor<DSC>(11));
    mcp.EditDSC()[0].EditFFP().append(processor<FFP>(12));
    ProcessorOverview overview;
    overview.EditSCP().append(scp);
    overview.EditMCP().append(mcp);
    return overview;
}

template<class Node>
QString nameOf(const Node& node)
{
    return node.GetKoltaProcessor().GetTavikResource().GetDisplayName();
}

} // namespace

class TestTavikXmlHelpers : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void parseErrorsNameTheObject()
    {
        const QString prefix = QStringLiteral("Error in parsing ResourceOverview: ");
        for (const char* const xml : {"", "<ResourceOverview><Tuner>", "<ProcessorOverview/>",
                                      "<ResourceOverview><Tuner/></ResourceOverview>"}) {
            ResourceOverview overview;
            const QString error = parseResourceManagementObject(overview, QLatin1String(xml));
            QVERIFY2(error.startsWith(prefix) && error.size() > prefix.size(), xml);
        }
        ResourceOverview overview;
        QCOMPARE(parseResourceManagementObject(overview, QStringLiteral("<ResourceOverview/>")), QString());
    }

    /// All nodes have one GUID and lose it when found: the finds come in search order.
    void searchOrderAndParents()
    {
        ProcessorOverview overview = makeTree();
        const auto makeEqual = [](auto& node, const auto&) {
            node.EditKoltaProcessor().EditTavikResource().SetGUID(guid(77));
            return Walk::eInto;
        };
        Walk::walk(overview, {}, makeEqual);
        QStringList order;
        for (Object2Parent found; (found = FindGUID(guid(77), overview)).object;) {
            QCOMPARE(found.parentProcessor == nullptr, found.parent == &overview);
            const KoltaProcessor* const above = found.parentProcessor;
            order.append(
                found.objectProcessor->GetTavikResource().GetDisplayName() + QLatin1Char('<') +
                (above ? above->GetTavikResource().GetDisplayName() : found.parent->GetObjectName()));
            found.objectProcessor->EditTavikResource().ResetGUID();
        }
        QCOMPARE(
            order.join(QLatin1Char(' ')),
            QStringLiteral("P1<ProcessorOverview P2<P1 P3<P1 P4<P3 P6<ProcessorOverview P7<P6 P8<P6 P9<P8 "
                           "P10<P8 P11<P6 P12<P11"));
    }

    void searchesRefuseWhatIsNoGuid()
    {
        ProcessorOverview overview = makeTree();
        for (const QString& text : {QString(), QStringLiteral("none"), QUuid().toString()}) {
            overview.EditMCP()[0].EditKoltaProcessor().EditTavikResource().SetGUID(text);
            overview.EditMCP()[0].SetProductionID(text);
            overview.EditMCP()[0].EditDataSource().SetTunerGUID(text);
            QVERIFY(!FindGUID(text, overview).object);
            QVERIFY(!FindProductionID(text, overview).object);
            QVERIFY(!FindTunerGUID(text, overview).object);
            QCOMPARE(DisplayNameForGUID(text, overview), QString());
        }
    }

    void searchesDetachOnlyWhatTheyFind()
    {
        ProcessorOverview overview = makeTree();
        const ProcessorOverview copy = overview;
        const ProcessorOverview& view = overview;
        QVERIFY(!FindGUID(guid(99), overview).object);
        QVERIFY(!FindTunerGUID(guid(99), overview).object);
        QCOMPARE(view.GetSCP().constData(), copy.GetSCP().constData());
        const Object2Parent found = FindGUID(guid(4), overview);
        QCOMPARE(found.parent, &overview.EditSCP()[0].EditDSC());
        QCOMPARE(view.GetMCP().constData(), copy.GetMCP().constData());
        found.objectProcessor->EditTavikResource().SetGUID(guid(50));
        QCOMPARE(copy.GetSCP().at(0).GetDSC().GetFFP().at(0).GetKoltaProcessor().GetTavikResource().GetGUID(),
                 guid(4));
    }

    void productionIdsAndDisplayNames()
    {
        ProcessorOverview overview = makeTree();
        overview.EditMCP()[0].SetProductionID(guid(20));
        QCOMPARE(FindProductionID(guid(20), overview).object, &overview.EditMCP()[0]);
        QCOMPARE(DisplayNameForGUID(guid(20), overview), QStringLiteral("P6"));
        overview.EditSCP()[0].SetProductionID(guid(20));
        QCOMPARE(FindProductionID(guid(20), overview).object, &overview.EditSCP()[0]);
        overview.EditSCP()[0].SetProductionID(guid(12));
        QCOMPARE(DisplayNameForGUID(guid(12), overview), QStringLiteral("P12"));
    }

    void tunersInOrder()
    {
        ProcessorOverview overview = makeTree();
        const auto feed = [](auto& node, const auto&) {
            using Node = std::decay_t<decltype(node)>;
            if constexpr (std::is_same_v<Node, FFP>)
                node.SetTunerGUID(guid(30));
            return Walk::eInto;
        };
        Walk::walk(overview, {}, feed);
        // Of all FFPs only those in DSCs of MCPs count.
        const Object2Parent inDsc = FindTunerGUID(guid(30), overview);
        QCOMPARE(inDsc.objectProcessor->GetTavikResource().GetGUID(), guid(12));
        QCOMPARE(inDsc.parentProcessor->GetTavikResource().GetGUID(), guid(11));

        // The first MCP's FFP comes before the second MCP's own data source, SCPs before both.
        overview.EditMCP().append(processor<MCP>(40));
        overview.EditMCP()[1].EditDataSource().SetTunerGUID(guid(30));
        QCOMPARE(FindTunerGUID(guid(30), overview).objectProcessor->GetTavikResource().GetGUID(), guid(12));
        overview.EditMCP()[0].EditDataSource().SetTunerGUID(guid(30));
        QCOMPARE(FindTunerGUID(guid(30), overview).object, &overview.EditMCP()[0]);
        overview.EditSCP()[0].EditDataSource().SetTunerGUID(guid(30));
        QCOMPARE(FindTunerGUID(guid(30), overview).object, &overview.EditSCP()[0]);
    }

    void walkFollowsItsPlan()
    {
        const ProcessorOverview overview = makeTree();
        Walk::Plan plan;
        plan.mcpsFirst = plan.dscsBeforeFhps = plan.fhpOfScp = true;
        plan.ffpOfScp = false;
        QStringList steps;
        const auto enter = [&steps](const auto& node, const auto&) {
            steps.append(nameOf(node));
            return node.GetObjectName() == QLatin1String("FHP") ? Walk::eOver : Walk::eInto;
        };
        const auto leave = [&steps](const auto& node) { steps.append(QLatin1Char('-') + nameOf(node)); };
        QVERIFY(Walk::walk(overview, plan, enter, leave));
        QCOMPARE(steps.join(QLatin1Char(' ')),
                 QStringLiteral("P6 P7 -P7 P11 P12 -P12 -P11 P8 -P6 P1 P3 P4 -P4 -P3 P5 -P1"));
    }

    void guidSets()
    {
        ProcessorOverview overview = makeTree();
        QCOMPARE(ALL_GUIDS_OF(overview).size(), 11); // all but the SCP's FHP
        QCOMPARE(ALL_GUIDS_OF(overview.GetSCP().at(0)), (QSet<QString>{guid(1), guid(2), guid(3), guid(4)}));
        QCOMPARE(ALL_GUIDS_OF(overview.GetMCP().at(0)).size(), 7);
        overview.EditSCP()[0].ResetFFP();
        QVERIFY(!ALL_GUIDS_OF(overview.GetSCP().at(0)).contains(guid(2)));

        HWProcessingOverview hardware;
        QVERIFY(!FindGUID(guid(1), hardware));
        hardware.EditHWProcessing().resize(2);
        hardware.EditHWProcessing()[1].SetGUID(guid(1));
        QCOMPARE(ALL_GUIDS_OF(hardware), QSet<QString>{guid(1)});
        QCOMPARE(FindGUID(guid(1), hardware), &hardware.GetHWProcessing().at(1));
        QVERIFY(!FindGUID(QString(), hardware)); // an entry without GUID is never found
    }

    void clearingGuids()
    {
        for (const bool keep : {true, false}) {
            ProcessorOverview overview = makeTree();
            overview.EditMCP()[0].SetProductionID(guid(20));
            overview.EditSCP()[0].SetProductionID(guid(21));
            overview.EditMCP()[0].EditDSC().append(DSC()); // no processor record: none is made
            clearGUIDs(overview, keep);
            QCOMPARE(ALL_GUIDS_OF(overview), QSet<QString>());
            QCOMPARE(overview.GetMCP().at(0).IsProductionIDSet(), keep);
            QCOMPARE(overview.GetSCP().at(0).IsProductionIDSet(), keep);
            QVERIFY(!overview.GetMCP().at(0).GetDSC().at(1).IsKoltaProcessorSet());
        }
        FHA alone = processor<FHA>(9);
        clearGUIDs(alone, false);
        QVERIFY(Walk::guidOf(alone).isEmpty());

        Startup::TraceRecorder traces;
        TavikResource resource;
        resource.SetGUID(guid(1));
        clearGUIDs(resource, false);
        QCOMPARE(resource.GetGUID(), guid(1));
        QCOMPARE(traces.count(QStringLiteral("Invalid type passed.")), 1);
    }

    void resourceSearches()
    {
        ResourceOverview overview;
        overview.EditProcessingUnit().resize(1);
        overview.EditStorageUnit().resize(1);
        TavikResource& unit = overview.EditProcessingUnit()[0].EditTavikResource();
        TavikResource& store = overview.EditStorageUnit()[0].EditTavikResource();
        unit.SetGUID(guid(1));
        unit.SetDisplayName(QStringLiteral("unit"));
        store.SetGUID(guid(1));
        QCOMPARE(FindGUID(guid(1), overview), &overview.GetProcessingUnit().at(0));
        QCOMPARE(DisplayNameForGUID(guid(1), overview), QStringLiteral("unit"));
        unit.SetGUID(QStringLiteral("not a UUID"));
        QVERIFY(!FindGUID(QStringLiteral("not a UUID"), overview));
        QCOMPARE(DisplayNameForGUID(QStringLiteral("not a UUID"), overview), QStringLiteral("unit"));
        unit.SetGUID(QString());
        QCOMPARE(DisplayNameForGUID(QString(), overview), QString());
    }

    void tunerInterfacesAndResourceIds()
    {
        StorageUnit unit;
        unit.EditTavikResource().SetGUID(guid(5));
        Tuner tuner;
        const char* const types[] = {"other", "vita49", "shadowed"};
        for (int i = 0; i < 3; ++i) {
            XGStorage storage;
            storage.SetGUID(guid(i == 0 ? 4 : 5));
            storage.EditConnection().resize(2);
            storage.EditConnection()[1].SetType(QLatin1String(types[i]));
            tuner.EditXGStorage().append(storage);
        }
        QCOMPARE(HasTunerInterfaceTo(tuner, unit), (QStringList{QString(), QStringLiteral("VITA49")}));
        unit.EditTavikResource().SetGUID(guid(6));
        QVERIFY(HasTunerInterfaceTo(tuner, unit).isEmpty());
        QCOMPARE(formatTavikResourceID(7), QStringLiteral("00007"));
        QCOMPARE(formatTavikResourceID(65535), QStringLiteral("65535"));
    }
};

QTEST_GUILESS_MAIN(TestTavikXmlHelpers)
#include "tst_tavikxmlhelpers.moc"
