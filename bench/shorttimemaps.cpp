#include "figure.h"

#include <koltacommon/shorttimeprofileitemmap.h>
#include <support/heapbytes.h>
#include <values/command.h>

#include <QBuffer>
#include <QDataStream>

#include <cstring>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace Bench {

namespace {

using Kolta::ShortTimeProfile;
using Kolta::ShortTimeProfileItemMap;
using PlainMap = std::unordered_map<QString, ShortTimeProfile>;

constexpr int kSome = 10000;
constexpr int kMany = 100000;

ShortTimeProfile profileNumber(int number, int version)
{
    ShortTimeProfile profile;
    profile.name = QStringLiteral("Profile %1").arg(number, 6, 10, QLatin1Char('0'));
    profile.useFrequency = profile.useBandwidth = profile.useHopRate = profile.useSymbolRate = true;
    profile.frequencyMin = 30000000 + 25000 * static_cast<quint64>(number);
    profile.frequencyMax = profile.frequencyMin + 5000000;
    profile.bandwidthMin = 20000;
    profile.bandwidthMax = 25000;
    profile.hopRate = 100 + version;
    profile.symbolRateMin = 9600;
    profile.symbolRateMax = 19200;
    profile.modulation = static_cast<qint8>(number % 8);
    return profile;
}

std::vector<ShortTimeProfile> profiles(int count, int version = 0)
{
    std::vector<ShortTimeProfile> all;
    all.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i)
        all.push_back(profileNumber(i, version));
    return all;
}

/// The members as a careful author would stream them.
void write(QDataStream& out, const ShortTimeProfile& p)
{
    out << qint8(1) << p.name << p.useFrequency << p.frequencyMin << p.frequencyMax << p.useDuration
        << p.durationMin << p.durationMax << p.useBandwidth << p.bandwidthMin << p.bandwidthMax
        << p.useHopRate << p.hopRate << p.useSymbolRate << p.symbolRateMin << p.symbolRateMax << p.useShift
        << p.shiftMin << p.shiftMax << p.useModulation << p.modulation << p.hopperFlag << qint8(p.type);
}

void read(QDataStream& in, ShortTimeProfile& p)
{
    qint8 version = 0;
    qint8 type = 0;
    in >> version >> p.name >> p.useFrequency >> p.frequencyMin >> p.frequencyMax >> p.useDuration >>
        p.durationMin >> p.durationMax >> p.useBandwidth >> p.bandwidthMin >> p.bandwidthMax >>
        p.useHopRate >> p.hopRate >> p.useSymbolRate >> p.symbolRateMin >> p.symbolRateMax >> p.useShift >>
        p.shiftMin >> p.shiftMax >> p.useModulation >> p.modulation >> p.hopperFlag >> type;
    p.type = static_cast<Kolta::eShortTimeProfileType>(type);
}

/// Writes down the bytes of every command.
class Recorder : public values::ICommandRecorder
{
public:
    void OnCommand(values::ValueBase&, std::unique_ptr<values::Command> command) override
    {
        command->AddCommandString(bytes, values::eTransmitPlain);
    }
    std::string bytes;
};

/// Two versions of the same profiles, so that each setting of all of them changes all.
struct Versions
{
    std::vector<ShortTimeProfile> items[2] = {profiles(kSome, 0), profiles(kSome, 1)};
    int current = 0;
    const std::vector<ShortTimeProfile>& next() { return items[current = 1 - current]; }
};

struct RecordedMap
{
    RecordedMap() { map.InstallRecorder(&recorder); }
    void setAll()
    {
        recorder.bytes.clear();
        for (const ShortTimeProfile& profile : versions.next())
            map.SetAt(profile.name, profile);
    }
    /// The commands that set all profiles of the next version.
    const std::string& commands()
    {
        setAll();
        return recorder.bytes;
    }

    Versions versions;
    Recorder recorder;
    ShortTimeProfileItemMap map;
};

struct PlainFloor
{
    void setAll()
    {
        bytes.clear();
        QBuffer buffer;
        buffer.open(QIODevice::WriteOnly);
        QDataStream stream(&buffer);
        for (const ShortTimeProfile& profile : versions.next()) {
            map.insert_or_assign(profile.name, profile);
            buffer.seek(0);
            write(stream, profile);
            bytes.append(buffer.data().constData(), static_cast<std::size_t>(buffer.pos()));
        }
    }

    Versions versions;
    std::string bytes;
    PlainMap map;
};

Sides setAtRecording()
{
    const auto library = std::make_shared<RecordedMap>();
    const auto floor = std::make_shared<PlainFloor>();
    library->setAll();
    floor->setAll();
    return {timed(
                [library] {
                    library->setAll();
                    require(library->recorder.bytes.size() > std::size_t(kSome) * 100,
                            "nothing was recorded");
                },
                kSome),
            timed(
                [floor] {
                    floor->setAll();
                    require(floor->bytes.size() > std::size_t(kSome) * 75, "nothing was encoded");
                },
                kSome)};
}

