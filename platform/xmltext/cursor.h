#pragma once

#include "characters.h"
#include "place.h"
#include "references.h"

#include <array>
#include <cstring>

/// \file
/// A place in an XML text and the steps that need to know nothing of tags. Others include scanner.h.

namespace XmlText {

/// What an ASCII character may be part of. The zero behind a text is in no class, which ends every run at the
/// text's end.
enum eCharClass : uchar {
    ePlain = 1,     ///< character data that means what it is
    eNameStart = 2, ///< begins a name
    eName = 4,      ///< continues one
    eSpace = 8,
    eDoubleQuoted = 16, ///< an attribute value between double quotes, as it is
    eSingleQuoted = 32, ///< the same between single quotes
    eRaw = 64           ///< a comment, an instruction or a character data section
};

constexpr int kAscii = 128;

constexpr std::array<uchar, kAscii> makeClasses()
{
    std::array<uchar, kAscii> table{};
    for (int c = 0; c < kAscii; ++c) {
        const bool space = isSpace(static_cast<char32_t>(c));
        const bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == ':';
        const bool raw = space || c >= 0x20;
        const bool harmless = raw && c != '<' && c != '&';
        int flags = (space ? eSpace : 0) | (raw ? eRaw : 0);
        flags |= harmless && c != ']' && c != '\r' ? ePlain : 0;
        flags |= harmless && c != '"' ? eDoubleQuoted : 0;
        flags |= harmless && c != '\'' ? eSingleQuoted : 0;
        flags |= letter ? eNameStart | eName : 0;
        flags |= (c >= '0' && c <= '9') || c == '-' || c == '.' ? eName : 0;
        table[static_cast<std::size_t>(c)] = static_cast<uchar>(flags);
    }
    return table;
}

inline constexpr std::array<uchar, kAscii> kClasses = makeClasses();

template<class Unit>
bool is(Unit unit, int classes)
{
    return unit < kAscii && (kClasses[unit] & classes) != 0;
}

/// Goes over runs of characters, names and references. What returns a truth value is false after a complaint,
/// and the place is then that of the complaint. The unit behind the text must be zero.
template<class Unit>
class Cursor
{
public:
    /// A part of the text.
    struct Part
    {
        const Unit* begin = nullptr;
        int length = 0;
    };

    const Complaint& complaint() const { return m_complaint; }
    const Unit* begin() const { return m_begin; }
    const Unit* end() const { return m_end; }
    int position() const { return static_cast<int>(m_at - m_begin); }

protected:
    Cursor(const Unit* text, int size) : m_begin(text), m_at(text), m_end(text + size) {}

    /// Complain of what stands here, or at `at`; always false.
    bool fail(const char* what, const char* expected);
    bool fail(const QString& what, const QString& expected);
    bool failAt(const Unit* at, const char* what, const char* expected);

    bool startsWith(const char* text) const { return equals(m_at, text); }
    /// Passes over what is of one of the classes.
    void skip(int classes);
    /// Passes over a character beyond ASCII; fails for one that may not be in a text at all.
    bool beyondAscii();
    bool parseName(Part& name);
    bool reference();

    const Unit* m_begin;
    const Unit* m_at;
    const Unit* m_end;

private:
    bool characterReference();

    Complaint m_complaint;
};

template<class Unit>
bool Cursor<Unit>::fail(const QString& what, const QString& expected)
{
    m_complaint = {position(), what, expected};
    return false;
}

template<class Unit>
bool Cursor<Unit>::fail(const char* what, const char* expected)
{
    return fail(QString::fromLatin1(what), QString::fromLatin1(expected));
}

template<class Unit>
bool Cursor<Unit>::failAt(const Unit* at, const char* what, const char* expected)
{
    m_at = at;
    return fail(what, expected);
}

template<class Unit>
void Cursor<Unit>::skip(int classes)
{
    const Unit* at = m_at;
    while (is(*at, classes))
        ++at;
    m_at = at;
}

template<class Unit>
bool Cursor<Unit>::parseName(Part& name)
{
    name.begin = m_at;
    if (is(*m_at, eNameStart))
        skip(eName);
    while (m_at != m_end && *m_at >= kAscii) {
        const Character character = characterAt(m_at, m_end);
        if (character.units == 0)
            return beyondAscii();
        if (m_at == name.begin ? !isNameStart(character.code) : !isNameCharacter(character.code))
            break;
        m_at += character.units;
        skip(eName);
    }
    name.length = static_cast<int>(m_at - name.begin);
    return name.length > 0 || fail("malformed tag", "a name");
}

template<class Unit>
bool Cursor<Unit>::reference()
{
    if (startsWith("&#"))
        return characterReference();
    for (const Entity& entity : kEntities) {
        if (startsWith(entity.reference)) {
            m_at += std::strlen(entity.reference);
            return true;
        }
    }
    return fail("unknown entity", "&lt; &gt; &amp; &quot; &apos; or a character reference");
}

template<class Unit>
bool Cursor<Unit>::characterReference()
{
    char32_t code = 0;
    const Unit* const behind = readCharacterReference(m_at, code);
    if (!behind)
        return fail("malformed character reference", "the number of a character and \";\"");
    m_at = behind;
    return true;
}

template<class Unit>
bool Cursor<Unit>::beyondAscii()
{
    const Character character = characterAt(m_at, m_end);
    if (character.units == 0) {
        if constexpr (sizeof(Unit) == 1)
            return fail("invalid byte sequence", "UTF-8");
        else
            return fail("half a character", "a pair of surrogates");
    }
    if (!isCharacter(character.code))
        return fail(
            QStringLiteral("control character U+%1").arg(uint(character.code), 4, 16, QLatin1Char('0')),
            QStringLiteral("a character of XML"));
    m_at += character.units;
    return true;
}

} // namespace XmlText
