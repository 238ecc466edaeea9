#pragma once

#include <distribution/messages.h>

#include <string_view>
#include <vector>

namespace distribution {

/// One part of a large text, with its checksum.
struct TextPart
{
    Bytes bytes;
    quint32 sum;
};

/// The replacement of a place in a text, prepared: some parts give way to others.
struct TextEdit
{
    values::TextSplice splice;
    std::size_t begin = 0;
    std::size_t end = 0;
    std::vector<TextPart> inserted;
};

/// A large text in parts, each with its checksum: where one place is replaced, the rest is neither moved nor
/// summed again.
class KOLTA_DISTRIBUTION_EXPORT TextParts
{
public:
    explicit TextParts(const Bytes& text);
    std::size_t Size() const noexcept { return m_size; }
    /// A range within the text.
    Bytes Range(std::size_t offset, std::size_t count) const;
    Bytes Whole() const { return Range(0, m_size); }
    /// Whether these bytes are there.
    bool Holds(std::size_t offset, std::string_view bytes) const;
    /// Of a splice that fits.
    TextEdit Prepare(values::TextSplice splice) const;
    /// Checksum() of the whole after the edit.
    quint32 SumAfter(const TextEdit& edit) const;
    /// Of what was prepared last; takes its parts.
    void Apply(TextEdit& edit);

private:
    std::vector<TextPart> m_parts;
    std::size_t m_size;
};

} // namespace distribution
