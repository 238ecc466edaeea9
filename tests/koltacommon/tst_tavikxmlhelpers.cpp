#include "processorsamples.h"

#include <koltacommon/processorwalk.h>
#include <koltacommon/tavikxmlhelpers.h>
#include <support/test.h>

#include <resourcemodel/hwprocessing.h>
#include <resourcemodel/resources.h>

using namespace Kolta;
using namespace Kolta::TavikXmlHelpers;
using namespace ProcessorSamples;
using namespace RESOURCEMANAGEMENT;
namespace Walk = Kolta::ProcessorWalk;

namespace {

/// One node of each kind at each place.
ProcessorOverview makeTree()
{
    return overviewOf("S1=P1(f2=P2 d3=P3(f4=P4) h5=P5) M6=P6(f7=P7 h8=P8(a9=P9 f10=P10) d11=P11(f12=P12))"_s);
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
        const QString prefix = "Error in parsing ResourceOverview: "_s;
        for (const char* const xml :
             {"", "<ResourceOverview><Tuner>", "<ProcessorOverview/>",
              "<ResourceOverview><Tuner/></ResourceOverview>", "<ResourceOverview/>"}) {
            ResourceOverview overview;
            const QString error = parseResourceManagementObject(overview, QLatin1String(xml));
            const bool good = qstrcmp(xml, "<ResourceOverview/>") == 0;
            QVERIFY2(good ? error.isEmpty() : error.startsWith(prefix) && error.size() > prefix.size(), xml);
        }
    }

    /// All nodes have one GUID and lose it when found: the finds come in search order.
    void searchOrderAndParents()
    {
        ProcessorOverview overview = makeTree();
        Walk::walk(overview, {}, [](auto& node, const auto&) {
            node.EditKoltaProcessor().EditTavikResource().SetGUID(guid(77));
            return Walk::eInto;
        });
        QStringList order;
        for (Object2Parent found; (found = FindGUID(guid(77), overview)).object;) {
            TavikResource& resource = found.objectProcessor->EditTavikResource();
            QCOMPARE(found.parentProcessor == nullptr, found.parent == &overview);
            const QString above = found.parentProcessor
                                      ? found.parentProcessor->GetTavikResource().GetDisplayName()
                                      : found.parent->GetObjectName();
            order << resource.GetDisplayName() + QLatin1Char('<') + above;
            resource.ResetGUID();
        }
        QCOMPARE(order.join(QLatin1Char(' ')),
                 "P1<ProcessorOverview P2<P1 P3<P1 P4<P3 P6<ProcessorOverview P7<P6 P8<P6 P9<P8 "
                 "P10<P8 P11<P6 P12<P11"_s);
    }

    void searchesRefuseWhatIsNoGuid()
    {
        ProcessorOverview overview = makeTree();
        MCP& mcp = overview.EditMCP()[0];
        for (const QString& text : {QString(), "none"_s, QUuid().toString()}) {
            mcp.EditKoltaProcessor().EditTavikResource().SetGUID(text);
            mcp.SetProductionID(text);
            mcp.EditDataSource().SetTunerGUID(text);
            QVERIFY(!FindGUID(text, overview).object && !FindProductionID(text, overview).object);
            QVERIFY(!FindTunerGUID(text, overview).object && DisplayNameForGUID(text, overview).isEmpty());
        }
    }

    void searchesDetachOnlyWhatTheyFind()
    {
        ProcessorOverview overview = makeTree();
        const ProcessorOverview copy = overview;
        const ProcessorOverview& view = overview;
        QVERIFY(!FindGUID(guid(99), overview).object && !FindTunerGUID(guid(99), overview).object);
        QCOMPARE(view.GetSCP().constData(), copy.GetSCP().constData());
        const Object2Parent found = FindGUID(guid(4), overview);
        QCOMPARE(found.parent, &overview.EditSCP()[0].EditDSC());
        QCOMPARE(view.GetMCP().constData(), copy.GetMCP().constData());
        found.objectProcessor->EditTavikResource().SetGUID(guid(50));
        QVERIFY(ALL_GUIDS_OF(copy).contains(guid(4)) && !ALL_GUIDS_OF(overview).contains(guid(4)));
    }

    void productionIdsAndDisplayNames()
    {
        ProcessorOverview overview = makeTree();
        SCP& scp = overview.EditSCP()[0];
        overview.EditMCP()[0].SetProductionID(guid(20));
        QCOMPARE(DisplayNameForGUID(guid(20), overview), "P6"_s);
        scp.SetProductionID(guid(20));
        QCOMPARE(FindProductionID(guid(20), overview).object, &scp);
        scp.SetProductionID(guid(12));
        QCOMPARE(FindProductionID(guid(20), overview).object, &overview.EditMCP()[0]);
        QCOMPARE(DisplayNameForGUID(guid(12), overview), "P12"_s); // a node's GUID comes first
    }

