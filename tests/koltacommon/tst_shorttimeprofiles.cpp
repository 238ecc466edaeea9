#include <koltacommon/itemfield.h>
#include <koltacommon/q9rprofiles.h>
#include <koltacommon/shapecollectionitem.h>
#include <koltacommon/shorttimeffpassignment.h>
#include <koltacommon/shorttimeprofile.h>
#include <koltacommon/shorttimeresult.h>

#include <jobdescription/frequencystore.h>
#include <jobdescription/shorttime.h>

#include <QDataStream>
#include <QtTest>

#include <limits>

using namespace Kolta;
using Text = ShortTimeProfile_TextAdapter;

namespace {

/// Every member differs from its default, and from every other one where it can.
ShortTimeProfile fullProfile()
{
    ShortTimeProfile p;
    p.name = QStringLiteral("B\xD800");
    p.useFrequency = p.useBandwidth = p.useHopRate = p.useSymbolRate = p.useModulation = p.hopperFlag = true;
    p.frequencyMin = 1500000;
    p.frequencyMax = std::numeric_limits<quint64>::max();
    p.durationMin = 1;
    p.durationMax = std::numeric_limits<quint32>::max();
    p.bandwidthMin = 25000;
    p.bandwidthMax = 50000;
    p.hopRate = 100.5;
    p.symbolRateMin = 9600;
    p.symbolRateMax = 19200;
    p.shiftMin = 85;
    p.shiftMax = 850;
    p.modulation = 7;
    p.type = eShortTimeProfileHopper;
    return p;
}

ShortTimeFFPAssignment fullAssignment()
{
    ShortTimeFFPAssignment a;
    a.ffpGuid = QStringLiteral("{7}");
    a.tavikResourceId = 65535;
    a.radioId = 0x80000001;
    a.enabled = a.setupFlag = true;
    a.minCoverage = 50;
    a.profiles = QStringList{QStringLiteral("A"), QStringLiteral(""), QString()};
    a.setupValue = -2;
    return a;
}

ShortTimeResult fullResult()
{
    ShortTimeResult r;
    r.id = 7;
    r.startTime = 1600000000123456;
    r.duration = 1500;
    r.frequency = 433920000;
    r.bandwidth = 25000;
    r.level = -12.5;
    r.symbolRate = 9600;
    r.modulation = 1;
    r.confidence = 0.75;
    r.profileName = QStringLiteral("P");
    r.profileType = eShortTimeProfileBurst;
    r.ffpGuid = QStringLiteral("{7}");
    return r;
}

ShapeCollectionItem fullShape()
{
    ShapeCollectionItem s;
    s.name = QStringLiteral("S");
    s.signalClass = QStringLiteral("C");
    s.centreFrequency = 1000;
    s.span = 25000;
    s.tolerance = 1.5;
    s.samples = {0.0F, -3.5F};
    return s;
}

QByteArray bytesOf(const std::string& bytes)
{
    return QByteArray(bytes.data(), static_cast<int>(bytes.size()));
}

/// Decodes `field`, encodes what it got, and says how far it read.
template<class Item, class Format>
QByteArray recoded(const QByteArray& field, int& end)
{
    const char* stream = field.constData();
    Item decoded;
    end = Format::fromCharStream(&stream, decoded) ? static_cast<int>(stream - field.constData()) : -1;
    return bytesOf(Format::toStandardString(decoded));
}

/// The very bytes, also as another version may write them.
template<class Item, class Format>
void checkBytes(const Item& full, const char* hex)
{
    const QByteArray bytes = QByteArray::fromHex(hex);
    QCOMPARE(bytesOf(Format::toStandardString(full)).toHex(), bytes.toHex());
    int end = 0;
    QCOMPARE((recoded<Item, Format>(bytes + "next", end)), bytes);
    QCOMPARE(end, bytes.size());
    // Another version, and members that a later one has added, are passed over.
    QByteArray later = bytes + "more";
    later[0] = static_cast<char>(later.at(0) + 4);
    later[4] = 9;
    QCOMPARE((recoded<Item, Format>(later, end)), bytes);
    QCOMPARE(end, later.size());
}

/// A hop rate and symbol rate in use, so that the profile equals itself.
ShortTimeProfile comparable()
{
    ShortTimeProfile p;
    p.useHopRate = p.useSymbolRate = true;
    return p;
}

template<class Change>
ShortTimeProfile changed(ShortTimeProfile profile, const Change& change)
{
    change(profile);
    return profile;
}

} // namespace

