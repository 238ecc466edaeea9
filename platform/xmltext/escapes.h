#pragma once

#include <string_view>

/// \file
/// What an XML text cannot hold as it is, and how it is written instead.

namespace XmlText {

/// Where a character stands.
enum ePlace {
    eAttribute,
    eCharacterData,
    eBesideElements ///< character data that is nothing but white space
};

/// How a character is written where it cannot stand for itself; empty when it can everywhere.
constexpr std::string_view escapeOf(char32_t code)
{
    switch (code) {
    case '&':
        return "&amp;";
    case '<':
        return "&lt;";
    case '>':
        return "&gt;";
    case '"':
        return "&quot;";
    case '\t':
        return "&#9;";
    case '\n':
        return "&#10;";
    case '\r':
        return "&#13;";
    case ' ':
        return "&#32;";
    default:
        return {};
    }
}

/// Whether the character is escaped there. Blanks are beside elements only; line feeds, tabs and quotes in
/// attributes too; a carriage return everywhere, or it would be read back as a line feed.
constexpr bool isEscaped(char32_t code, ePlace place)
{
    const bool isHarmless = (code == ' ' && place != eBesideElements) ||
                            (place == eCharacterData && (code == '\n' || code == '\t' || code == '"'));
    return !isHarmless && !escapeOf(code).empty();
}

} // namespace XmlText
