#include <simulation/resourcegenerator.h>

#include <koltacommon/servernodes.h>
#include <resourcemodel/tunerclasses.h>

#include <QHash>
#include <QUuid>

#include <random>

namespace KoltaSimulation {

using RESOURCEMANAGEMENT::ProcessingUnit;
using RESOURCEMANAGEMENT::ResourceOverview;
using RESOURCEMANAGEMENT::StorageUnit;
using RESOURCEMANAGEMENT::TavikResource;
using RESOURCEMANAGEMENT::Tuner;

namespace {

struct TunerKind
{
    const char* type;
    const char* tunerClass; ///< of the sample
    const char* options;
    double minFrequency; ///< Hz, as all below
    double maxFrequency;
    double softwareBandwidth;
    double hardwareBandwidth; ///< 0 for none
};

constexpr TunerKind kTunerKinds[] = {{"KW", "HF", "HF,AM,SP", 9e3, 3e7, 1e6, 0.0},
                                     {"ZELM", "Basic", "VRTQ,O2,PS", 2e7, 3e9, 5e6, 2e7},
                                     {"EB", "Wide", "VRTQ,SP", 2e7, 6e9, 1e7, 8e7},
                                     {"DX", "Direction finding", "O2,DF,GPS", 1e6, 1.8e10, 2e7, 5e8}};

/// Every unit of the sample works, but for one of this server; more would be no sample of a day's work.
constexpr int kNumberThatLacksAUnit = 4;

// One stream of numbers per kind of resource, so that no two share a GUID.
constexpr quint32 kTunerStream = 1;
constexpr quint32 kProcessingUnitStream = 2;
constexpr quint32 kStorageUnitStream = 3;

std::mt19937 randomFor(quint32 stream, int number, quint32 seed)
{
    std::seed_seq sequence{seed, stream, static_cast<quint32>(number)};
    return std::mt19937(sequence);
}

quint32 next(std::mt19937& random)
{
    return static_cast<quint32>(random());
}

QString randomGuid(std::mt19937& random)
{
    const quint32 a = next(random);
    const quint32 b = next(random);
    const quint32 c = next(random);
    const quint32 d = next(random);
    const auto byte = [](quint32 word, int index) { return static_cast<uchar>(word >> (8 * index)); };
    return QUuid(a, static_cast<ushort>(b), static_cast<ushort>((b >> 20) | 0x4000),
                 static_cast<uchar>((c & 0x3F) | 0x80), byte(c, 1), byte(c, 2), byte(c, 3), byte(d, 0),
                 byte(d, 1), byte(d, 2), byte(d, 3))
        .toString();
}

void fillIdentity(TavikResource& identity, std::mt19937& random, const QString& kind, int number, int firstId)
{
    identity.SetGUID(randomGuid(random));
    identity.SetName(QStringLiteral("%1-%2").arg(kind).arg(number, 5, 10, QLatin1Char('0')));
    identity.SetDisplayName(QStringLiteral("%1 %2").arg(kind).arg(number + 1));
    identity.SetAddress(
        QStringLiteral("10.%1.%2.%3:5555").arg(number / 62500).arg(number / 250 % 250).arg(number % 250 + 1));
    identity.SetResourceID(firstId + number);
}

/// Puts generated tuners, of which the classes know nothing, into these.
void classify(Installation& installation)
{
    const QString node = Kolta::ServerNodes::name(Kolta::ServerNodes::eTunerClasses);
    RESOURCEMANAGEMENT::TunerClassOverview classes;
    classes.SetXmlString(installation.furtherOverviews().value(node), true);
    QHash<QString, QVector<QString>> ids;
    for (const Tuner& tuner : installation.resources().GetTuner())
        ids[tuner.GetType()].append(tuner.GetTavikResource().GetAddress());
    QHash<QString, QString> types;
    for (const TunerKind& kind : kTunerKinds)
        types.insert(QLatin1String(kind.tunerClass), QLatin1String(kind.type));
    for (auto& tunerClass : classes.EditTunerClass())
        tunerClass.SetTunerID(ids.value(types.value(tunerClass.GetName())));
    installation.setFurtherOverview(node, classes.GetXmlString());
}

} // namespace

Tuner makeTuner(int number, quint32 seed)
{
    std::mt19937 random = randomFor(kTunerStream, number, seed);
    const TunerKind& kind = kTunerKinds[random() % (sizeof kTunerKinds / sizeof kTunerKinds[0])];
    const QString type = QLatin1String(kind.type);
    Tuner tuner;
    fillIdentity(tuner.EditTavikResource(), random, type, number, 1000);
    tuner.SetType(type);
    tuner.SetSerialNumber(
        QStringLiteral("%1.%2").arg(100000 + random() % 900000).arg(number, 5, 10, QLatin1Char('0')));
    tuner.SetAccessible(number % 10 != 7);
    tuner.SetIdle(number % 10 != 3);
    tuner.SetOptions(QLatin1String(kind.options));
    tuner.SetMinFrequency(kind.minFrequency);
    tuner.SetMaxFrequency(kind.maxFrequency);
    tuner.SetMaxSWBandwidth(kind.softwareBandwidth);
    if (kind.hardwareBandwidth > 0.0)
        tuner.SetMaxHWBandwidth(kind.hardwareBandwidth);
    tuner.SetSupportsHardwareProcessing(kind.hardwareBandwidth > 0.0);
    tuner.SetSupportsPScan(random() % 2 == 0);
    tuner.SetConfiguration(
        QStringLiteral("<Settings><Antenna>A%1</Antenna><Attenuation>%2</Attenuation>"
                       "<Reference>%3</Reference></Settings>")
            .arg(random() % 16)
            .arg(random() % 40)
            .arg(random() % 2 == 0 ? QStringLiteral("internal") : QStringLiteral("external")));
    return tuner;
}

ResourceOverview makeResources(int tunerCount, quint32 seed)
{
    ResourceOverview overview;
    overview.SetNumberOfTuners(tunerCount);
    overview.EditTuner().reserve(tunerCount);
    for (int i = 0; i < tunerCount; ++i)
        overview.EditTuner().append(makeTuner(i, seed));
    for (int i = 0; i < qMax(1, tunerCount / 40); ++i) {
        std::mt19937 random = randomFor(kProcessingUnitStream, i, seed);
        ProcessingUnit unit;
        fillIdentity(unit.EditTavikResource(), random, QStringLiteral("PU"), i, 500000);
        unit.SetRegistration(ProcessingUnit::eRegistered);
        unit.SetLocalStorage(i % 2 == 0 ? ProcessingUnit::eOffersLocalStorage
                                        : ProcessingUnit::eNoLocalStorage);
        overview.EditProcessingUnit().append(unit);
    }
    for (int i = 0; i < qMax(1, tunerCount / 100); ++i) {
        std::mt19937 random = randomFor(kStorageUnitStream, i, seed);
        StorageUnit unit;
        fillIdentity(unit.EditTavikResource(), random, QStringLiteral("SU"), i, 700000);
        unit.SetRegistration(StorageUnit::eRegistered);
        unit.SetCapacity(8e12);
        unit.SetFreeCapacity(1e9 * (next(random) % 8000));
        overview.EditStorageUnit().append(unit);
    }
    return overview;
}

Installation makeInstallation(Installation kind, int number, int tunerCount)
{
    kind.setServerName(Installation::usualName(number));
    kind.setHostName(QStringLiteral("station-%1.kolta.example").arg(number));
    kind.setTellingErrors(number == kNumberThatLacksAUnit);
    if (tunerCount > 0) {
        kind.setResources(makeResources(tunerCount, static_cast<quint32>(number)));
        classify(kind);
    } else if (number != kNumberThatLacksAUnit) {
        ResourceOverview resources = kind.resources();
        for (ProcessingUnit& unit : resources.EditProcessingUnit())
            unit.SetRegistration(ProcessingUnit::eRegistered);
        kind.setResources(resources);
    }
    return kind;
}

} // namespace KoltaSimulation