class TestShortTimeProfiles : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void itemFields();
    void fieldsAreDataStreams();
    void numbers();
    void tooltipAndColumns();
    void equality();
    void profileFiles_data();
    void profileFiles();
    void frequencyStoreEntries();
    void setupsAndDefaults();
};

void TestShortTimeProfiles::itemFields()
{
    checkBytes<ShortTimeProfile, ShortTimeProfile_ItemFormat>(
        fullProfile(), "4b000000 01 00000004 0042d800 01 000000000016e360 ffffffffffffffff"
                       "00 00000001 ffffffff 01 000061a8 0000c350 01 4059200000000000"
                       "01 00002580 00004b00 00 00000055 00000352 01 07 01 02");
    checkBytes<ShortTimeFFPAssignment, ShortTimeFFPAssignment_ItemFormat>(
        fullAssignment(), "2e000000 01 00000006 007b0037007d ffff 80000001 01 00 00000032"
                          "00000003 00000002 0041 00000000 ffffffff fffffffe 01");
    checkBytes<ShortTimeResult, ShortTimeResult_ItemFormat>(
        fullResult(), "47000000 01 00000007 0005af3107a5e240 000005dc 0000000019dd1800"
                      "000061a8 c029000000000000 00002580 01 3fe8000000000000"
                      "00000002 0050 01 00000006 007b0037007d ffffffff");
    checkBytes<ShapeCollectionItem, ShapeCollectionItem_ItemFormat>(
        fullShape(), "3d000000 01 00000002 0053 ffffffff 00000002 0043 00000000000003e8"
                     "40d86a0000000000 3ff8000000000000 00000002 0000000000000000 c00c000000000000");
}

/// What the writer writes, Qt's stream reads, and the other way round.
void TestShortTimeProfiles::fieldsAreDataStreams()
{
    const QDateTime utc(QDate(2020, 1, 2), QTime(3, 4, 5, 678), Qt::UTC);
    QVector<QDateTime> times = {utc, QDateTime(), utc.toLocalTime(), utc.toOffsetFromUtc(-3600)};
    const QTimeZone zone("Europe/Berlin");
    if (zone.isValid()) // not every machine has the table
        times.append(utc.toTimeZone(zone));
    times.append(utc.toTimeZone(QTimeZone(-3600))); // which comes back as a plain offset
    const QStringList texts = {QStringLiteral("\xDC00x"), QString(), QStringLiteral("")};
    for (const QDateTime& time : times) {
        itemfield::Writer writer(0);
        writer(time);
        writer(texts);
        writer(QVector<float>{1.5F});
        writer(-0.5);
        const QByteArray bytes = bytesOf(writer.take());
        QByteArray expected;
        QDataStream stream(&expected, QIODevice::WriteOnly);
        stream << time << texts << QVector<float>{1.5F} << -0.5;
        QCOMPARE(bytes.mid(4).toHex(), expected.toHex());
        const char* at = bytes.constData();
        itemfield::Reader reader(&at);
        QDateTime readTime;
        QStringList readTexts;
        QVector<float> readNumbers;
        reader(readTime);
        reader(readTexts);
        reader(readNumbers);
        QCOMPARE(readTime, time);
        QVERIFY(readTime.timeSpec() == time.timeSpec() || time.timeZone() == QTimeZone(-3600));
        QCOMPARE(readTexts, texts);
        QVERIFY(readTexts.at(1).isNull() && !readTexts.at(2).isNull());
        QCOMPARE(readNumbers, QVector<float>{1.5F});
    }
}