    void tunersInOrder()
    {
        ProcessorOverview overview = makeTree();
        Walk::walk(overview, {}, [](auto& node, const auto&) {
            if constexpr (std::is_same_v<std::decay_t<decltype(node)>, FFP>)
                node.SetTunerGUID(guid(30));
            return Walk::eInto;
        });
        overview.EditMCP().append(overviewOf("M40"_s).GetMCP());
        overview.EditMCP()[1].EditDataSource().SetTunerGUID(guid(30));
        // Of all FFPs only those in DSCs of MCPs count, before the second MCP's own data source.
        const Object2Parent inDsc = FindTunerGUID(guid(30), overview);
        QCOMPARE(inDsc.objectProcessor->GetTavikResource().GetGUID(), guid(12));
        QCOMPARE(inDsc.parentProcessor->GetTavikResource().GetGUID(), guid(11));
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
            return node.GetObjectName() == "FHP"_s ? Walk::eOver : Walk::eInto;
        };
        const auto leave = [&steps](const auto& node) { steps.append(QLatin1Char('-') + nameOf(node)); };
        QVERIFY(Walk::walk(overview, plan, enter, leave));
        QCOMPARE(steps.join(QLatin1Char(' ')),
                 "P6 P7 -P7 P11 P12 -P12 -P11 P8 -P6 P1 P3 P4 -P4 -P3 P5 -P1"_s);
    }

    void guidSets()
    {
        ProcessorOverview overview = makeTree();
        QCOMPARE(ALL_GUIDS_OF(overview).size(), 11); // all but the SCP's FHP
        QCOMPARE(ALL_GUIDS_OF(overview.GetSCP().at(0)), (QSet<QString>{guid(1), guid(2), guid(3), guid(4)}));
        QCOMPARE(ALL_GUIDS_OF(overview.GetMCP().at(0)).size(), 7);
        overview.EditSCP()[0].ResetFFP();
        QCOMPARE(ALL_GUIDS_OF(overview).size(), 10);

        HWProcessingOverview hardware;
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
            const MCP& mcp = overview.GetMCP().at(0);
            QVERIFY(mcp.IsProductionIDSet() == keep && overview.GetSCP().at(0).IsProductionIDSet() == keep);
            QVERIFY(!mcp.GetDSC().at(1).IsKoltaProcessorSet());
        }
        FHA alone = makeTree().GetMCP()[0].GetFHP()[0].GetFHA()[0];
        clearGUIDs(alone, false);
        QVERIFY(Walk::guidOf(alone).isEmpty());

        Startup::TraceRecorder traces;
        TavikResource resource;
        resource.SetGUID(guid(1));
        clearGUIDs(resource, false);
        QCOMPARE(resource.GetGUID(), guid(1));
        QCOMPARE(traces.count("Invalid type passed."_s), 1);
    }

    void resourceSearches()
    {
        ResourceOverview overview;
        overview.EditProcessingUnit().resize(1);
        overview.EditStorageUnit().resize(1);
        TavikResource& unit = overview.EditProcessingUnit()[0].EditTavikResource();
        unit.SetDisplayName("unit"_s);
        const QString none = "not a UUID"_s;
        for (const QString& id : {guid(1), none}) {
            unit.SetGUID(id);
            overview.EditStorageUnit()[0].EditTavikResource().SetGUID(id);
            const void* const expected = id == none ? nullptr : &overview.GetProcessingUnit().at(0);
            QCOMPARE(static_cast<const void*>(FindGUID(id, overview)), expected);
            QCOMPARE(DisplayNameForGUID(id, overview), "unit"_s);
        }
        unit.SetGUID(QString());
        QCOMPARE(DisplayNameForGUID(QString(), overview), QString());
    }

    void tunerInterfacesAndResourceIds()
    {
        const auto storage = [](int number, const char* type) {
            XGStorage result;
            result.SetGUID(guid(number));
            result.EditConnection().resize(2);
            result.EditConnection()[1].SetType(QLatin1String(type));
            return result;
        };
        Tuner tuner;
        tuner.SetXGStorage({storage(4, "other"), storage(5, "vita49"), storage(5, "shadowed")});
        StorageUnit unit;
        unit.EditTavikResource().SetGUID(guid(5));
        QCOMPARE(HasTunerInterfaceTo(tuner, unit), (QStringList{QString(), "VITA49"_s}));
        unit.EditTavikResource().SetGUID(guid(6));
        QVERIFY(HasTunerInterfaceTo(tuner, unit).isEmpty());
        QCOMPARE(formatTavikResourceID(7), "00007"_s);
        QCOMPARE(formatTavikResourceID(65535), "65535"_s);
    }
};

KOLTA_TEST(TestTavikXmlHelpers);
#include "tst_tavikxmlhelpers.moc"
