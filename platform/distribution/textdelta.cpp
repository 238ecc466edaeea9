#include <distribution/textdelta.h>

#include <algorithm>
#include <cstring>
#include <vector>

namespace distribution {

namespace {

enum eRunKind : quint8 { eCopyRun = 0, eInsertRun = 1 };
constexpr std::size_t kBlockBytes = 32;
/// A middle of fewer bytes is inserted as it is.
constexpr std::size_t kSmallMiddle = 4 * kBlockBytes;
/// At once, which takes a fraction of the time that byte by byte does.
constexpr std::size_t kComparedBytes = 1024;
/// Runs of a head, one insertion and a tail.
constexpr std::size_t kSpliceRuns = 3;
constexpr std::size_t kLargestSplice = 65536;

std::size_t commonHead(const Bytes& a, const Bytes& b)
{
    const std::size_t limit = std::min(a.size(), b.size());
    std::size_t head = 0;
    while (limit - head >= kComparedBytes && std::memcmp(&a[head], &b[head], kComparedBytes) == 0)
        head += kComparedBytes;
    while (head < limit && a[head] == b[head])
        ++head;
    return head;
}

std::size_t commonTail(const Bytes& a, const Bytes& b, std::size_t limit)
{
    const char* const endOfA = a.data() + a.size();
    const char* const endOfB = b.data() + b.size();
    std::size_t tail = 0;
    while (limit - tail >= kComparedBytes &&
           std::memcmp(endOfA - tail - kComparedBytes, endOfB - tail - kComparedBytes, kComparedBytes) == 0)
        tail += kComparedBytes;
    while (tail < limit && *(endOfA - tail - 1) == *(endOfB - tail - 1))
        ++tail;
    return tail;
}

/// Sum over a window of bytes that can be moved on by one byte.
class RollingSum
{
public:
    explicit RollingSum(const char* at)
    {
        for (std::size_t i = 0; i < kBlockBytes; ++i)
            m_sum = m_sum * factor + byte(at[i]);
    }
    void Roll(char out, char in) { m_sum = (m_sum - byte(out) * highest()) * factor + byte(in); }
    quint32 Value() const noexcept { return m_sum; }

private:
    static constexpr quint32 factor = 0x01000193U;
    static quint32 byte(char c) { return static_cast<unsigned char>(c); }
    static constexpr quint32 highest()
    {
        quint32 power = 1;
        for (std::size_t i = 1; i < kBlockBytes; ++i)
            power *= factor;
        return power;
    }

    quint32 m_sum = 0;
};

/// Blocks of a text by their sums. Of blocks in one place the last is kept: a miss makes runs longer, not
/// wrong.
class BlockIndex
{
public:
    BlockIndex(const Bytes& text, std::size_t begin, std::size_t end)
    {
        std::size_t slots = 1;
        while (slots < 2 * ((end - begin) / kBlockBytes))
            slots *= 2;
        m_slots.assign(slots, Slot());
        for (std::size_t at = begin; at + kBlockBytes <= end; at += kBlockBytes) {
            const quint32 sum = RollingSum(text.data() + at).Value();
            slot(sum) = {sum, at};
        }
    }
    /// Where in the text a block with that sum may be; npos: nowhere.
    std::size_t Find(quint32 sum) const
    {
        const Slot& found = const_cast<BlockIndex*>(this)->slot(sum);
        return found.sum == sum ? found.at : Bytes::npos;
    }

private:
    struct Slot
    {
        quint32 sum = 0;
        std::size_t at = Bytes::npos;
    };
    Slot& slot(quint32 sum) { return m_slots[(sum ^ (sum >> 15U)) & (m_slots.size() - 1)]; }