void TestShortTimeProfiles::numbers()
{
    const auto hz = [](quint64 a, quint64 b) { return Text::formatHz(a, b); };
    QCOMPARE(hz(1000, 1000000), QStringLiteral("1000 Hz, 1000 kHz"));
    QCOMPARE(hz(1000001, 0), QStringLiteral("1.000001 MHz, 0 Hz"));
    QCOMPARE(hz(1500000, 1001), QStringLiteral("1.5 MHz, 1.001 kHz"));
    QCOMPARE(hz(999999, 100000000), QStringLiteral("999.999 kHz, 100 MHz"));
    QCOMPARE(hz(std::numeric_limits<quint64>::max(), 1), QStringLiteral("18446744073709.55078125 MHz, 1 Hz"));
    QCOMPARE(Text::formatBd(1000001, 9600), QStringLiteral("1.000001 MBd, 9.6 kBd"));
    QCOMPARE(Text::formatBd(50, 1000), QStringLiteral("50 Bd, 1000 Bd"));
    QCOMPARE(Text::formatString(100, 0, QStringLiteral("u")), QStringLiteral("100u"));
    for (qint8 code = 0; code < 8; ++code)
        QCOMPARE(stringToModulationType(modulationTypeToString(code)), code);
    QCOMPARE(modulationTypeToString(7), QStringLiteral("PSK8A"));
    for (const char* none : {"fsk2", "FSK2 ", "", "Unknown"})
        QCOMPARE(int(stringToModulationType(QLatin1String(none))), 0);
    for (int none : {-128, -1, 8, 127})
        QCOMPARE(modulationTypeToString(static_cast<qint8>(none)), QStringLiteral("Unknown"));
}

void TestShortTimeProfiles::tooltipAndColumns()
{
    ShortTimeProfile p = fullProfile();
    p.frequencyMax = 2000000;
    QCOMPARE(Text::GetText4Tooltip(p),
             QStringLiteral("Frequency : 1.5 MHz, 2 MHz\nBandwidth : 25 kHz, 50 kHz\nModulation : PSK8A\n"
                            "Duration : \nHop Rate : 0.0001005\nShift : \nSymbol Rate : 9.6 kBd, 19.2 kBd"));
    p = ShortTimeProfile();
    p.useDuration = p.useShift = true;
    p.durationMax = 4294967295;
    p.modulation = 2; // shown although it is not in use
    QCOMPARE(Text::GetText4Tooltip(p),
             QStringLiteral("Frequency : \nBandwidth : \nModulation : AM\nDuration : 0, 4294967295\n"
                            "Hop Rate : \nShift : 0 Hz, 0 Hz\nSymbol Rate : "));
    QVERIFY(Text::GetText4Column(0, p).isEmpty() && !Text::GetIcon4Column(0, p, 16, 16).isValid());

    const auto rowOf = [](auto adapter, const auto& item) {
        QStringList texts;
        for (int column = -1; column <= adapter.ColumnCount(); ++column) {
            const QString title = adapter.GetColumnTitle(column);
            if (title.isEmpty() == (column >= 0 && column < adapter.ColumnCount()))
                return QStringLiteral("column %1 has a wrong title").arg(column);
            texts << adapter.GetText4Column(column, item);
        }
        return texts.join(QLatin1Char('|'));
    };
    QCOMPARE(rowOf(ShortTimeFFPAssignment_TextAdapter(), fullAssignment()),
             QStringLiteral("|{7}|yes|A, , |no|50|2147483649|65535|"));
    QCOMPARE(
        rowOf(ShortTimeResult_TextAdapter(), fullResult()),
        QStringLiteral(
            "|2020-09-13 12:26:40.123456|433.92 MHz|25 kHz|1.5 ms|-12.5 dBµV|9.6 kBd|FSK2|P|75 %|{7}||"));
    QCOMPARE(rowOf(ShapeCollectionItem_TextAdapter(), fullShape()),
             QStringLiteral("|S|C|1000 Hz|25 kHz|1.5 dB|2||"));
    ShortTimeResult early;
    early.startTime = std::numeric_limits<qint64>::min();
    QVERIFY(ShortTimeResult_TextAdapter::GetText4Tooltip(early).endsWith(QLatin1String("Confidence: 0 %")));
    QCOMPARE(ShortTimeProfile_ItemFormat::GetString(fullProfile()), QStringLiteral("Profile_B\xD800"));
    QCOMPARE(ShortTimeFFPAssignment_ItemFormat::GetString(fullAssignment()), QStringLiteral("FFP_{7}"));
}

