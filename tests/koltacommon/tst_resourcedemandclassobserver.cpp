#include <koltacommon/resourcedemandclassobserver.h>
#include <support/signalrecorder.h>
#include <support/test.h>

#include <resourcemodel/resources.h>

using namespace Kolta;
using namespace RESOURCEMANAGEMENT;

namespace {

/// Entries "<name> <kind> <bandwidth> <flags>", separated by ", ". "-" for no bandwidth and for the empty
/// kind; flags: h hardware, s explicitly software, c custom.
ResourceDemandClassOverview overviewOf(const QString& entries)
{
    ResourceDemandClassOverview overview;
    for (const QString& entry : entries.split(", "_s, Qt::SkipEmptyParts)) {
        const QStringList parts = entry.split(QLatin1Char(' '));
        ResourceDemandClass demandClass;
        demandClass.SetDemandClassName(parts.at(0));
        demandClass.SetAppType(parts.at(1) == "-"_s ? QString() : parts.at(1));
        if (parts.at(2) != "-"_s)
            demandClass.SetMaxBandwidth(parts.at(2).toDouble());
        const QString flags = parts.value(3);
        if (flags.contains(QLatin1Char('h')) || flags.contains(QLatin1Char('s')))
            demandClass.SetHardwareProcessing(flags.contains(QLatin1Char('h')));
        if (flags.contains(QLatin1Char('c')))
            demandClass.SetIsCustom(true);
        overview.EditResourceDemandClass().append(demandClass);
    }
    return overview;
}

/// "<maximum software bandwidth or -> <hw|nohw>"
Tuner tunerOf(const QString& text)
{
    const QStringList parts = text.split(QLatin1Char(' '));
    Tuner tuner;
    if (parts.at(0) != "-"_s)
        tuner.SetMaxSWBandwidth(parts.at(0).toDouble());
    if (parts.size() > 1)
        tuner.SetSupportsHardwareProcessing(parts.at(1) == "hw"_s);
    return tuner;
}

QString namesOf(const QVector<ResourceDemandClass>& classes)
{
    QStringList names;
    for (const ResourceDemandClass& demandClass : classes)
        names.append(demandClass.GetDemandClassName());
    return names.join(QLatin1Char(' '));
}

} // namespace

