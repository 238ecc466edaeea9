#include "processorsamples.h"

#include <koltacommon/koltaprocessorobserver.h>
#include <support/signalrecorder.h>
#include <support/test.h>

using namespace Kolta;
using namespace ProcessorSamples;
using namespace RESOURCEMANAGEMENT;
using O = KoltaProcessorObserver;
using values::StringValue;

namespace {

const QString path = "/S1/ADMINISTRATION/ActualConfiguration"_s;

/// Publishes an overview, as a server does that comes up or changes it.
void publish(const char* overview)
{
    const QString text = xmlOf(QLatin1String(overview));
    if (!values::Tree::Instance().Emplace<StringValue>(path, text))
        values::Tree::Instance().FindAs<StringValue>(path)->SetValue(text);
}

void removeValue()
{
    values::Tree::Instance().Remove(path);
}

/// Every signal of an observer: processors by their numbers, lists by their sizes.
class Recorder : public SignalRecorder
{
public:
    explicit Recorder(const O& observer)
    {
        write<QString>([](const QString& processor) { return QString::number(numberOf(processor)); });
        write<QStringList>([](const QStringList& processors) { return QString::number(processors.size()); });
        write<ProcessorOverview>([](const ProcessorOverview& overview) {
            return QString::number(overview.GetSCP().size() + overview.GetMCP().size());
        });
        hear(observer, {{"si_ProcessorStarted", "+%1"_s},
                        {"si_ProcessorChanged", "*%1"_s},
                        {"si_ProcessorStopped", "-%1"_s},
                        {"si_ProcessorsStopped", "stops%1"_s},
                        {"si_AllProcessorsStopped", "none"_s},
                        {"si_RunningProcessorsChanged", "all%1"_s},
                        {"si_ValueChanged", "value"_s},
                        {"si_ValueDeleted", "gone"_s}});
    }
    QString after(const char* overview)
    {
        return during([overview] { publish(overview); });
    }
};

} // namespace