    std::vector<Slot> m_slots;
};

class RunWriter
{
public:
    explicit RunWriter(const Bytes& to) : m_to(to) {}
    void Copy(std::size_t offset, std::size_t count)
    {
        if (count == 0)
            return;
        values::AppendInteger(m_runs, eCopyRun);
        values::AppendInteger(m_runs, static_cast<quint32>(offset));
        values::AppendInteger(m_runs, static_cast<quint32>(count));
    }
    void Insert(std::size_t begin, std::size_t end)
    {
        if (begin == end)
            return;
        values::AppendInteger(m_runs, eInsertRun);
        values::AppendInteger(m_runs, static_cast<quint32>(end - begin));
        m_runs.append(m_to, begin, end - begin);
    }
    Bytes Take() { return std::move(m_runs); }

private:
    const Bytes& m_to;
    Bytes m_runs;
};

/// The runs for `to` from `begin` to `end`, out of blocks of `from` between `begin` and `fromEnd`; the old
/// text has `before` more bytes in front of `from`.
void writeMiddle(RunWriter& runs, std::size_t before, const Bytes& from, std::size_t fromEnd, const Bytes& to,
                 std::size_t begin, std::size_t end)
{
    std::size_t written = begin;
    if (fromEnd - begin >= kBlockBytes && end - begin > kSmallMiddle) {
        const BlockIndex index(from, begin, fromEnd);
        std::size_t at = begin;
        RollingSum sum(to.data() + at);
        while (at + kBlockBytes <= end) {
            std::size_t source = index.Find(sum.Value());
            if (source == Bytes::npos ||
                std::memcmp(from.data() + source, to.data() + at, kBlockBytes) != 0) {
                if (at + kBlockBytes < end)
                    sum.Roll(to[at], to[at + kBlockBytes]);
                ++at;
                continue;
            }
            std::size_t count = kBlockBytes;
            while (source + count < from.size() && at + count < end && from[source + count] == to[at + count])
                ++count;
            for (; source > 0 && at > written && from[source - 1] == to[at - 1]; ++count) {
                --source;
                --at;
            }
            runs.Insert(written, at);
            runs.Copy(before + source, count);
            at += count;
            written = at;
            if (at + kBlockBytes <= end)
                sum = RollingSum(to.data() + at);
        }
    }
    runs.Insert(written, end);
}

/// Of a text that has so many bytes more, which stay, before and behind `from`.
Bytes makeRuns(const Bytes& from, const Bytes& to, std::size_t before, std::size_t behind)
{
    const std::size_t head = commonHead(from, to);
    const std::size_t tail = commonTail(from, to, std::min(from.size(), to.size()) - head);
    RunWriter runs(to);
    runs.Copy(0, before + head);
    writeMiddle(runs, before, from, from.size() - tail, to, head, to.size() - tail);
    runs.Copy(before + from.size() - tail, tail + behind);
    return runs.Take();
}

struct Run
{
    quint8 kind = eCopyRun;
    quint32 offset = 0; ///< of a copy
    quint32 count = 0;
    const char* text = nullptr; ///< of an insertion
};

/// False for one that is malformed.
bool readRun(values::ByteReader& in, Run& run)
{
    values::ByteReader text(nullptr, 0);
    run = Run();
    in.ReadInteger(run.kind);
    if (run.kind > eInsertRun || (run.kind == eCopyRun && !in.ReadInteger(run.offset)) ||
        !in.ReadInteger(run.count))
        return false;
    if (run.kind == eInsertRun && !in.Split(run.count, text))
        return false;
    run.text = text.Position();
    return true;
}

} // namespace

Bytes MakeRuns(const Bytes& from, const Bytes& to)
{
    return makeRuns(from, to, 0, 0);
}

Bytes MakeRuns(const values::TextSplice& splice)
{
    return makeRuns(splice.removed, splice.inserted, splice.offset,
                    splice.formerBytes - splice.offset - splice.removed.size());
}

std::optional<Bytes> ApplyRuns(const Bytes& from, const Bytes& runs, std::size_t maximumBytes)
{
    values::ByteReader in(runs.data(), runs.size());
    Bytes result;
    result.reserve(std::min(maximumBytes, from.size() + runs.size()));
    while (!in.AtEnd()) {
        Run run;
        if (!readRun(in, run) || run.count > maximumBytes - result.size())
            return std::nullopt;
        if (run.kind == eInsertRun) {
            result.append(run.text, run.count);
        } else {
            if (run.offset > from.size() || run.count > from.size() - run.offset)
                return std::nullopt;
            result.append(from, run.offset, run.count);
        }
    }
    return result;
}

std::optional<values::TextSplice>
AsSplice(std::size_t formerBytes, const std::function<Bytes(std::size_t offset, std::size_t count)>& partOf,
         const Bytes& runs, std::size_t maximumBytes)
{
    std::vector<Run> all;
    values::ByteReader in(runs.data(), runs.size());
    for (Run run; !in.AtEnd(); all.push_back(run)) {
        if (all.size() == kSpliceRuns || !readRun(in, run))
            return std::nullopt;
    }
    auto run = all.cbegin();
    values::TextSplice splice;
    std::size_t tail = formerBytes;
    splice.formerBytes = formerBytes;
    if (run != all.cend() && run->kind == eCopyRun && run->offset == 0)
        splice.offset = (run++)->count;
    if (run != all.cend() && run->kind == eInsertRun) {
        splice.inserted.assign(run->text, run->count);
        ++run;
    }
    if (run != all.cend() && run->kind == eCopyRun && run->offset + std::size_t(run->count) == formerBytes)
        tail = (run++)->offset;
    if (run != all.cend() || splice.offset > tail || tail - splice.offset > kLargestSplice ||
        splice.inserted.size() > kLargestSplice ||
        formerBytes - (tail - splice.offset) + splice.inserted.size() > maximumBytes)
        return std::nullopt;
    splice.removed = partOf(splice.offset, tail - splice.offset);
    return splice;
}

Bytes Spliced(const Bytes& from, const values::TextSplice& splice)
{
    const std::size_t tail = splice.offset + splice.removed.size();
    Bytes text;
    text.reserve(from.size() - splice.removed.size() + splice.inserted.size());
    text.append(from, 0, splice.offset);
    text.append(splice.inserted);
    text.append(from, tail, from.size() - tail);
    return text;
}

Change MakeContentChange(quint32 id, const QString& path, const Content& from, const Content& to)
{
    Change change = SetChange(path, to);
    change.id = id;
    const Bytes& text = BytesOf(to);
    if (text.size() <= Limits::kSmallContent)
        return change;
    Bytes runs = MakeRuns(BytesOf(from), text);
    if (runs.size() > text.size() / 2)
        return change;
    change.operation = Operation::Delta;
    change.checksum = Checksum(text);
    change.content = MakeContent(std::move(runs));
    return change;
}

} // namespace distribution