/// Recorded commands of two versions, and where the item fields are in them.
struct Recording
{
    Recording()
    {
        RecordedMap source;
        source.setAll();
        for (int i : {0, 1}) {
            bytes[i] = source.commands();
            values::ByteReader in(bytes[i].data(), bytes[i].size());
            values::CommandHeader header;
            while (values::ReadCommandHeader(in, header)) {
                QString key;
                values::ByteReader payload = in;
                require(payload.ReadText(key) && payload.Skip(1), "a command is not as expected");
                fields[i].push_back(static_cast<std::size_t>(payload.Position() - bytes[i].data()));
                in.Skip(header.payload);
            }
        }
    }
    const std::string& next() { return bytes[current = 1 - current]; }

    std::string bytes[2];
    std::vector<std::size_t> fields[2];
    int current = 0;
};

Sides replay()
{
    struct World
    {
        Recording library;
        Recording floor;
        ShortTimeProfileItemMap map;
        PlainMap plain;
    };
    const auto world = std::make_shared<World>();
    const auto executeAll = [world] {
        const std::string& bytes = world->library.next();
        const unsigned int before = world->map.GetChangeNumber();
        values::ForEachCommand(world->map, values::ByteReader(bytes.data(), bytes.size()), nullptr,
                               [](values::Command& command) { command.Execute(); });
        require(world->map.GetChangeNumber() - before == kSome, "not every command changed the map");
    };
    const auto decodeAll = [world] {
        const std::string& bytes = world->floor.next();
        QByteArray raw = QByteArray::fromRawData(bytes.data(), static_cast<int>(bytes.size()));
        QBuffer buffer(&raw);
        buffer.open(QIODevice::ReadOnly);
        QDataStream stream(&buffer);
        for (const std::size_t field : world->floor.fields[world->floor.current]) {
            buffer.seek(static_cast<qint64>(field + sizeof(quint32)));
            ShortTimeProfile profile;
            read(stream, profile);
            world->plain.insert_or_assign(profile.name, profile);
        }
        require(world->plain.size() == kSome, "not every profile was decoded");
    };
    executeAll();
    decodeAll();
    return {timed(executeAll, kSome), timed(decodeAll, kSome)};
}

/// A map's state is written and executed on an empty map.
class StateTransfer
{
public:
    StateTransfer(int count, int /*number*/)
    {
        for (const ShortTimeProfile& profile : profiles(count))
            m_map.Add(profile);
    }
    /// As a link does it: what does not fit as a whole is not executed at all.
    void work()
    {
        std::string state;
        m_map.AddObjectStateStringForTransmission(state, values::eTransmitPlain);
        ShortTimeProfileItemMap mirror;
        values::ByteReader in(state.data(), state.size());
        values::ValueHeader header;
        std::size_t commands = 0;
        const auto count = [&commands](const values::Command&) { ++commands; };
        require(values::ReadValueHeader(in, header) && values::ForEachCommand(mirror, in, nullptr, count),
                "a state is not as expected");
        mirror.ExpectItems(commands);
        values::ForEachCommand(mirror, in, nullptr, [](values::Command& command) { command.Execute(); });
        require(mirror.Size() == m_map.Size(), "the mirror is not complete");
    }

private:
    ShortTimeProfileItemMap m_map;
};

template<class Map, class Add>
double bytesOf(const Add& add)
{
    const qint64 before = heapBytes();
    Map map;
    for (int i = 0; i < kMany; ++i)
        add(map, profileNumber(i, 0));
    return static_cast<double>(heapBytes() - before);
}

Sides memory()
{
    const auto library = [] {
        return bytesOf<ShortTimeProfileItemMap>(
            [](ShortTimeProfileItemMap& map, const ShortTimeProfile& profile) { map.Add(profile); });
    };
    const auto plain = [] {
        return bytesOf<PlainMap>(
            [](PlainMap& map, const ShortTimeProfile& profile) { map.emplace(profile.name, profile); });
    };
    return {library, plain};
}

const bool setAtAdded =
    addFigure({"map_setat_recording_vs_floor",
               "std::unordered_map::insert_or_assign plus QDataStream encoding into a std::string", 1.6,
               Unit::Time, setAtRecording});
const bool replayAdded =
    addFigure({"map_replay_vs_floor", "QDataStream decoding of the same bytes plus insert_or_assign", 1.6,
               Unit::Time, replay});
const bool stateAdded = addFigure({"map_state_growth_at_equal_bytes", kOfTenths, 1.25, Unit::Time,
                                   [] { return growthAtEqualBytes<StateTransfer>(kMany); }});
const bool memoryAdded = addFigure(
    {"map_memory_vs_plain", "the same 100,000 profiles in a std::unordered_map", 1.3, Unit::Bytes, memory});

} // namespace

} // namespace Bench
