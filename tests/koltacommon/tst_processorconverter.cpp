#include "processorsamples.h"

#include <koltacommon/processorconverter.h>

#include <QtTest>

using namespace RESOURCEMANAGEMENT;
using Converter = Kolta::ProcessorConverter;

namespace {

QString inside(const char* name, const QString& content)
{
    return QStringLiteral("<%1>%2</%1>").arg(QLatin1String(name), content);
}

QString recordOf(const char* demandClass)
{
    const QString text = QStringLiteral("Default");
    return inside("KoltaProcessor",
                  inside("TavikResource", inside("GUID", text) + inside("Name", text) +
                                              inside("DisplayName", text) + inside("Address", text)) +
                      inside("DemandClassName", QLatin1String(demandClass)) +
                      inside("LocalStorage", QStringLiteral("1")));
}

/// What is left of an object that was in use before.
template<class Object, class SetUp>
QString xmlAfter(const char* before, const SetUp& setUp)
{
    Object object;
    object.SetXmlString(QLatin1String(before), false);
    setUp(object);
    return object.GetXmlString();
}

} // namespace

class TestProcessorConverter : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    /// The whole content of every default object, as the XML that would be sent.
    void defaults()
    {
        const Converter converter;
        const QString source = inside("DataSource", inside("TunerGUID", QStringLiteral("none")));
        const QString ffp = inside("FFP", recordOf("300k"));
        const QString fha = inside("FHA", recordOf("standard"));
        const QString still = QStringLiteral("<Production>false</Production><Scanning>false</Scanning>");
        const QString place = QStringLiteral("<Frequency>1</Frequency>"); // not named, so it stays
        QCOMPARE(
            xmlAfter<MCP>("<MCP><KoltaProcessor><TavikResource><ResourceID>3</ResourceID></TavikResource>"
                          "</KoltaProcessor><Frequency>1</Frequency></MCP>",
                          Converter::setupDefaultMCP),
            inside("MCP", recordOf("sw") + source + place));
        QCOMPARE(xmlAfter<SCP>("<SCP/>", Converter::setupDefaultSCP),
                 inside("SCP", recordOf("scp") + source + ffp));
        for (const int count : {-1, 2}) {
            QCOMPARE(xmlAfter<DSC>("<DSC/>", [&](DSC& object) { converter.SetupDefaultDSC(object, count); }),
                     inside("DSC", recordOf("extended") + still + ffp.repeated(count)));
            QCOMPARE(xmlAfter<FHP>("<FHP/>", [&](FHP& object) { converter.SetupDefaultFHP(object, count); }),
                     inside("FHP", recordOf("standard") + fha.repeated(count)));
        }
        QCOMPARE(xmlAfter<ProcessorOverview>("<ProcessorOverview><MCP/></ProcessorOverview>",
                                             Converter::setupDefaultProcessorOverview),
                 inside("ProcessorOverview", inside("NumberOfFFPs", QStringLiteral("0"))));
        QCOMPARE(xmlAfter<ResourceOverview>("<ResourceOverview><StorageUnit/></ResourceOverview>",
                                            Converter::setupDefaultResourceOverview),
                 inside("ResourceOverview", inside("NumberOfTuners", QStringLiteral("0"))));
        QCOMPARE(xmlAfter<UsedProcessingUnit>("<UsedProcessingUnit><Credits>5</Credits></UsedProcessingUnit>",
                                              Converter::setupDefaultUsedProcessingUnit),
                 inside("UsedProcessingUnit",
                        inside("GUID", QStringLiteral("{00000000-0000-0000-0000-000000000000}"))));
    }

    void numberOfFFPs()
    {
        const auto text = QStringLiteral("M1(h2(a3 f4 f5) d6(f7) f8) S9(f10 d11(f12)) S13");
        ProcessorOverview overview = ProcessorSamples::overviewOf(text);
        Converter::setCorrectNumberOfFFPs(overview);
        QCOMPARE(overview.GetNumberOfFFPs(), 6);
    }
};

QTEST_GUILESS_MAIN(TestProcessorConverter)
#include "tst_processorconverter.moc"
