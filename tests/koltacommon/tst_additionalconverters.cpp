#include <koltacommon/additionalconverters.h>

#include <startup/errorhandler.h>

#include <QtTest>

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

const QString dcp = QStringLiteral("DCP");

} // namespace

class TestAdditionalConverters : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void convertsBothWays();
    void takesWhatIsThere();
    void defaultBandwidths_data();
    void defaultBandwidths();
    void namesTheNameless();
    void keepsAndReplaces();
    void textOfTheOverview();
};

void TestAdditionalConverters::convertsBothWays()
{
    Startup::TraceRecorder traces;
    QStringList texts;
    for (int value = 0; value <= 4; ++value) {
        auto component = static_cast<CResourceDemandClasses::eCOMPONENTS>(value);
        QString text;
        QVERIFY(AdditionalConverters::ConvertComponent(component, text));
        texts.append(text);
        auto back = static_cast<CResourceDemandClasses::eCOMPONENTS>(99);
        QVERIFY(AdditionalConverters::ConvertComponent(back, text));
        QCOMPARE(static_cast<int>(back), value);
    }
    QCOMPARE(texts.join(QLatin1Char(' ')), QStringLiteral("DCP FFP DSC FHA FHP"));
    for (int value = 0; value <= 1; ++value) {
        auto traits = static_cast<GLOBAL_TYPES::eRESOURCE_DEMAND_CLASSES_TRAITS>(value);
        QString text;
        QVERIFY(AdditionalConverters::ConvertClassTraits(traits, text));
        QCOMPARE(text, value == 0 ? QStringLiteral("predefined") : QStringLiteral("custom"));
        traits = static_cast<GLOBAL_TYPES::eRESOURCE_DEMAND_CLASSES_TRAITS>(99);
        QVERIFY(AdditionalConverters::ConvertClassTraits(traits, text));
        QCOMPARE(static_cast<int>(traits), value);
    }
    QVERIFY(traces.records().isEmpty());

    auto component = static_cast<CResourceDemandClasses::eCOMPONENTS>(5);
    auto traits = static_cast<GLOBAL_TYPES::eRESOURCE_DEMAND_CLASSES_TRAITS>(2);
    QString none;
    QString wrong = QStringLiteral("dcp");
    QVERIFY(!AdditionalConverters::ConvertComponent(component, none));
    QVERIFY(!AdditionalConverters::ConvertComponent(component, wrong));
    QVERIFY(!AdditionalConverters::ConvertClassTraits(traits, none));
    QVERIFY(!AdditionalConverters::ConvertClassTraits(traits, wrong));
    QVERIFY(none.isEmpty() && component == 5 && traits == 2);
    QStringList lines;
    for (const Startup::TraceRecord& record : traces.records()) {
        QCOMPARE(record.source, QStringLiteral("devicecontrol/kolta/koltacommon/additionalconverters"));
        lines.append(record.text);
    }
    QCOMPARE(lines,
             (QStringList{QStringLiteral("unknown Demandclass component"),
                          QStringLiteral("unknown Tavik Demandclass component"),
                          QStringLiteral("Unknown eRESOURCE_DEMAND_CLASSES_TRAITS in ConvertClassTraits"),
                          QStringLiteral("Unknown Type in ConvertClassTraits")}));
}

void TestAdditionalConverters::takesWhatIsThere()
{
    Entry full = named("full");
    full.info = QString();
    full.displayInfo = QStringLiteral("shown");
    full.traits = GLOBAL_TYPES::eRESOURCE_DEMAND_CLASS_CUSTOM;
    full.hardwareProcessing = true;
    full.cpu = {-3, 4};
    full.ram = 1e10;
    full.maxBandwidth = 0.5;
    Entry bare = named("bare");
    bare.traits = static_cast<GLOBAL_TYPES::eRESOURCE_DEMAND_CLASSES_TRAITS>(9);
    AdditionalConverters converters;
    answer(converters,
           {{CResourceDemandClasses::eFHA, {bare}}, {CResourceDemandClasses::eDCP, {full, bare}}});

    const auto* record = converters.GetDemandClassByName(dcp, QStringLiteral("full"));
    QVERIFY(record && record->IsInfoSet() && record->GetDisplayInfo() == QLatin1String("shown"));
    QVERIFY(record->GetIsCustom() && record->GetHardwareProcessing());
    QCOMPARE(record->GetCPUCredits(), -3);
    QCOMPARE(static_cast<int>(record->GetCPUAllocationMode()), 4);
    QCOMPARE(record->GetRAM(), 1e10);
    QCOMPARE(record->GetMaxBandwidth(), 0.5);
    record = converters.GetDemandClassByName(QStringLiteral("FHA"), QStringLiteral("bare"));
    QVERIFY(record && !record->IsInfoSet() && !record->IsDisplayInfoSet() && !record->IsMaxBandwidthSet());
    QVERIFY(record->IsIsCustomSet() && !record->GetIsCustom() && record->IsHardwareProcessingSet());
    QVERIFY(record->IsCPUCreditsSet() && record->IsCPUAllocationModeSet() && record->IsRAMSet());
    QCOMPARE(record->GetCPUCredits() + record->GetRAM() + record->GetCPUAllocationMode(), 0.0);
    QCOMPARE(converters.GetDemandClassCount(dcp), 2);
    QCOMPARE(converters.GetDemandClassesForAppType(dcp).at(1).GetDemandClassName(), QStringLiteral("bare"));
    QVERIFY(converters.GetDemandClassesForAppType(QStringLiteral("dcp")).isEmpty());
    QVERIFY(!converters.GetDemandClassByName(QStringLiteral("FHA"), QStringLiteral("full")));
}

