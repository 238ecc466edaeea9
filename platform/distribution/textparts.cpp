#include <distribution/textparts.h>

#include <zlib.h>

#include <algorithm>
#include <iterator>
#include <utility>

namespace distribution {

namespace {
/// The parts of a text have from so many bytes to twice as many, or half as many after a removal.
constexpr std::size_t kPartBytes = 16384;

std::vector<TextPart> partsOf(const Bytes& text)
{
    std::vector<TextPart> parts;
    const std::size_t count = std::max<std::size_t>(1, text.size() / kPartBytes);
    const std::size_t partBytes = (text.size() + count - 1) / count;
    for (std::size_t at = 0; at < text.size(); at += partBytes) {
        Bytes bytes = text.substr(at, partBytes);
        const quint32 sum = Checksum(bytes);
        parts.push_back({std::move(bytes), sum});
    }
    return parts;
}
} // namespace

TextParts::TextParts(const Bytes& text) : m_parts(partsOf(text)), m_size(text.size()) {}

Bytes TextParts::Range(std::size_t offset, std::size_t count) const
{
    Bytes range;
    range.reserve(count);
    for (const TextPart& part : m_parts) {
        if (range.size() == count)
            break;
        if (offset < part.bytes.size())
            range.append(part.bytes, offset, count - range.size());
        offset -= std::min(offset, part.bytes.size());
    }
    return range;
}

bool TextParts::Holds(std::size_t offset, std::string_view bytes) const
{
    for (const TextPart& part : m_parts) {
        if (bytes.empty())
            break;
        if (offset < part.bytes.size()) {
            const std::size_t count = std::min(bytes.size(), part.bytes.size() - offset);
            if (part.bytes.compare(offset, count, bytes.substr(0, count)) != 0)
                return false;
            bytes.remove_prefix(count);
        }
        offset -= std::min(offset, part.bytes.size());
    }
    return bytes.empty();
}

quint32 TextParts::SumAfter(const TextEdit& edit) const
{
    uLong sum = 0;
    uLong shift = 0; // by so many bytes as most parts have
    std::size_t shiftBytes = 0;
    const auto add = [&](const TextPart& part) {
        if (part.bytes.size() != std::exchange(shiftBytes, part.bytes.size()))
            shift = crc32_combine_gen(static_cast<z_off_t>(shiftBytes));
        sum = crc32_combine_op(sum, part.sum, shift);
    };
    const auto at = [this](std::size_t i) { return m_parts.begin() + static_cast<std::ptrdiff_t>(i); };
    std::for_each(m_parts.begin(), at(edit.begin), add);
    std::for_each(edit.inserted.begin(), edit.inserted.end(), add);
    std::for_each(at(edit.end), m_parts.end(), add);
    return static_cast<quint32>(sum);
}

void TextParts::Apply(TextEdit& edit)
{
    const auto at = m_parts.begin() + static_cast<std::ptrdiff_t>(edit.begin);
    const auto behind = m_parts.erase(at, m_parts.begin() + static_cast<std::ptrdiff_t>(edit.end));
    m_parts.insert(behind, std::make_move_iterator(edit.inserted.begin()),
                   std::make_move_iterator(edit.inserted.end()));
    m_size += edit.splice.inserted.size() - edit.splice.removed.size();
}

/// What remains of a part that has become small goes into the next one, so that they do not become many.
TextEdit TextParts::Prepare(values::TextSplice splice) const
{
    TextEdit edit;
    std::size_t head = splice.offset; // within the part where the splice begins
    while (edit.begin < m_parts.size() && m_parts[edit.begin].bytes.size() < head)
        head -= m_parts[edit.begin++].bytes.size();
    edit.end = edit.begin;
    Bytes former;
    const auto takeNext = [&] { former += m_parts[edit.end++].bytes; };
    while (former.size() < head + splice.removed.size())
        takeNext();
    const auto isSmall = [&] {
        return former.size() - splice.removed.size() + splice.inserted.size() < kPartBytes / 2;
    };
    while (edit.end < m_parts.size() && isSmall())
        takeNext();
    edit.inserted = partsOf(former.replace(head, splice.removed.size(), splice.inserted));
    edit.splice = std::move(splice);
    return edit;
}

} // namespace distribution
