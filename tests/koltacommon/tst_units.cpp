#include <koltacommon/units.h>
#include <support/test.h>

#include <limits>
#include <random>
#include <tuple>

using Kolta::Quantity;

/// Frequencies as people write them.
class TestUnits : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void readsWhatPeopleWrite();
    void readsOtherQuantities();
    void readsRanges();
    void proposesWhatWasMeant();
    void writesWhatItReads();
};

void TestUnits::readsWhatPeopleWrite()
{
    const QPair<const char*, double> good[] = {{"98.1M", 98.1e6},
                                               {"98.1 MHz", 98.1e6},
                                               {"98.1e6", 98.1e6},
                                               {"300khz", 300e3},
                                               {" 2 G ", 2e9},
                                               {".5k", 500},
                                               {"7.", 7},
                                               {"0", 0},
                                               {"5 Hz", 5},
                                               {"9.81e1M", 98.1e6},
                                               {"98,5 MHz", 98.5e6},
                                               {"145,500 MHz", 145.5e6},
                                               {"0,125 kHz", 125},
                                               {"98.5\u00a0MHz", 98.5e6}};
    for (const auto& [text, hertz] : good)
        QCOMPARE(Kolta::hertzFromText(QString::fromUtf8(text)).value_or(-1), hertz);
    for (const char* bad : {"", "M", "Hz", "-1", "+1", "1 2", "1,500", "1MM", "1m Hz z", "98.1MHy", "inf",
                            "nan", "1e999", "0x10", "1e", ".", "1 000"})
        QVERIFY2(!Kolta::hertzFromText(QLatin1String(bad)), bad);
}

void TestUnits::readsOtherQuantities()
{
    const std::tuple<const char*, Quantity, const char*, double> texts[] = {
        {"98.5", Quantity::Frequency, "MHz", 98.5e6},
        {"98.5 kHz", Quantity::Frequency, "MHz", 98.5e3},
        {"20ms", Quantity::Duration, "", 0.02},
        {"7 µs", Quantity::Duration, "", 7e-6},
        {"1.5 min", Quantity::Duration, "", 90},
        {"250", Quantity::Duration, "ms", 0.25},
        {"2,4 kBaud", Quantity::SymbolRate, "", 2400},
        {"1.2M", Quantity::SymbolRate, "", 1.2e6},
        {"50/s", Quantity::Rate, "", 50},
        {"100 hops/s", Quantity::Rate, "", 100}};
    for (const auto& [text, quantity, plain, value] : texts) {
        const auto reading = Kolta::readQuantity(QString::fromUtf8(text), quantity, QLatin1String(plain));
        QVERIFY2(reading.isGood(), qPrintable(reading.problem));
        QCOMPARE(reading.value, value);
    }
}

void TestUnits::readsRanges()
{
    constexpr double kOpen = std::numeric_limits<double>::infinity();
    const std::tuple<const char*, double, double> texts[] = {{"30-88 MHz", 30e6, 88e6},
                                                             {"118 – 137 MHz", 118e6, 137e6},
                                                             {"9 kHz – 30 MHz", 9e3, 30e6},
                                                             {"30 MHz - 88", 30e6, 88e6},
                                                             {"118,1..137,2M", 118.1e6, 137.2e6},
                                                             {"30 to 88", 30e6, 88e6},
                                                             {"1e-3-5e-3 MHz", 1e3, 5e3},
                                                             {">20 MHz", 20e6, kOpen},
                                                             {"≤ 1 G", 0, 1e9},
                                                             {"20 MHz –", 20e6, kOpen},
                                                             {"– 30 MHz", 0, 30e6},
                                                             {"98.5 MHz", 98.5e6, 98.5e6}};
    for (const auto& [text, from, to] : texts) {
        const auto range =
            Kolta::readRange(QString::fromUtf8(text), Quantity::Frequency, QStringLiteral("MHz"));
        QVERIFY2(range.isGood(), qPrintable(range.problem));
        QCOMPARE(range.from, from);
        QVERIFY2(range.to == to, text);
        const auto again =
            Kolta::readRange(Kolta::rangeToText(from, to, Quantity::Frequency), Quantity::Frequency);
        QVERIFY2(again.isGood() && again.from == from && again.to == to, text);
    }
}

void TestUnits::proposesWhatWasMeant()
{
    const QPair<const char*, const char*> texts[] = {
        {"88-30 MHz", "did you mean 30 – 88 MHz?"}, {"98.5 MHy", "did you mean 98.5 MHz?"},
        {"98.5 MHz.", "did you mean 98.5 MHz?"},    {"1 000 kHz", "did you mean 1000 kHz?"},
        {"1,977,000", "did you mean 1977000 Hz?"},  {"1,500 kHz", "it could be 1.500 kHz or 1500 kHz"},
        {"-5 MHz", "did you mean 5 MHz?"},          {"5 apples", "known are Hz, kHz, MHz, GHz"},
        {"high", "expected one such as 98.5 MHz"},  {"30-88 apples", "known are Hz, kHz, MHz, GHz"}};
    for (const auto& [text, proposal] : texts) {
        const QString problem = Kolta::readRange(QString::fromUtf8(text), Quantity::Frequency).problem;
        QVERIFY2(problem.endsWith(QString::fromUtf8(proposal)), qPrintable(problem));
    }
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
