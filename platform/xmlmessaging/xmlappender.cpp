#include "xmlappender.h"

#include <array>
#include <charconv>
#include <limits>

namespace XmlCommon::detail {

namespace {

constexpr std::size_t kLeastRoom = 256;
constexpr std::size_t kMostBytes = std::numeric_limits<int>::max() - 64; // a byte array has a header

/// Whether a run of bytes that are copied as they are ends at a byte.
using EndsRun = std::array<bool, 256>;

constexpr EndsRun makeEndsRun(XmlText::ePlace place)
{
    EndsRun table{};
    for (unsigned c = 0; c < 128; ++c)
        table[c] = XmlText::isEscaped(c, place);
    table[0] = true;
    return table;
}

constexpr EndsRun kEndsRun[] = {makeEndsRun(XmlText::eAttribute), makeEndsRun(XmlText::eCharacterData),
                                makeEndsRun(XmlText::eBesideElements)}; // by place

} // namespace

void XmlAppender::number(quint32 value)
{
    char digits[std::numeric_limits<quint32>::digits10 + 1];
    const std::to_chars_result end = std::to_chars(digits, digits + sizeof digits, value);
    bytes(digits, static_cast<std::size_t>(end.ptr - digits));
}

void XmlAppender::escaped(const char* text, XmlText::ePlace place)
{
    const EndsRun& endsRun = kEndsRun[place];
    for (;;) {
        const char* const run = text;
        while (!endsRun[static_cast<unsigned char>(*text)])
            ++text;
        bytes(run, static_cast<std::size_t>(text - run));
        if (!*text)
            return;
        bytes(XmlText::escapeOf(static_cast<unsigned char>(*text++)));
    }
}

/// Makes room for `length` bytes more, and as much again as is used, so that long texts grow in few steps.
void XmlAppender::grow(std::size_t length)
{
    const auto inUse = static_cast<std::size_t>(used());
    if (length > kMostBytes - inUse)
        qBadAlloc();
    makeRoom(used(), static_cast<int>(qMin(kMostBytes, kLeastRoom + 2 * inUse + length)));
}

void XmlAppender::makeRoom(int used, int size)
{
    m_out.resize(size);
    m_at = m_out.data() + used;
    m_end = m_out.data() + size;
}

} // namespace XmlCommon::detail
