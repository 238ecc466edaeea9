#pragma once

#include <distribution/messages.h>

#include <vector>

namespace distribution {

/// Checksum of a large text that is known part by part, so that the one of a text that differs in one place
/// takes little time.
class KOLTA_DISTRIBUTION_EXPORT TextChecksum
{
public:
    explicit TextChecksum(const Bytes& text);
    /// Checksum() of the text.
    quint32 Whole() const;
    /// That of `text`, which this belongs to, after the splice.
    TextChecksum After(const Bytes& text, const values::TextSplice& splice) const;

private:
    struct Part
    {
        std::size_t bytes;
        quint32 sum;
    };
    TextChecksum() = default;
    void append(const char* text, std::size_t bytes, bool isNewPart);

    std::vector<Part> m_parts;
};

} // namespace distribution