class TestKoltaProcessorObserver : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { publish(""); }
    void cleanup() { values::Tree::Instance().Clear(); }

    void differencesInOrder()
    {
        const char* const cases[][3] = {
            {"", "M8(d13(f14) h10(f12 a11) f9) S1(h5(f7 a6) d3(f4) f2)",
             "+1 +2 +3 +4 +5 +6 +7 +8 +9 +10 +11 +12 +13 +14 all2 value"},
            {"S1(f2 d3(f4)) M8(h9(a10))", "S1(f2 d3(f4=x)) M8(h9(a10=x))", "*4 *10 all2 value"},
            {"M1(d2)", "M1(d2(f3) f4)", "+4 +3 all1 value"},
            {"M1(f2) M3", "M1 M3(f2)", "*2 all2 value"}, // moved
            {"M1(f2)", "M1(h2)", "*2 all1 value"},       // another kind
            {"M1 M2(f3 f4) S5", "M2(f4 f3) S5 M1", "all3 value"},
            {"M1(f2) S3(f6) M5", "M4 M5=x", "+4 *5 stops4 -3 -6 -1 -2 all2 value"},
            {"M1 M2(f3 h4(a5)) S6", "", "none stops6 -6 -1 -2 -3 -4 -5 all0 value"},
            {"", "", ""},
            // One GUID several times: the first counts. Without GUID: nothing but what is below is told.
            {"", "M1 M1(f2)", "+1 +2 all2 value"},
            {"M1=a M1=b", "M1=a M1=c", "all2 value"},
            {"M1=a M1=b", "M1=b", "*1 all1 value"},
            {"M1(f2) M3(f2)", "M3(f2) M4", "*2 +4 stops1 -1 all2 value"},
            {"M0=a M0(f2)", "M0=b M0=c M0(f2=x)", "*2 all3 value"},
            {"M0 M1", "", "none stops1 -1 all0 value"}};
        // One observer for all, so that what it keeps of earlier overviews would show.
        O observer(path);
        observer.setEmptyOverviewDelay(0);
        Recorder recorder(observer);
        for (const auto& [before, after, changes] : cases) {
            recorder.after(before);
            QCOMPARE(recorder.after(after), QLatin1String(changes));
        }
    }

    void emptyOverviewsAreDoubted()
    {
        publish("M1(f2) M3");
        O observer(path);
        observer.setEmptyOverviewDelay(20);
        Recorder recorder(observer);
        QCOMPARE(recorder.after(""), "all0 value"_s);
        QVERIFY(!observer.FindProcessor(guid(1)));
        QCOMPARE(recorder.after("M1(f2=x) M4"), "*2 +4 stops1 -3 all2 value"_s);
        publish("");
        QTRY_COMPARE(recorder.log(), "all0 value none stops3 -1 -2 -4"_s);
        // A deletion, an offline mirror and another path end the doubt without a stop.
        const std::pair<std::function<void()>, const char*> ends[] = {
            {removeValue, "all0 gone"},
            {[&observer] { observer.initForOffline(overviewOf("M5"_s)); }, ""},
            {[&observer] { observer.init(path + "/other"_s); }, ""}};
        for (const auto& [end, log] : ends) {
            publish("M1");
            observer.init(path);
            recorder.after("");
            QVERIFY(observer.findChild<QTimer*>()->isActive());
            QCOMPARE(recorder.during(end), QLatin1String(log));
            QVERIFY(!observer.findChild<QTimer*>()->isActive());
        }
    }

    void nothingStaleAfterTheServerVanished()
    {
        publish("M1(f2)");
        O observer(path);
        Recorder recorder(observer);
        QCOMPARE(recorder.during(removeValue), "all0 gone"_s);
        QVERIFY(!observer.FindProcessor(guid(1)));
        QVERIFY(observer.GetCurrentProcessorsAsString().isEmpty());
        QCOMPARE(recorder.during([&observer] { observer.UpdateAll(); }), QString());
        QCOMPARE(recorder.after("M1(f2)"), "+1 +2 all1 value"_s); // the same text as before
        // Another server's processors did not stop, and are not shown either.
        const QString other = "/S2/ADMINISTRATION/ActualConfiguration"_s;
        QCOMPARE(recorder.during([&] { observer.init(other); }), QString());
        QVERIFY(!observer.FindProcessor(guid(1)));
        QCOMPARE(recorder.during([&] { observer.init(path); }), "+1 +2 all1 value"_s);
    }

    void slotsMayChangeTheValueOrDeleteTheObserver()
    {
        auto observer = std::make_unique<O>(path);
        Recorder recorder(*observer);
        recorder.after("M1");
        recorder.react = [] { publish("M3"); };
        QCOMPARE(recorder.after("M1=x M2"), "*1 +2 all2 +3 stops2 -1 -2 all1 value value"_s);
        recorder.react = removeValue;
        QCOMPARE(recorder.after("M3=x M4"), "*3 +4 all2 all0 gone value"_s);
        recorder.after("M5");
        recorder.react = [&observer] { observer->init("/none"_s); };
        QCOMPARE(recorder.after("M5=x M6"), "*5 value"_s); // the rest is of the old path
        observer = std::make_unique<O>(path);
        observer->setEmptyOverviewDelay(1);
        publish("M1 M2");
        Recorder last(*observer);
        connect(observer.get(), &O::si_AllProcessorsStopped, this, [&observer] { observer.reset(); });
        publish("");
        QTRY_VERIFY(!observer);
        QCOMPARE(last.log(), "all0 value none"_s);
    }

    void queries()
    {
        ProcessorOverview overview =
            overviewOf("S1=a(f2 d3(f4=b) h5(a6)) M7=c(f8 h9(a10 f11) d12(f13)) M14=d M14=e M0"_s);
        overview.EditSCP()[0].SetProductionID(guid(90));
        overview.EditSCP()[0].EditDSC().EditFFP()[0].SetTunerGUID(guid(80));
        for (MCP& mcp : overview.EditMCP()) { // the last two are a double and one without GUID
            mcp.SetProductionID(guid(mcp.GetFFP().isEmpty() ? 90 : 91));
            mcp.EditDataSource().SetTunerGUID(guid(80));
        }
        overview.EditMCP()[0].EditDSC()[0].EditFFP()[0].SetTunerGUID(guid(80));
        O observer;
        QVERIFY(observer.initForOffline(overview));
        const ProcessorOverview& mirror = observer.GetCurrentProcessors();
        const DSC& dsc = mirror.GetSCP().at(0).GetDSC();
        const RunningProcessor ffp = observer.FindProcessor(guid(4));
        QVERIFY(ffp.kind == eAppFFP && ffp.object == &dsc.GetFFP().at(0) && ffp.parent == &dsc);
        const RunningProcessor mcp = observer.FindProcessor(guid(7));
        QVERIFY(mcp.kind == eAppMCP && mcp.parent == &mirror && !mcp.parentRecord);

        QString holders; // of each processor, and the MCP that holds it
        for (int number = 1; number <= 14; ++number)
            holders += "%1/%2 "_s.arg(numberOf(observer.GetParentGUID(guid(number))))
                           .arg(numberOf(observer.GetMcpGUIDFor(guid(number))));
        QCOMPARE(holders, "0/0 1/0 1/0 3/0 1/0 5/0 0/0 7/7 7/7 9/7 9/7 7/7 12/7 0/0 "_s);
        QCOMPARE(observer.GetDisplayNameByGUID(guid(14)) + observer.GetDisplayNameByGUID(guid(91)), "dc"_s);
        QCOMPARE(observer.GetProductionIDs(), (QStringList{guid(90), guid(91)}));
        QCOMPARE(observer.GetGUIDForProductionID(guid(90)), guid(1));
        QCOMPARE(observer.GetGUIDForProductionID(guid(91)), guid(7));
        QCOMPARE(observer.GetGUIDsFedByTuner(guid(80)), (QStringList{guid(4), guid(7), guid(13), guid(14)}));
        for (const QString& wrong : {guid(1).toUpper(), guid(1).mid(1, 36), QUuid().toString(), QString()})
            QVERIFY(!observer.FindProcessor(wrong) && observer.GetGUIDsFedByTuner(wrong).isEmpty());
        // Answers are never about an overview that was there before.
        QVERIFY(observer.initForOffline(overviewOf("M2"_s)));
        QVERIFY(!observer.FindProcessor(guid(1)) && observer.GetGUIDForProductionID(guid(90)).isEmpty());
    }
};

KOLTA_TEST(TestKoltaProcessorObserver);
#include "tst_koltaprocessorobserver.moc"
