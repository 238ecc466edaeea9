#include <koltacommon/additionalconverters.h>
#include <support/test.h>

using namespace Kolta;
using ResourceConverter::CResourceDemandClasses;

namespace {

using Entry = CResourceDemandClasses::ResourceDemandClass;

Entry named(const char* name)
{
    Entry entry;
    entry.name = QString::fromUtf8(name);
    return entry;
}

/// Hands an answer to the converters as a reply brings it.
void answer(AdditionalConverters& converters,
            const QVector<CResourceDemandClasses::Application>& applications, bool withFault = false)
{
    XmlCommon::CMsgFragment fragment = CResourceDemandClasses::makeFragment();
    CResourceDemandClasses::fillReply(fragment, applications);
    if (withFault)
        fragment.setFaultTree(XmlCommon::CFaultTree(7, 0, {}));
    CResourceDemandClasses reply(fragment);
    converters.sl_SetQueryResourceDemandClasses(&reply);
}

const QString dcp = "DCP"_s;

} // namespace

/// All texts of the values from 0 on, each converted there and back.
template<class Value>
QString textsOf(bool (*convert)(Value&, QString&))
{
    QStringList texts;
    for (int number = 0; number < 9; ++number) {
        auto value = static_cast<Value>(number);
        QString text;
        if (!convert(value, text))
            break;
        value = static_cast<Value>(99);
        texts.append(convert(value, text) && value == number ? text : "?"_s);
    }
    QString wrong = "dcp"_s;
    auto value = static_cast<Value>(99);
    return convert(value, wrong) || value != 99 ? QString() : texts.join(QLatin1Char(' '));
}