void TestAdditionalConverters::defaultBandwidths_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<int>("traits");
    QTest::addColumn<bool>("hardware");
    QTest::addColumn<double>("expected"); ///< -1 for none
    QTest::newRow("sw") << QByteArray("sw") << 0 << false << 1e7;
    QTest::newRow("sw_5MHz") << QByteArray("sw_5MHz") << 0 << false << 5e6;
    QTest::newRow("other name") << QByteArray("sw_5mhz") << 0 << false << -1.0;
    QTest::newRow("custom") << QByteArray("sw") << 1 << false << -1.0;
    QTest::newRow("unknown traits") << QByteArray("sw") << 2 << false << -1.0;
    QTest::newRow("hardware") << QByteArray("sw") << 0 << true << -1.0;
}

void TestAdditionalConverters::defaultBandwidths()
{
    QFETCH(QByteArray, name);
    QFETCH(int, traits);
    QFETCH(bool, hardware);
    QFETCH(double, expected);
    Entry entry = named(name.constData());
    entry.traits = static_cast<GLOBAL_TYPES::eRESOURCE_DEMAND_CLASSES_TRAITS>(traits);
    entry.hardwareProcessing = hardware;
    Entry given = entry;
    given.maxBandwidth = 0;
    AdditionalConverters converters;
    answer(converters, {{CResourceDemandClasses::eDCP, {entry, given}}});
    const auto classes = converters.GetDemandClassesForAppType(dcp);
    QCOMPARE(classes.at(0).IsMaxBandwidthSet() ? classes.at(0).GetMaxBandwidth() : -1.0, expected);
    QVERIFY(classes.at(1).IsMaxBandwidthSet() && classes.at(1).GetMaxBandwidth() == 0.0);
}

void TestAdditionalConverters::namesTheNameless()
{
    Startup::TraceRecorder traces;
    AdditionalConverters converters;
    for (int round = 0; round < 2; ++round) {
        answer(converters, {{CResourceDemandClasses::eDCP, {named(""), named("x")}},
                            {CResourceDemandClasses::eFFP, {named("")}}});
        QVERIFY(converters.GetDemandClassByName(dcp, QStringLiteral("Unnamed_class_1")));
        QVERIFY(converters.GetDemandClassByName(QStringLiteral("FFP"), QStringLiteral("Unnamed_class_2")));
    }
    QCOMPARE(traces.count(QStringLiteral("Error: ResourceDemandClass without name.")), 4);
}

void TestAdditionalConverters::keepsAndReplaces()
{
    Startup::TraceRecorder traces;
    AdditionalConverters converters;
    QSignalSpy changed(&converters, &AdditionalConverters::si_DemandClassesChanged);
    answer(converters, {{CResourceDemandClasses::eDCP, {named("a"), named("b")}}});
    answer(converters, {{CResourceDemandClasses::eDCP, {named("c")}}}, true);
    converters.sl_SetQueryResourceDemandClasses(nullptr);
    QCOMPARE(converters.GetDemandClassCount(dcp), 2);
    QCOMPARE(changed.size(), 1);

    // Classes of an unknown application are invalid; the others are taken.
    answer(converters, {{static_cast<CResourceDemandClasses::eCOMPONENTS>(5), {named("d"), named("e")}},
                        {CResourceDemandClasses::eDCP, {named("f")}}});
    QCOMPARE(converters.GetDemandClasses().GetResourceDemandClass().size(), 1);
    QCOMPARE(traces.count(QStringLiteral("unknown Demandclass component")), 1);
    QCOMPARE(traces.count(QStringLiteral("Error: Invalid resource demand class. Invalid object: ")), 2);
    answer(converters, {});
    QVERIFY(converters.GetDemandClasses().GetResourceDemandClass().isEmpty());
    QCOMPARE(changed.size(), 3);
}

void TestAdditionalConverters::textOfTheOverview()
{
    AdditionalConverters converters;
    answer(converters, {{CResourceDemandClasses::eFHP, {named("a")}}});
    RESOURCEMANAGEMENT::ResourceDemandClassOverview read;
    QVERIFY(read.SetXmlString(converters.GetDemandClassString(), true));
    QVERIFY(read == converters.GetDemandClasses());
}

QTEST_GUILESS_MAIN(TestAdditionalConverters)
#include "tst_additionalconverters.moc"
