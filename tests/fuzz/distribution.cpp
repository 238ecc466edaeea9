#include "fuzz.h"

#include <distribution/messages.h>
#include <distribution/statetransfer.h>
#include <distribution/textdelta.h>
#include <distribution/topics.h>

#include <algorithm>
#include <string>

/// Messages of a distributed branch, and the runs of a delta. The first byte chooses: runs, a snapshot, or a
/// message, which is read as a topic, too. Whatever is accepted comes out again byte for byte.

using namespace distribution;

namespace {

template<class Message>
void requireSame(const std::optional<Message>& message, const Bytes& bytes)
{
    // A newer minor version, and what it has added at the end of the claim's block, are not repeated.
    const bool newer = bytes[1] != 0 || bytes[0] == char(MessageKind::Live);
    if (message && !newer)
        Fuzz::require(Encode(*message) == bytes, "a message did not come out as it went in");
    else if (message)
        Fuzz::require(!Encode(*message).empty(), "a message was lost");
}

void checkLog(const Bytes& bytes)
{
    const auto log = DecodeLog(bytes);
    if (!log)
        return;
    values::ByteReader in = log->entries;
    for (quint32 i = 0; i < log->count; ++i) {
        const char* const start = in.Position();
        const auto entry = DecodeEntry(in);
        if (entry)
            Fuzz::require(EncodeEntry(*entry) == Bytes(start, in.Position()), "an entry came out otherwise");
    }
    Fuzz::require(in.AtEnd(), "a log message has more than its entries");
}

void checkRuns(Fuzz::Input& in)
{
    const std::vector<char> piece = in.takePiece();
    const Bytes from(piece.begin(), piece.end());
    const Bytes rest(in.rest(), static_cast<std::size_t>(in.restSize()));
    constexpr std::size_t most = 100000;
    const auto made = ApplyRuns(from, rest, most);
    Fuzz::require(!made || made->size() <= most, "runs made more than is allowed");
    Fuzz::require(ApplyRuns(from, MakeRuns(from, rest), rest.size()) == rest, "runs made another text");
}

void checkState(const Bytes& bytes)
{
    const auto part = DecodeStatePart(bytes);
    requireSame(part, bytes);
    StateAssembler assembler(1U << 20U);
    StateAssembler::State state;
    if (part)
        assembler.Take(*part, state);
}

/// The head's epoch means nothing here, and is not kept.
void checkPresence(const Bytes& bytes)
{
    const auto presence = DecodePresence(bytes);
    if (!presence)
        return;
    const auto again = DecodePresence(Encode(*presence));
    Fuzz::require(again && again->host == presence->host && again->program == presence->program,
                  "a presence came out otherwise");
}

/// Each branch has one topic of a kind, or two owners could publish the same name.
void checkTopic(const Bytes& bytes)
{
    const Topics topics;
    const auto topic = topics.Parse(bytes);
    if (!topic)
        return;
    const auto made = [&]() -> Bytes {
        switch (topic->kind) {
        case TopicKind::Live:
            return topics.Live(topic->branch);
        case TopicKind::Beat:
            return topics.Beat(topic->branch);
        case TopicKind::Log:
            return topics.Log(topic->branch, topic->channel);
        case TopicKind::State:
            return topics.State(topic->branch, topic->channel) + '/' + std::to_string(topic->part);
        case TopicKind::Up:
            return topics.Up(topic->branch, topic->user, topic->session);
        case TopicKind::Presence:
            return topics.Presence(topic->user, topic->session);
        }
        return {};
    };
    Fuzz::require(made() == bytes, "a topic came out otherwise");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    Fuzz::Input in(data, size);
    const int what = in.takeByte();
    if (what == 0) {
        checkRuns(in);
        return 0;
    }
    const Bytes bytes(in.rest(), static_cast<std::size_t>(in.restSize()));
    if (what == 1) {
        if (const auto snapshot = DecodeSnapshot(bytes))
            Fuzz::require(EncodeSnapshot(*snapshot) == bytes, "a snapshot came out otherwise");
        return 0;
    }
    checkTopic(bytes);
    const auto kind = KindOf(bytes);
    if (!kind || bytes.size() < 2)
        return 0;
    requireSame(DecodeLive(bytes), bytes);
    requireSame(DecodeBeat(bytes), bytes);
    requireSame(DecodeWish(bytes), bytes);
    requireSame(DecodeAsk(bytes), bytes);
    checkPresence(bytes);
    checkLog(bytes);
    checkState(bytes);
    return 0;
}
