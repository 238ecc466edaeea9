#include "fuzz.h"

#include <koltacommon/convertproductionresultmap.h>
#include <koltacommon/shapecollectionitemmap.h>
#include <koltacommon/shorttimeffpassignmentitemmap.h>
#include <koltacommon/shorttimeprofileitemmap.h>
#include <koltacommon/shorttimeresultitemmap.h>
#include <koltacommon/shorttimevalues.h>

#include <distribution/mirroredtree.h>
#include <distribution/ownedtree.h>
#include <startup/errorhandler.h>

#include <map>
#include <string>
#include <tuple>

using namespace Kolta;
using values::ByteReader;
using values::Command;
using values::ValueBase;

namespace {

using Content = std::map<std::string, std::string>;

template<class Protocol>
Content requestsOf(const ItemMapWithRequests<Protocol>& map)
{
    Content content;
    for (const auto& [id, request] : map.GetPendingRequests()) {
        std::string key;
        values::AppendUuid(key, id);
        Protocol::AppendRequest(content[key], request);
    }
    return content;
}
Content requestsOf(const ValueBase&)
{
    return {};
}

/// Items and open requests as bytes: not every item equals itself.
template<class Map>
std::pair<Content, Content> contentOf(const Map& map)
{
    Content items;
    for (const auto& [key, item] : map.data()) {
        std::string field;
        Map::Traits::AppendField(field, key);
        items[field] = Map::Format::toStandardString(item);
    }
    return {items, requestsOf(map)};
}

template<class Map>
auto historyOf(const Map& map)
{
    std::vector<std::tuple<unsigned int, char, QString>> history;
    history.emplace_back(map.GetChangeNumber(), '\0', QString());
    for (std::size_t i = 0; i < map.GetChangeLog().Size(); ++i) {
        const auto& entry = map.GetChangeLog().At(i);
        history.emplace_back(entry.number, entry.kind, entry.key);
    }
    return history;
}

std::string written(const Command& command)
{
    std::string bytes;
    command.AddCommandString(bytes, values::eTransmitPlain);
    return bytes;
}

/// The command that was written as `bytes`.
std::unique_ptr<Command> commandOf(ValueBase& target, const std::string& bytes)
{
    ByteReader in(bytes.data(), bytes.size());
    auto command = values::ReadCommand(target, in, nullptr);
    Fuzz::require(command && in.AtEnd(), "a command that was written cannot be read");
    return command;
}

class Recorder : public values::ICommandRecorder
{
public:
    void OnCommand(ValueBase&, std::unique_ptr<Command> command) override
    {
        commands.push_back(written(*command));
    }
    std::vector<std::string> commands;
};

template<class Map>
void requireStateIsWhole(Map& map)
{
    Map plain, withPaths;
    for (Map* const again : {&plain, &withPaths}) {
        const auto flags = again == &plain ? values::eTransmitPlain : values::eTransmitTargetPath;
        std::string state;
        map.AddObjectStateStringForTransmission(state, static_cast<unsigned int>(flags));
        ByteReader in(state.data(), state.size());
        values::ValueHeader header;
        Fuzz::require(values::ReadValueHeader(in, header) && header.type == Map::type,
                      "the header of a state cannot be read");
        const auto run = [](Command& command) { command.Execute(); };
        Fuzz::require(values::ForEachCommand(*again, in, nullptr, run), "a state cannot be read");
        Fuzz::require(contentOf(*again) == contentOf(map), "a state brings another content");
    }
    Fuzz::require(plain.Compare(&map) == plain.Compare(&withPaths),
                  "a state brings what compares differently");
    map.GetStringValue();
}

/// A stream of commands: a mirror that repeats what a collection records, and another that executes the same
/// bytes, end like it.
template<class Map>
void runStream(Fuzz::Input& input)
{
    Map original, mirror, echo;
    Recorder recorder;
    original.InstallRecorder(&recorder);
    ByteReader in(input.rest(), static_cast<std::size_t>(input.restSize()));
    for (;;) {
        const char* const before = in.Position();
        const auto command = values::ReadCommand(original, in, nullptr);
        if (!command) {
            Fuzz::require(in.Position() == before, "a refused command was passed over");
            break;
        }
        const std::string bytes = written(*command);
        Fuzz::require(written(*commandOf(echo, bytes)) == bytes && written(*command->Clone()) == bytes,
                      "a command is written differently the second time");
        recorder.commands.clear();
        command->Execute();
        Fuzz::require(recorder.commands.size() <= 1, "one command is recorded as several");
        for (const std::string& recorded : recorder.commands) {
            commandOf(mirror, recorded)->Execute();
            Fuzz::outcome() += Fuzz::hex(recorded) + ' ';
        }
        commandOf(echo, bytes)->Execute();
    }
    Fuzz::require(contentOf(mirror) == contentOf(original), "recorded commands lead to another content");
    Fuzz::require(historyOf(mirror) == historyOf(original), "recorded commands are logged differently");
    Fuzz::require(contentOf(echo) == contentOf(original), "the same commands lead to another content");
    requireStateIsWhole(original);
    original.RemoveRecorder(&recorder);
}

/// Wishes and logs of a stranger, given to the trees of an owner and of a mirror: a wish that does not fit
/// changes nothing, and the mirror has what the owner has, once it was given the owner's state at the latest.
template<class Map>
void runStranger(Fuzz::Input& input)
{
    const QString root = QStringLiteral("/r"), path = QStringLiteral("/r/m");
    values::Tree owners, mirrors;
    distribution::ChangeCollector ownersChanges(owners), mirrorsChanges(mirrors);
    const Map& map = *owners.Emplace<Map>(path);
    const Map& mirror = *mirrors.Emplace<Map>(path);
    distribution::OwnedTree owned(ownersChanges, {root}, [] {});
    distribution::MirroredTree mirrored(mirrorsChanges,
                                        {[] {}, [](auto) {}, [](const QString&, const QString&) {}});
    mirrored.SetRoots({root});
    mirrored.TakeChanges();
    while (input.restSize() > 0) {
        const int kind = input.takeByte() % 3;
        const std::vector<char> piece = input.takePiece();
        const distribution::Bytes bytes(piece.begin(), piece.end());
        if (kind == 0) {
            const auto before = contentOf(map);
            const auto executed =
                owned.Execute({}, {distribution::CommandsChange(path, distribution::MakeContent(bytes))});
            Fuzz::require(executed.failures.empty() || (contentOf(map) == before && executed.changes.empty()),
                          "a refused wish changes something");
            for (const distribution::Change& change : executed.changes)
                mirrored.ApplyCommands(path, distribution::BytesOf(change.content), {});
        } else {
            if (kind == 1)
                mirrored.ApplyCommands(path, bytes, {});
            else
                mirrored.ApplyState(path, Map::type, bytes, {});
            mirrored.ApplyState(path, Map::type, distribution::BytesOf(owned.ReadCollection(path)), {});
        }
        Fuzz::require(contentOf(mirror) == contentOf(map), "the mirror has another content");
        Fuzz::require(mirrored.TakeChanges().empty(), "what a mirror repeats becomes a wish");
    }
}

template<class Map>
void run(int mode, Fuzz::Input& input)
{
    if (mode == 0)
        runStream<Map>(input);
    else
        runStranger<Map>(input);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    Startup::ErrorHandler::Instance().setMask(0);
    Fuzz::Input input(data, size);
    registerShortTimeValues();
    const int choice = input.takeByte() % 10;
    using Runner = void (*)(int, Fuzz::Input&);
    constexpr Runner runners[] = {run<ShortTimeProfileItemMap>, run<ShortTimeFFPAssignmentItemMap>,
                                  run<ShortTimeResultItemMap>, run<ShapeCollectionItemMap>,
                                  run<ConvertProductionResultMap>};
    runners[choice % 5](choice / 5, input);
    return 0;
}
