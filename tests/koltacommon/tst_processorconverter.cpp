#include "processorsamples.h"

#include <koltacommon/processorconverter.h>
#include <support/test.h>

using namespace RESOURCEMANAGEMENT;
using Converter = Kolta::ProcessorConverter;

class TestProcessorConverter : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    /// Of an object that was in use before nothing is left but what the defaults say nothing about.
    void defaultsReplaceWhatWasThere()
    {
        MCP mcp;
        mcp.EditKoltaProcessor().EditTavikResource().SetResourceID(3);
        mcp.SetFrequency(1);
        Converter::setupDefaultMCP(mcp);
        QVERIFY(!mcp.GetKoltaProcessor().GetTavikResource().IsResourceIDSet() && mcp.GetFrequency() == 1);
        QCOMPARE(mcp.GetDataSource().GetTunerGUID(), "none"_s);
        ProcessorOverview overview = ProcessorSamples::overviewOf("M1"_s);
        Converter::setupDefaultProcessorOverview(overview);
        QVERIFY(overview.GetMCP().isEmpty() && overview.IsNumberOfFFPsSet());
        for (const int count : {-1, 0, 2}) {
            DSC dsc;
            FHP fhp;
            Converter::setupDefaultDSC(dsc, count);
            Converter::setupDefaultFHP(fhp, count);
            QVERIFY(dsc.GetFFP().size() == qMax(count, 0) && fhp.GetFHA().size() == qMax(count, 0));
            QVERIFY(!dsc.GetProduction() && dsc.IsScanningSet());
        }
    }

    void numberOfFFPs()
    {
        const auto text = "M1(h2(a3 f4 f5) d6(f7) f8) S9(f10 d11(f12)) S13"_s;
        ProcessorOverview overview = ProcessorSamples::overviewOf(text);
        Converter::setCorrectNumberOfFFPs(overview);
        QCOMPARE(overview.GetNumberOfFFPs(), 6);
    }
};

KOLTA_TEST(TestProcessorConverter);
#include "tst_processorconverter.moc"
