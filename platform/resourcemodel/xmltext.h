#pragma once

#include <QString>

#include <string_view>

/// \file
/// Which characters an XML text may hold, and how they are read; private to this folder.

namespace REPORTGENERATOR {

inline bool isXmlCodePoint(quint32 code) noexcept
{
    if (code < 0x20)
        return code == '\t' || code == '\n' || code == '\r';
    return code < 0xD800 || (code >= 0xE000 && code < 0xFFFE) || (code >= 0x10000 && code <= 0x10FFFF);
}

/// The text of UTF-8 bytes. A U+FEFF at their beginning is a character of it; QString would take it for a
/// byte order mark and drop it.
inline QString textFromUtf8(std::string_view bytes)
{
    QString text = QString::fromUtf8(bytes.data(), static_cast<int>(bytes.size()));
    if (bytes.substr(0, 3) == "\xEF\xBB\xBF")
        text.prepend(QChar(QChar::ByteOrderMark));
    return text;
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