class TestResourceDemandClassObserver : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void queries_data()
    {
        // A query is "all", "flag", "name <name>", or a tuner.
        const Rows<QString, int, QString, QString> row("classes appType query expected");
        const char* const ffp = "a FFP 3e5, b FFP 1e6, c FFP 1000000.5, d FFP 5e6 h, e FFP -, f DCP 1";
        row("FFP narrow", ffp, 3, "all", "e a b");
        row("FFP flag widens, keeps hardware", ffp, 3, "flag", "e a b c d");
        const char* const dcp = "scp DCP -, x DCP 8e7 h, y DCP 5e6 s, scp DCP 9 c, v DCP 7 c, ffp FFP 1";
        row("MCP without scp unless custom", dcp, 2, "all", "v scp y x");
        row("MCP flag drops hardware", dcp, 2, "flag", "v scp y");
        row("SCP: scp and custom", dcp, 1, "all", "scp v scp");
        row("equal bandwidth in given order", "b FHP 5, a FHP 5, d FHP 0, c FHP -", 5, "all", "d c b a");
        row("kinds exactly", "a FHA 1, b fha 1, c FHAX 1", 6, "all", "a");
        row("no kind", "a - 1, b DCP 1", 0, "all", "a");
        row("unknown type", "a - 1, b DCP 1", 77, "all", "a");

        const char* const steps = "e DSC 5e6, a DSC 5e5, b DSC 1e6, c DSC 2e6, d DSC 2e6";
        row("tuner without limit", steps, 4, "-", "a b c d e");
        row("a class as wide as the tuner ends it", steps, 4, "1e6", "a b");
        row("next larger step only", "a DSC 5e5, c DSC 2e6, d DSC 2e6, e DSC 5e6", 4, "1e6", "a c d");
        row("unset bandwidth meets a tuner of 0", "z DSC -, a DSC 1", 4, "0.9", "z");
        row("hardware of every width", "a DSC 1e6, h DSC 8e7 h, i DSC 1 h", 4, "1e6 hw", "i a h");
        row("hardware makes no step", "h DSC 2e6 h, b DSC 3e6, c DSC 4e6", 4, "1e6 nohw", "b");
        row("fractions are cut off", "a DSC 1000000.9, b DSC 1000001", 4, "1000000.2", "a");
        row("dropped class sets the step", "scp DCP 1000, x DCP 2000", 2, "500", "");
        row("SCP on a tuner", "x DCP 1, scp DCP 2, c DCP 3 c", 1, "5", "scp c");
        row("tuner beyond 32 bit", "a DSC 5e9, b DSC 2e10, c DSC 3e9", 4, "1e10", "c a b");
        row("classes beyond 32 bit are one step", "a DSC 5e9, b DSC 2e300", 4, "1e6", "a b");
        row("unsigned between 31 and 32 bit", "a DSC 3e9, b DSC 4e9, c DSC 4.1e9", 4, "2.5e9", "a");
        row("negative counts as its pattern", "a DSC 1, b DSC 4294967295", 4, "-1", "a b");
        row("far negative stays defined", "a DSC 2147483647, b DSC 3e9, c DSC 4e9", 4, "-1e300", "a b");

        const char* const named = "n DCP 9, n FFP 5, n DCP 2 h, m DCP 1, scp DCP 1, n - 1";
        row("name in order", named, 2, "name n", "n n");
        row("name of every kind", named, 0, "name n", "n n n n");
        row("name with rule", named, 2, "name scp", "");
    }

    void queries()
    {
        QFETCH(QString, classes);
        QFETCH(int, appType);
        QFETCH(QString, query);
        QFETCH(QString, expected);
        ResourceDemandClassObserver observer;
        QVERIFY(observer.initForOffline(overviewOf(classes)));
        const auto type = static_cast<eAppType>(appType);
        QVector<ResourceDemandClass> found;
        if (query == "all"_s || query == "flag"_s)
            found = observer.GetDemandClassesForAppType(type, query == "flag"_s);
        else if (query.startsWith("name "_s))
            found = observer.GetDemandClassByName(query.mid(5), type);
        else
            found = observer.GetDemandClassesForAppType(type, tunerOf(query));
        QCOMPARE(namesOf(found), expected);
    }

    void namesOfClasses()
    {
        ResourceDemandClassObserver observer;
        QVERIFY(!observer.supportsHWProcessing(eAppMCP, "w"_s));
        QVERIFY(observer.initForOffline(
            overviewOf("w DCP 9, w DCP 2 h, n DCP 9 h, n DCP 2, scp DCP 1 h, w FFP 1 h"_s)));
        // The narrowest class of the name decides.
        QVERIFY(observer.supportsHWProcessing(eAppMCP, "w"_s));
        QVERIFY(!observer.supportsHWProcessing(eAppMCP, "n"_s));
        QVERIFY(!observer.supportsHWProcessing(eAppMCP, "scp"_s));
        for (const eAppType type : {eAppUnknown, eAppSCP, eAppFFP})
            QVERIFY(!observer.supportsHWProcessing(type, "w"_s));

        QStringList names;
        for (int type = -1; type <= 7; ++type)
            names.append(ResourceDemandClassObserver::GetDefaultDemandClassName(static_cast<eAppType>(type)));
        QCOMPARE(names.join(QLatin1Char(',')), ",,scp,sw,300k,extended,standard,standard,"_s);
    }

    void announcesChanges()
    {
        const QString path = "/S1/ADMINISTRATION/DemandClasses"_s;
        const auto textOf = [](const char* classes) {
            return overviewOf(QLatin1String(classes)).GetXmlString();
        };
        auto* const value = values::Tree::Instance().Emplace<values::StringValue>(path, textOf("a DCP 1"));
        auto* const observer = new ResourceDemandClassObserver;
        SignalRecorder recorder;
        recorder.write<ResourceDemandClassOverview>([](const ResourceDemandClassOverview& classes) {
            return namesOf(classes.GetResourceDemandClass());
        });
        recorder.hear(*observer,
                      {{"si_ResourceDemandClassesChanged", "classes:%1"_s}, {"si_ValueChanged", "value"_s}});
        QVERIFY(observer->init(path));
        QCOMPARE(recorder.taken(), "classes: classes:a value"_s);

        // A slot that changes the value again: from then on everybody is told of the present overview.
        recorder.react = [&] { value->SetValue(textOf("c DCP 1")); };
        value->SetValue(textOf("b DCP 1"));
        QCOMPARE(recorder.taken(), "classes: classes: classes:c value classes:c value"_s);

        recorder.react = [&] { delete observer; };
        value->SetValue(textOf("d DCP 1"));
        QCOMPARE(recorder.taken(), "classes:"_s);
        values::Tree::Instance().Clear();
    }
};

KOLTA_TEST(TestResourceDemandClassObserver);
#include "tst_resourcedemandclassobserver.moc"
