#pragma once

#include <QByteArray>
#include <QString>

#include <string>
#include <string_view>

/// \file
/// Which characters an XML text may hold, which of them make names, and how they are encoded: XML 1.0 in its
/// fifth edition. Thread-safe.

namespace XmlText {

/// Whether the character may stand in a text, as it is or as a reference.
constexpr bool isCharacter(char32_t code) noexcept
{
    if (code < 0x20)
        return code == '\t' || code == '\n' || code == '\r';
    return code < 0xD800 || (code >= 0xE000 && code < 0xFFFE) || (code >= 0x10000 && code <= 0x10FFFF);
}
constexpr bool isSpace(char32_t code) noexcept
{
    return code == ' ' || code == '\t' || code == '\n' || code == '\r';
}
/// Whether a name may begin with the character.
bool isNameStart(char32_t code) noexcept;
/// Whether a name may go on with it.
bool isNameCharacter(char32_t code) noexcept;

/// One character of a text, and how many units of the text it takes; none when what stands there is no
/// character.
struct Character
{
    char32_t code;
    int units;
};
Character characterAt(const uchar* at, const uchar* end) noexcept;
Character characterAt(const char16_t* at, const char16_t* end) noexcept;

/// One character as a text; QString::fromUcs4() would drop a U+FEFF.
QString textOfCharacter(char32_t code);
/// The text of UTF-8 bytes. A U+FEFF at their beginning is a character of it; QString would take it for a
/// byte order mark and drop it.
QString textFromUtf8(std::string_view bytes);
/// UTF-8 of `text`, with U+FFFD for what XML cannot carry.
QByteArray toUtf8(const QString& text);
/// Position of the first character that XML cannot carry (a control character, a lone surrogate, U+FFFE or
/// U+FFFF), or -1.
int findForbidden(const QString& text) noexcept;
/// A name (UTF-8) that keeps a text well-formed whatever the caller gave: what a name cannot hold becomes
/// "_".
QByteArray toName(const QByteArray& name);

/// A text for a message: one line of at most 40 characters that turns no direction of writing and no
/// terminal's colours.
QString quotable(const QString& text);

} // namespace XmlText
