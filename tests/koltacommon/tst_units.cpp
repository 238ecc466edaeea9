#include <koltacommon/units.h>
#include <support/test.h>

#include <random>

/// Frequencies as people write them.
class TestUnits : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void readsWhatPeopleWrite();
    void writesWhatItReads();
};

void TestUnits::readsWhatPeopleWrite()
{
    const QPair<const char*, double> good[] = {
        {"98.1M", 98.1e6}, {"98.1 MHz", 98.1e6}, {"98.1e6", 98.1e6}, {"300khz", 300e3},
        {" 2 G ", 2e9},    {".5k", 500},         {"7.", 7},          {"0", 0},
        {"5 Hz", 5},       {"9.81e1M", 98.1e6}};
    for (const auto& [text, hertz] : good)
        QCOMPARE(Kolta::hertzFromText(QLatin1String(text)).value_or(-1), hertz);
    for (const char* bad : {"", "M", "Hz", "-1", "+1", "1 2", "1,5", "1MM", "1m Hz z", "98.1MHy", "inf",
                            "nan", "1e999", "0x10", "1e", ".", "1 000"})
        QVERIFY2(!Kolta::hertzFromText(QLatin1String(bad)), bad);
}

void TestUnits::writesWhatItReads()
{
    const QPair<double, const char*> texts[] = {
        {98.5e6, "98.5 MHz"}, {300e3, "300 kHz"},   {999.5, "999.5 Hz"}, {1e9, "1 GHz"},
        {0, "0 Hz"},          {2.5e12, "2500 GHz"}, {0.25, "0.25 Hz"},   {145762500, "145.7625 MHz"}};
    for (const auto& [hertz, text] : texts)
        QCOMPARE(Kolta::hertzToText(hertz), QLatin1String(text));
    QCOMPARE(Kolta::megahertzToText(1000), QStringLiteral("0.001"));
    QCOMPARE(Kolta::megahertzToText(145762500), QStringLiteral("145.7625"));
    std::mt19937_64 random(1);
    std::uniform_real_distribution<double> exponents(-3, 14);
    for (int i = 0; i < 10000; ++i) {
        const double hertz = std::pow(10.0, exponents(random));
        QCOMPARE(Kolta::hertzFromText(Kolta::hertzToText(hertz)).value_or(-1), hertz);
    }
}

KOLTA_TEST(TestUnits);
#include "tst_units.moc"
