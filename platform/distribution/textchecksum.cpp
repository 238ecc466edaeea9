#include <distribution/textchecksum.h>

#include <zlib.h>

#include <algorithm>

namespace distribution {

namespace {
constexpr std::size_t kPartBytes = 65536;
}

TextChecksum::TextChecksum(const Bytes& text)
{
    append(text.data(), text.size(), true);
}

quint32 TextChecksum::Whole() const
{
    uLong sum = 0;
    for (const Part& part : m_parts)
        sum = crc32_combine(sum, part.sum, static_cast<z_off_t>(part.bytes));
    return static_cast<quint32>(sum);
}

TextChecksum TextChecksum::After(const Bytes& text, const values::TextSplice& splice) const
{
    TextChecksum after;
    const std::size_t tail = splice.offset + splice.removed.size();
    std::size_t begin = 0;
    auto part = m_parts.begin();
    for (; part != m_parts.end() && begin + part->bytes <= splice.offset; ++part)
        begin += part->bytes;
    after.m_parts.assign(m_parts.begin(), part);
    after.append(text.data() + begin, splice.offset - begin, true);
    after.append(splice.inserted.data(), splice.inserted.size(), false);
    std::size_t end = begin;
    for (; part != m_parts.end() && end < tail; ++part)
        end += part->bytes;
    if (end > tail)
        after.append(text.data() + tail, end - tail, false);
    after.m_parts.insert(after.m_parts.end(), part, m_parts.end());
    return after;
}

/// What is appended goes on with the last part until that is full, unless a new one is to begin.
void TextChecksum::append(const char* text, std::size_t bytes, bool isNewPart)
{
    if (isNewPart || m_parts.empty())
        m_parts.push_back({0, 0});
    while (bytes > 0) {
        if (m_parts.back().bytes >= kPartBytes)
            m_parts.push_back({0, 0});
        Part& part = m_parts.back();
        const std::size_t count = std::min(bytes, kPartBytes - part.bytes);
        part.sum = static_cast<quint32>(crc32_z(part.sum, reinterpret_cast<const Bytef*>(text), count));
        part.bytes += count;
        text += count;
        bytes -= count;
    }
}

} // namespace distribution
