#include "fuzz.h"

#include <koltacommon/convertproductionresultmap.h>
#include <koltacommon/shapecollectionitemmap.h>
#include <koltacommon/shorttimeffpassignmentitemmap.h>
#include <koltacommon/shorttimeprofileitemmap.h>
#include <koltacommon/shorttimeresultitemmap.h>

#include <startup/errorhandler.h>
#include <values/localreplicapair.h>

#include <cstring>
#include <map>
#include <optional>
#include <string>
#include <tuple>

using namespace Kolta;
using values::ByteReader;
using values::Command;
using values::ReplicaLink;
using values::ValueBase;

namespace {

using Bytes = std::vector<char>;
using Content = std::map<std::string, std::string>;

const QUuid ownId(0x00112233, 0x4455, 0x6677, 0x88, 0x99, 0xaa, 0xbb, 0xcc, 0xdd, 0xee, 0xff);
const QUuid peerId(0xffffffff, 0x4455, 0x6677, 0x88, 0x99, 0xaa, 0xbb, 0xcc, 0xdd, 0xee, 0x01);

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

/// Two that wrote at once may hold different items under a key where these count as equal.
template<class Map>
bool areAlike(const Map& a, const Map& b)
{
    if (requestsOf(a) != requestsOf(b) || a.Size() != b.Size())
        return false;
    for (const auto& [key, item] : a.data()) {
        if (!b.Contains(key))
            return false;
        const auto& other = b.At(key);
        if (Map::Format::toStandardString(item) != Map::Format::toStandardString(other) && item != other &&
            other != item)
            return false;
    }
    return true;
}

ByteReader readerOf(const Bytes& bytes)
{
    return ByteReader(bytes.data(), bytes.size());
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

/// Executes commands up to the first that does not fit.
void execute(ValueBase& target, const Bytes& bytes)
{
    ByteReader in = readerOf(bytes);
    while (const auto command = values::ReadCommand(target, in, nullptr))
        command->Execute();
}

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

/// A peer that says anything: messages as they come, and bodies in messages that fit.
class Stranger
{
public:
    explicit Stranger(values::LinkRole other) : m_other(other) {}

    Bytes group(const Bytes& body) const { return message(3, m_number + 1, body); }
    /// What a secondary or a primary end begins with.
    Bytes greeting(int type, const Bytes& body) const
    {
        std::string all;
        if (m_other == values::LinkRole::Primary) {
            values::AppendInteger(all, quint16(0x0101));
            values::AppendUuid(all, peerId);
            return Bytes(all.begin(), all.end());
        }
        values::AppendInteger(all, quint32(10));
        values::AppendInteger(all, quint8(1));
        values::AppendInteger(all, qint32(type));
        values::AppendInteger(all, quint8(0));
        values::AppendInteger(all, quint32(0));
        all.append(body.data(), body.size());
        return message(2, m_number, Bytes(all.begin(), all.end()));
    }
    /// Takes down what number the other end has come to.
    void noteTaken(const Bytes& said)
    {
        quint64 number = 0;
        if (said.size() > sizeof number && (said[0] == 2 || said[0] == 3)) {
            std::memcpy(&number, &said[1], sizeof number);
            m_number = std::max(m_number, number);
        }
    }

private:
    static Bytes message(quint8 kind, quint64 number, const Bytes& body)
    {
        std::string all;
        values::AppendInteger(all, kind);
        values::AppendInteger(all, number);
        values::AppendInteger(all, quint64(0));
        if (kind == 2)
            values::AppendUuid(all, peerId);
        values::AppendInteger(all, static_cast<quint32>(body.size()));
        all.append(body.data(), body.size());
        return Bytes(all.begin(), all.end());
    }

    values::LinkRole m_other;
    quint64 m_number = 0;
};

/// A link to a stranger: what does not fit changes nothing, and a witness behind an honest link always has
/// what the collection has.
template<class Map>
void runStranger(Fuzz::Input& input)
{
    const auto role = input.takeByte() % 2 == 0 ? values::LinkRole::Primary : values::LinkRole::Secondary;
    Map map, witness;
    values::Replica replica(map, ownId), witnessReplica(witness);
    values::LocalReplicaPair honest(replica, witnessReplica);
    std::optional<ReplicaLink> link;
    std::optional<Stranger> stranger;
    const auto say = [&](const Bytes& message) {
        const auto before = contentOf(map);
        const unsigned int number = map.GetChangeNumber();
        if (link->Receive(message.data(), message.size())) {
            stranger->noteTaken(message);
            return;
        }
        Fuzz::require(contentOf(map) == before && map.GetChangeNumber() == number,
                      "a refused message changes something");
        Fuzz::require(link->IsBroken() && !link->HasOutgoing(), "a refused message leaves the link usable");
    };
    while (input.restSize() > 0) {
        if (!link || link->IsBroken()) {
            link.reset();
            link.emplace(replica, role);
            stranger.emplace(role);
        }
        const int kind = input.takeByte() % 5;
        const Bytes piece = input.takePiece();
        if (kind == 0)
            say(piece);
        else if (kind == 1)
            say(stranger->group(piece));
        else if (kind == 2)
            say(stranger->greeting(Map::type, piece));
        else if (kind == 3)
            execute(map, piece);
        else
            link->TakeOutgoing();
        Fuzz::require(honest.Deliver(), "a stranger breaks another link");
        Fuzz::require(contentOf(witness) == contentOf(map), "a witness has another content");
    }
    requireStateIsWhole(map);
}

/// Writers at both ends of a link, whose messages are carried when the input says so.
template<class Map>
void runWriters(Fuzz::Input& input)
{
    Map first, second;
    values::Replica firstReplica(first, ownId), secondReplica(second, peerId);
    std::optional<values::LocalReplicaPair> pair(std::in_place, firstReplica, secondReplica);
    const auto carry = [](ReplicaLink& from, ReplicaLink& to) {
        const std::string message = from.TakeOutgoing();
        Fuzz::require(message.empty() || to.Receive(message), "an own message does not fit");
    };
    while (input.restSize() > 0) {
        const int kind = input.takeByte() % 8;
        if (kind < 4) {
            Map& map = kind % 2 == 0 ? first : second;
            const Bytes piece = input.takePiece();
            Map other;
            execute(kind < 2 ? map : other, piece);
            if (kind >= 2)
                map.Assign(other);
        } else if (kind == 4) {
            carry(pair->GetPrimary(), pair->GetSecondary());
        } else if (kind == 5) {
            carry(pair->GetSecondary(), pair->GetPrimary());
        } else if (kind == 6) {
            Fuzz::require(pair->Deliver(), "the link broke");
        } else {
            pair.reset();
            pair.emplace(firstReplica, secondReplica);
        }
    }
    Fuzz::require(pair->Deliver(), "the link broke");
    Fuzz::require(areAlike(first, second), "the replicas differ");
}

template<class Map>
void run(int mode, Fuzz::Input& input)
{
    if (mode == 0)
        runStream<Map>(input);
    else if (mode == 1)
        runStranger<Map>(input);
    else
        runWriters<Map>(input);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    Startup::ErrorHandler::Instance().setMask(0);
    Fuzz::Input input(data, size);
    const int choice = input.takeByte() % 15;
    using Runner = void (*)(int, Fuzz::Input&);
    constexpr Runner runners[] = {run<ShortTimeProfileItemMap>, run<ShortTimeFFPAssignmentItemMap>,
                                  run<ShortTimeResultItemMap>, run<ShapeCollectionItemMap>,
                                  run<ConvertProductionResultMap>};
    runners[choice % 5](choice / 5, input);
    return 0;
}