class TestAdditionalConverters : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void convertsBothWays()
    {
        Startup::TraceRecorder traces;
        QCOMPARE(textsOf(AdditionalConverters::ConvertComponent), "DCP FFP DSC FHA FHP"_s);
        QCOMPARE(textsOf(AdditionalConverters::ConvertClassTraits), "predefined custom"_s);
        for (const char* line : {"unknown Demandclass component", "unknown Tavik Demandclass component",
                                 "Unknown eRESOURCE_DEMAND_CLASSES_TRAITS in ConvertClassTraits",
                                 "Unknown Type in ConvertClassTraits"})
            QCOMPARE(traces.count(QLatin1String(line)), 1);
    }

    void takesWhatIsThere()
    {
        Entry full = named("full");
        full.info = QString();
        full.displayInfo = "shown"_s;
        full.traits = GLOBAL_TYPES::eRESOURCE_DEMAND_CLASS_CUSTOM;
        full.hardwareProcessing = true;
        full.cpu = {-3, 4};
        full.ram = 1e10;
        full.maxBandwidth = 0.5;
        AdditionalConverters converters;
        answer(converters, {{CResourceDemandClasses::eFHA, {named("bare")}},
                            {CResourceDemandClasses::eDCP, {full, named("bare")}}});
        QCOMPARE(converters.GetDemandClassString(),
                 "<ResourceDemandClassOverview>"
                 "<ResourceDemandClass><DemandClassName>bare</DemandClassName><AppType>FHA</AppType>%1"
                 "<ResourceDemandClass><DemandClassName>full</DemandClassName><AppType>DCP</AppType><Info></"
                 "Info>"
                 "<DisplayInfo>shown</DisplayInfo><IsCustom>true</IsCustom>"
                 "<HardwareProcessing>true</HardwareProcessing><CPUCredits>-3</CPUCredits>"
                 "<CPUAllocationMode>4</CPUAllocationMode><RAM>10000000000</RAM><MaxBandwidth>0.5</"
                 "MaxBandwidth>"
                 "</ResourceDemandClass>"
                 "<ResourceDemandClass><DemandClassName>bare</DemandClassName><AppType>DCP</AppType>%1"
                 "</ResourceDemandClassOverview>"_s.arg(
                     "<IsCustom>false</IsCustom><HardwareProcessing>false</HardwareProcessing>"
                     "<CPUCredits>0</CPUCredits><CPUAllocationMode>0</CPUAllocationMode>"
                     "<RAM>0</RAM></ResourceDemandClass>"_s));
        QCOMPARE(converters.GetDemandClassCount(dcp), 2);
        QCOMPARE(converters.GetDemandClassesForAppType(dcp).at(1).GetDemandClassName(), "bare"_s);
        QVERIFY(converters.GetDemandClassesForAppType("dcp"_s).isEmpty());
        QVERIFY(!converters.GetDemandClassByName("FHA"_s, "full"_s));
    }

    void defaultBandwidths()
    {
        const struct
        {
            const char* name;
            int traits;
            bool hardware;
            double expected; ///< -1 for none
        } rows[] = {{"sw", 0, false, 1e7}, {"sw_5MHz", 0, false, 5e6}, {"sw_5mhz", 0, false, -1},
                    {"sw", 1, false, -1},  {"sw", 2, false, -1},       {"sw", 0, true, -1}};
        for (const auto& row : rows) {
            Entry entry = named(row.name);
            entry.traits = static_cast<GLOBAL_TYPES::eRESOURCE_DEMAND_CLASSES_TRAITS>(row.traits);
            entry.hardwareProcessing = row.hardware;
            Entry given = entry;
            given.maxBandwidth = 0;
            AdditionalConverters converters;
            answer(converters, {{CResourceDemandClasses::eDCP, {entry, given}}});
            const auto classes = converters.GetDemandClassesForAppType(dcp);
            QCOMPARE(classes.at(0).IsMaxBandwidthSet() ? classes.at(0).GetMaxBandwidth() : -1.0,
                     row.expected);
            QVERIFY(classes.at(1).IsMaxBandwidthSet() && classes.at(1).GetMaxBandwidth() == 0.0);
            QCOMPARE(classes.at(0).GetIsCustom(), row.traits == 1);
        }
    }

    void keepsAndReplaces()
    {
        Startup::TraceRecorder traces;
        AdditionalConverters converters;
        QSignalSpy changed(&converters, &AdditionalConverters::si_DemandClassesChanged);
        answer(converters, {{CResourceDemandClasses::eDCP, {named("a"), named("b")}}});
        answer(converters, {{CResourceDemandClasses::eDCP, {named("c")}}}, true);
        converters.sl_SetQueryResourceDemandClasses(nullptr);
        QCOMPARE(converters.GetDemandClassCount(dcp), 2);
        QCOMPARE(changed.size(), 1);

        // Classes of an unknown application are invalid; the others are taken. The names are the same every
        // time.
        for (int round = 0; round < 2; ++round) {
            answer(converters, {{CResourceDemandClasses::eDCP, {named(""), named("f")}},
                                {static_cast<CResourceDemandClasses::eCOMPONENTS>(5), {named("d")}},
                                {CResourceDemandClasses::eFFP, {named("")}}});
            QCOMPARE(converters.GetDemandClasses().GetResourceDemandClass().size(), 3);
            QVERIFY(converters.GetDemandClassByName(dcp, "Unnamed_class_1"_s));
            QVERIFY(converters.GetDemandClassByName("FFP"_s, "Unnamed_class_2"_s));
        }
        QCOMPARE(traces.count("Error: ResourceDemandClass without name."_s), 4);
        QCOMPARE(traces.count("unknown Demandclass component"_s), 2);
        QCOMPARE(traces.count("Error: Invalid resource demand class. Invalid object: "_s), 2);
        answer(converters, {});
        QVERIFY(converters.GetDemandClasses().GetResourceDemandClass().isEmpty());
        QCOMPARE(changed.size(), 4);
    }
};

KOLTA_TEST(TestAdditionalConverters);
#include "tst_additionalconverters.moc"
