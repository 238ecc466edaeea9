#include <koltacommon/q9rprofiles.h>
#include <koltacommon/shorttimeffpassignment.h>
#include <koltacommon/shorttimeprofile.h>
#include <support/test.h>

#include <jobdescription/frequencystore.h>
#include <jobdescription/shorttime.h>

#include <limits>

using namespace Kolta;

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
    a.ffpGuid = "{7}"_s;
    a.tavikResourceId = 65535;
    a.radioId = 0x80000001;
    a.enabled = a.setupFlag = true;
    a.minCoverage = 50;
    a.profiles = QStringList{"A"_s, QStringLiteral(""), QString()};
    a.setupValue = -2;
    return a;
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
    void modulations()
    {
        for (qint8 code = 0; code < 8; ++code)
            QCOMPARE(stringToModulationType(modulationTypeToString(code)), code);
        for (const char* none : {"fsk2", "FSK2 ", "", "Unknown"})
            QCOMPARE(int(stringToModulationType(QLatin1String(none))), 0);
        for (int none : {-128, -1, 8, 127})
            QCOMPARE(modulationTypeToString(static_cast<qint8>(none)), "Unknown"_s);
    }

    void equality()
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
        // Whatever byte of it is changed, of whatever member but the hop rate, it is another profile.
        const std::string bytes = ShortTimeProfile_ItemFormat::toStandardString(fullProfile());
        for (std::size_t i = 5; i < bytes.size(); ++i) {
            std::string other = bytes;
            other[i] = static_cast<char>(other[i] ^ 1);
            const char* at = other.data();
            ShortTimeProfile read;
            if (i < 9 || !ShortTimeProfile_ItemFormat::fromCharStream(&at, read)) // the length of the name
                continue;
            read.hopRate = fullProfile().hopRate;
            read.useHopRate = read.useSymbolRate = true;
            const bool isSame = ShortTimeProfile_ItemFormat::toStandardString(read) == bytes;
            QVERIFY2((read == fullProfile()) == isSame, qPrintable(QString::number(i)));
        }
    }

    void profileFiles_data()
    {
        const Rows<int, QVector<quint64>> row("status expected"); // of a text: in use, minimum, maximum
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

    void profileFiles()
    {
        const QString text = QString::fromLatin1(QTest::currentDataTag());
        QFETCH(int, status);
        QFETCH(QVector<quint64>, expected);
        const VESK_Q9R::TextElement range{text, status};
        VESK_Q9R::Profile source;
        source.frequencyRange = source.signalDurationRange = source.bandwidthRange = source.symbolrateRange =
            source.shiftRange = range;
        source.hopRate = {0.5, status};
        source.modulationType = {"AM"_s, status};
        const auto profiles = ShortTimeProfile::fromQ9RProfile({{source}}, eShortTimeProfileIgnore);
        QCOMPARE(profiles.size(), 1);
        const ShortTimeProfile& p = profiles.first();
        QCOMPARE(p.name, "Q9R_Profile"_s);
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

    void frequencyStoreEntries()
    {
        JobXml::FrequencyStoreEntry entry;
        const auto read = [&entry] { return ShortTimeProfile::fromFSE(entry, eShortTimeProfileBurst); };
        QCOMPARE(read().name, "FSE"_s);
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
        system.SetMode("AM"_s);
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
    void setupsAndDefaults()
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
};

KOLTA_TEST(TestShortTimeProfiles);
#include "tst_shorttimeprofiles.moc"