void TestShortTimeProfiles::equality()
{
    const ShortTimeProfile p = comparable();
    QVERIFY(p == p && fullProfile() == fullProfile());
    // A rate that is not in use: equal to nothing, itself included.
    const ShortTimeProfile noHop = changed(p, [](auto& x) { x.useHopRate = false; });
    const ShortTimeProfile noSymbol = changed(p, [](auto& x) { x.useSymbolRate = false; });
    QVERIFY(noHop != noHop && noSymbol != noSymbol && ShortTimeProfile() != ShortTimeProfile());
    QVERIFY(p == noSymbol); // only the left-hand flag counts
    QVERIFY(noSymbol != p && p != noHop);
    const auto hop = [&](double rate) { return changed(p, [&](auto& x) { x.hopRate = rate; }); };
    QVERIFY(hop(1e12) == hop(1e12 + 1));
    QVERIFY(hop(1e12 - 1) != hop(1e12));
    QVERIFY(hop(0) != hop(1e-300) && hop(-1) != hop(1) && hop(-1e12) == hop(-1e12 - 1));
    using Member = void (*)(ShortTimeProfile&);
    const Member members[] = {[](auto& x) { x.name = QStringLiteral("n"); },
                              [](auto& x) { x.useFrequency = true; },
                              [](auto& x) { ++x.frequencyMin; },
                              [](auto& x) { ++x.frequencyMax; },
                              [](auto& x) { x.useDuration = true; },
                              [](auto& x) { ++x.durationMin; },
                              [](auto& x) { ++x.durationMax; },
                              [](auto& x) { x.useBandwidth = true; },
                              [](auto& x) { ++x.bandwidthMin; },
                              [](auto& x) { ++x.bandwidthMax; },
                              [](auto& x) { ++x.symbolRateMin; },
                              [](auto& x) { ++x.symbolRateMax; },
                              [](auto& x) { x.useShift = true; },
                              [](auto& x) { ++x.shiftMin; },
                              [](auto& x) { ++x.shiftMax; },
                              [](auto& x) { x.useModulation = true; },
                              [](auto& x) { ++x.modulation; },
                              [](auto& x) { x.hopperFlag = true; },
                              [](auto& x) { x.type = eShortTimeProfileBurst; }};
    for (const Member member : members)
        QVERIFY2(p != changed(p, member), qPrintable(QString::number(&member - members)));
}

void TestShortTimeProfiles::profileFiles_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("status");
    QTest::addColumn<QVector<quint64>>("expected"); // in use, minimum, maximum
    const auto row = [](const char* text, int status, const QVector<quint64>& expected) {
        QTest::newRow(text) << QString::fromLatin1(text) << status << expected;
    };
    row("1,4294967295", 1, {1, 1, 4294967295});
    row("1,2", 0, {0, 1, 2});
    row("3,4", 2, {0, 3, 4});
    row("1,2,3", 1, {0, 0, 0});
    row("1", 1, {0, 0, 0});
    row("", 1, {0, 0, 0});
    row("x,7", 1, {1, 0, 7});
    row("-1,0x10", 1, {1, 0, 0});
    row("1.5,", 1, {1, 0, 0});
}

void TestShortTimeProfiles::profileFiles()
{
    QFETCH(QString, text);
    QFETCH(int, status);
    QFETCH(QVector<quint64>, expected);
    const VESK_Q9R::TextElement range{text, status};
    VESK_Q9R::Profile source;
    source.frequencyRange = source.signalDurationRange = source.bandwidthRange = source.symbolrateRange =
        source.shiftRange = range;
    source.hopRate = {0.5, status};
    source.modulationType = {QStringLiteral("AM"), status};
    const auto profiles = ShortTimeProfile::fromQ9RProfile({{source}}, eShortTimeProfileIgnore);
    QCOMPARE(profiles.size(), 1);
    const ShortTimeProfile& p = profiles.first();
    QCOMPARE(p.name, QStringLiteral("Q9R_Profile"));
    QCOMPARE(int(p.type), int(eShortTimeProfileIgnore));
    QCOMPARE((QVector<quint64>{p.useFrequency, p.frequencyMin, p.frequencyMax}), expected);
    QCOMPARE((QVector<quint64>{p.useDuration, p.durationMin, p.durationMax}), expected);
    QCOMPARE((QVector<quint64>{p.useBandwidth, p.bandwidthMin, p.bandwidthMax}), expected);
    QCOMPARE((QVector<quint64>{p.useSymbolRate, p.symbolRateMin, p.symbolRateMax}), expected);
    QCOMPARE((QVector<quint64>{p.useShift, p.shiftMin, p.shiftMax}), expected);
    QCOMPARE(p.hopRate, 0.5);
    QCOMPARE(p.useHopRate, status == 1);
    QCOMPARE(p.modulation, qint8(2));
    QCOMPARE(p.useModulation, status == 1);
}

