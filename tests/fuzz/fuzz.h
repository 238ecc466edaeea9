#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

/// What every fuzz target defines: decodes the bytes and requires what must hold of the result, whatever the
/// bytes are. Returns 0.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace Fuzz {

/// Ends the program, which makes the input a finding, unless `condition` holds. `what` completes "fuzz: ".
inline void require(bool condition, const char* what)
{
    if (condition)
        return;
    std::fprintf(stderr, "fuzz: %s\n", what);
    std::abort();
}

/// What a target makes of its input, told in text: why it was refused, or what it says. The rerun holds it
/// against what is expected of that seed.
inline std::string& outcome()
{
    static std::string text;
    return text;
}

/// Two characters for each byte.
inline std::string hex(const std::string& bytes)
{
    std::string text;
    for (const char byte : bytes) {
        text += "0123456789abcdef"[byte >> 4 & 15];
        text += "0123456789abcdef"[byte & 15];
    }
    return text;
}

/// The bytes of an input, of which the first may steer the target and the rest is what is decoded.
class Input
{
public:
    Input(const uint8_t* data, size_t size) : m_at(data), m_end(data + size) {}

    /// The next byte; 0 when there is none.
    int takeByte() { return m_at < m_end ? *m_at++ : 0; }
    /// As many bytes as the 16-bit number in front of them says, and at most all, in memory of their own.
    std::vector<char> takePiece()
    {
        int size = takeByte();
        size += 256 * takeByte();
        size = std::min(size, restSize());
        m_at += size;
        return std::vector<char>(rest() - size, rest());
    }
    /// What was not taken yet. It lies in foreign memory that ends with it, so that reading on is noticed.
    const char* rest() const { return reinterpret_cast<const char*>(m_at); }
    int restSize() const { return static_cast<int>(m_end - m_at); }

private:
    const uint8_t* m_at;
    const uint8_t* m_end;
};

} // namespace Fuzz
