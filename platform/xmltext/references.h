#pragma once

#include "characters.h"

/// \file
/// How references are written; private to this folder. The zero behind a text ends every comparison in time.

namespace XmlText {

template<class Unit>
bool equals(const Unit* begin, const char* text)
{
    while (*text && *begin == static_cast<uchar>(*text)) {
        ++begin;
        ++text;
    }
    return !*text;
}

struct Entity
{
    const char* reference;
    char character;
};
constexpr Entity kEntities[] = {
    {"&lt;", '<'}, {"&gt;", '>'}, {"&amp;", '&'}, {"&quot;", '"'}, {"&apos;", '\''}};

/// The number between "&#" and ";", and the place behind it; null unless it is that of a character.
template<class Unit>
const Unit* readCharacterReference(const Unit* at, char32_t& code)
{
    at += 2;
    const bool hex = *at == 'x';
    at += hex ? 1 : 0;
    code = 0;
    int digits = 0;
    for (; *at != ';' && code <= 0x10FFFF; ++at, ++digits) {
        const int lower = *at | 0x20;
        if (*at >= '0' && *at <= '9')
            code = code * (hex ? 16U : 10U) + static_cast<char32_t>(*at - '0');
        else if (hex && lower >= 'a' && lower <= 'f')
            code = code * 16U + static_cast<char32_t>(lower - 'a' + 10);
        else
            return nullptr;
    }
    return digits > 0 && *at == ';' && isCharacter(code) ? at + 1 : nullptr;
}

} // namespace XmlText