void TestShortTimeProfiles::frequencyStoreEntries()
{
    JobXml::FrequencyStoreEntry entry;
    const auto read = [&entry] { return ShortTimeProfile::fromFSE(entry, eShortTimeProfileBurst); };
    QCOMPARE(read().name, QStringLiteral("FSE"));
    QVERIFY(!read().useFrequency && !read().useModulation && read().type == eShortTimeProfileBurst);
    auto& settings = entry.EditShortTimeSettings();
    auto& system = entry.EditDemodulatorSettings().EditTransmissionSystem();
    // One end alone: taken where both are not required, but not in use by itself.
    settings.SetRangeStartFrequency(1000.9);
    settings.SetSignalLengthMax(3);
    settings.SetBandwidthMin(4);
    system.SetBaudRateMax(5);
    system.SetShiftElement({JobXml::ShiftElement(), JobXml::ShiftElement()});
    system.EditShiftElement()[0].SetShiftMin(6);
    ShortTimeProfile p = read();
    QCOMPARE(p.frequencyMin, quint64(1000));
    QCOMPARE(p.durationMax, quint32(3));
    QVERIFY(!p.bandwidthMin && !p.symbolRateMax && !p.shiftMin);
    QVERIFY(!p.useFrequency && !p.useDuration && !p.useBandwidth && !p.useSymbolRate && !p.useShift);
    // Both ends without a flag are in use; the second shift is nobody's.
    settings.SetRangeStopFrequency(1e30);
    settings.SetSignalLengthMin(2);
    settings.SetBandwidthMax(5);
    settings.SetHopsPerSecond(7);
    system.SetBaudRateMin(4);
    system.EditShiftElement()[0].SetShiftMax(8);
    system.EditShiftElement()[1].SetShiftMax(99);
    system.SetMode(QStringLiteral("AM"));
    p = read();
    QCOMPARE(p.frequencyMax, std::numeric_limits<quint64>::max());
    QCOMPARE(p.shiftMax, quint32(8));
    QVERIFY(p.useFrequency && p.useDuration && p.useBandwidth && p.useHopRate && p.useModulation &&
            p.useSymbolRate && p.useShift);
    settings.SetRangeStartFrequency(-5);
    settings.SetUseRange(false);
    settings.SetUseHopsPerSecond(false);
    system.SetUseMode(false);
    p = read();
    QCOMPARE(p.frequencyMin, quint64(0));
    QVERIFY(!p.useFrequency && !p.useHopRate && !p.useModulation && p.hopRate > 0 && p.modulation == 2);
    fullProfile().toFSE(entry);
    QCOMPARE(system.GetShiftElement().size(), 2);
    QCOMPARE(system.GetShiftElement().at(1).GetShiftMax(), quint32(99));
}

/// What is no part of the other form.
void TestShortTimeProfiles::setupsAndDefaults()
{
    JobXml::FFP_Assignment bare;
    QCOMPARE(ShortTimeFFPAssignment::fromRGObject(bare).minCoverage, quint32(50));
    bare.SetMinCoverage(0);
    QCOMPARE(ShortTimeFFPAssignment::fromRGObject(bare).minCoverage, quint32(0));
    const ShortTimeFFPAssignment a = fullAssignment();
    ShortTimeFFPAssignment b;
    b.assignData(SigVConverter::CQueryHopperProduction::struProductionSetup{
        a.ffpGuid, a.tavikResourceId, a.radioId, a.enabled, true, a.minCoverage, a.profiles, 9, false});
    QVERIFY(b.autoRecording && b.setupValue == 9 && !b.setupFlag && b.profiles == a.profiles);
}

QTEST_GUILESS_MAIN(TestShortTimeProfiles)
#include "tst_shorttimeprofiles.moc"
