#pragma once

#include <QString>

/// \file
/// Which characters an XML text may hold; private to this folder.

namespace REPORTGENERATOR {

inline bool isXmlCodePoint(quint32 code) noexcept
{
    if (code < 0x20)
        return code == '\t' || code == '\n' || code == '\r';
    return code < 0xD800 || (code >= 0xE000 && code < 0xFFFE) || (code >= 0x10000 && code <= 0x10FFFF);
}

/// Position of the first character that XML cannot carry (a control character, a lone surrogate, U+FFFE or
/// U+FFFF), or -1. Blocks of ordinary characters are passed over without looking at each.
inline int findForbiddenCharacter(const QString& text) noexcept
{
    constexpr int block = 64;
    const auto* chars = reinterpret_cast<const char16_t*>(text.utf16());
    const int size = text.size();
    const auto isOrdinary = [chars](int from) {
        bool special = false;
        for (int i = 0; i < block; ++i)
            special |= chars[from + i] < 0x20 || chars[from + i] >= 0xD800;
        return !special;
    };
    for (int i = 0; i < size; ++i) {
        while (size - i > block && isOrdinary(i))
            i += block;
        if (i + 1 < size && QChar::isHighSurrogate(chars[i]) && QChar::isLowSurrogate(chars[i + 1]))
            ++i;
        else if (!isXmlCodePoint(chars[i]))
            return i;
    }
    return -1;
}

} // namespace REPORTGENERATOR
