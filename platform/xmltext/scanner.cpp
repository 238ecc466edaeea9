#include "scanner.h"

#include "characters.h"
#include "references.h"

#include <array>
#include <cstring>

namespace XmlText {

namespace {

/// What an ASCII character may be part of. The zero behind a text is in no class, which ends every run at the
/// text's end.
enum CharClass : uchar {
    kPlain = 1,     ///< character data that means what it is
    kNameStart = 2, ///< begins a name
    kName = 4,      ///< continues one
    kSpace = 8,
    kDoubleQuoted = 16, ///< an attribute value between double quotes, as it is
    kSingleQuoted = 32, ///< the same between single quotes
    kRaw = 64           ///< a comment, an instruction or a character data section
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
        int flags = (space ? kSpace : 0) | (raw ? kRaw : 0);
        flags |= harmless && c != ']' && c != '\r' ? kPlain : 0;
        flags |= harmless && c != '"' ? kDoubleQuoted : 0;
        flags |= harmless && c != '\'' ? kSingleQuoted : 0;
        flags |= letter ? kNameStart | kName : 0;
        flags |= (c >= '0' && c <= '9') || c == '-' || c == '.' ? kName : 0;
        table[static_cast<std::size_t>(c)] = static_cast<uchar>(flags);
    }
    return table;
}

constexpr std::array<uchar, kAscii> kClasses = makeClasses();

template<class Unit>
bool is(Unit unit, int classes)
{
    return unit < kAscii && (kClasses[unit] & classes) != 0;
}

template<class Part>
bool same(const Part& a, const Part& b)
{
    return a.length == b.length &&
           !std::memcmp(a.begin, b.begin, static_cast<std::size_t>(a.length) * sizeof *a.begin);
}

QString toText(Scanner<uchar>::Part part)
{
    return QString::fromUtf8(reinterpret_cast<const char*>(part.begin), part.length);
}

QString toText(Scanner<char16_t>::Part part)
{
    return QString(reinterpret_cast<const QChar*>(part.begin), part.length);
}

} // namespace

template<class Unit>
Scanner<Unit>::Scanner(const Unit* text, int size, const Rules& rules)
    : m_begin(text), m_at(text), m_end(text + size), m_token(text), m_rules(rules)
{
}

template<class Unit>
bool Scanner<Unit>::fail(const QString& what, const QString& expected)
{
    m_complaint = {position(), what, expected};
    return false;
}

template<class Unit>
bool Scanner<Unit>::fail(const char* what, const char* expected)
{
    return fail(QString::fromLatin1(what), QString::fromLatin1(expected));
}

template<class Unit>
bool Scanner<Unit>::failAt(const Unit* at, const char* what, const char* expected)
{
    m_at = at;
    return fail(what, expected);
}

/// The zero behind the text ends every comparison in time.
template<class Unit>
bool Scanner<Unit>::startsWith(const char* text) const
{
    return equals(m_at, text);
}

/// Passes over what is of one of the classes.
template<class Unit>
void Scanner<Unit>::skip(int classes)
{
    const Unit* at = m_at;
    while (is(*at, classes))
        ++at;
    m_at = at;
}

template<class Unit>
Token Scanner<Unit>::next()
{
    if (m_emptyElement) {
        m_emptyElement = false;
        m_open.pop_back();
        return Token::End;
    }
    if (m_at == m_begin && !prologue())
        return Token::Failure;
    for (;;) {
        if (m_open.empty() && !outside())
            return Token::Failure;
        if (m_at == m_end) {
            if (m_rootSeen && m_open.empty())
                return Token::Finish;
            m_rootSeen ? fail("text ends inside an element", "an end tag")
                       : fail("no element", "a root element");
            return Token::Failure;
        }
        m_token = m_at;
        if (*m_at != '<')
            return characterData() ? Token::Text : Token::Failure;
        Token token = Token::Finish; // none: a comment or an instruction
        if (!markup(token))
            return Token::Failure;
        if (token != Token::Finish)
            return token;
    }
}

template<class Unit>
void Scanner<Unit>::skipElement(int position)
{
    m_emptyElement = false;
    m_open.pop_back();
    m_at = m_begin + position;
}

/// What may stand before everything else: a byte order mark and a declaration.
template<class Unit>
bool Scanner<Unit>::prologue()
{
    if (m_at == m_end)
        return true;
    const Character first = characterAt(m_at, m_end);
    if (first.units > 0 && first.code == QChar::ByteOrderMark)
        m_at += first.units;
    return !startsWith("<?xml") || !is(m_at[5], kSpace) || declaration();
}

template<class Unit>
bool Scanner<Unit>::declaration()
{
    m_at += 5;
    Part version;
    Part encoding;
    Part standalone;
    bool found = false;
    if (!pseudoAttribute("version", version, found))
        return false;
    if (!found || version.length < 3 || !equals(version.begin, "1."))
        return fail("wrong XML declaration", "version=\"1.0\"");
    if (!pseudoAttribute("encoding", encoding, found))
        return false;
    if (found && m_rules.utf8 && toText(encoding).compare(QLatin1String("utf-8"), Qt::CaseInsensitive) != 0)
        return failAt(encoding.begin, "foreign character encoding", "UTF-8");
    if (!pseudoAttribute("standalone", standalone, found))
        return false;
    const QString alone = toText(standalone);
    if (found && alone != QLatin1String("yes") && alone != QLatin1String("no"))
        return failAt(standalone.begin, "wrong XML declaration", "\"yes\" or \"no\"");
    skip(kSpace);
    if (!startsWith("?>"))
        return fail("wrong XML declaration", "version, encoding and standalone in this order, and \"?>\"");
    m_at += 2;
    return true;
}

template<class Unit>
bool Scanner<Unit>::pseudoAttribute(const char* name, Part& value, bool& found)
{
    const Unit* const before = m_at;
    skip(kSpace);
    found = m_at > before && startsWith(name);
    if (!found) {
        m_at = before;
        return true;
    }
    m_at += std::strlen(name);
    skip(kSpace);
    if (*m_at != '=')
        return fail("wrong XML declaration", "\"=\"");
    ++m_at;
    skip(kSpace);
    const Unit quote = *m_at;
    if (quote != '"' && quote != '\'')
        return fail("wrong XML declaration", "a quoted value");
    value.begin = ++m_at;
    skip(kName);
    value.length = static_cast<int>(m_at - value.begin);
    if (*m_at != quote || value.length == 0)
        return fail("wrong XML declaration", "a value of letters and digits");
    ++m_at;
    return true;
}

/// Only white space stands outside the root element.
template<class Unit>
bool Scanner<Unit>::outside()
{
    skip(kSpace);
    if (m_at == m_end || *m_at == '<')
        return true;
    const Character character = characterAt(m_at, m_end);
    if (character.units == 0 || !isCharacter(character.code))
        return beyondAscii();
    return m_rootSeen ? fail("content behind the root element", "the end")
                      : fail("content before the root element", "\"<\"");
}

template<class Unit>
bool Scanner<Unit>::characterData()
{
    m_plain = true;
    m_text.begin = m_at;
    for (skip(kPlain); m_at != m_end && *m_at != '<'; skip(kPlain)) {
        if (*m_at == '&') {
            m_plain = false;
            if (!reference())
                return false;
        } else if (*m_at == '\r') {
            m_plain = false;
            ++m_at;
        } else if (*m_at == ']') {
            if (startsWith("]]>"))
                return fail("\"]]>\" in character data", "\"]]&gt;\"");
            ++m_at;
        } else if (!beyondAscii()) {
            return false;
        }
    }
    m_text.length = static_cast<int>(m_at - m_text.begin);
    return true;
}

template<class Unit>
bool Scanner<Unit>::markup(Token& token)
{
    const Unit following = m_at[1];
    if (following == '/') {
        token = Token::End;
        return endTag();
    }
    if (following == '?')
        return instruction();
    if (following != '!') {
        token = Token::Start;
        return startTag();
    }
    if (startsWith("<!--"))
        return comment();
    if (startsWith("<![CDATA[")) {
        token = Token::Section;
        return section();
    }
    return fail("declaration", "no document type");
}

template<class Unit>
bool Scanner<Unit>::parseName(Part& name)
{
    name.begin = m_at;
    if (is(*m_at, kNameStart))
        skip(kName);
    while (m_at != m_end && *m_at >= kAscii) {
        const Character character = characterAt(m_at, m_end);
        if (character.units == 0)
            return beyondAscii();
        if (m_at == name.begin ? !isNameStart(character.code) : !isNameCharacter(character.code))
            break;
        m_at += character.units;
        skip(kName);
    }
    name.length = static_cast<int>(m_at - name.begin);
    return name.length > 0 || fail("malformed tag", "a name");
}

template<class Unit>
bool Scanner<Unit>::startTag()
{
    if (m_open.empty() && m_rootSeen)
        return fail("content behind the root element", "the end");
    if (depth() == m_rules.maxDepth)
        return fail("elements nested too deep", "fewer levels");
    m_rootSeen = true;
    ++m_at;
    if (!parseName(m_name))
        return false;
    m_attributes.clear();
    for (;;) {
        const Unit* const before = m_at;
        skip(kSpace);
        m_emptyElement = *m_at == '/' && m_at[1] == '>';
        if (*m_at == '>' || m_emptyElement) {
            m_at += m_emptyElement ? 2 : 1;
            m_open.push_back(m_name);
            return true;
        }
        if (m_at == before)
            return fail("malformed tag", "white space, \"/>\" or \">\"");
        if (!addAttribute())
            return false;
    }
}

template<class Unit>
bool Scanner<Unit>::addAttribute()
{
    const Unit* const start = m_at;
    if (static_cast<int>(m_attributes.size()) == m_rules.maxAttributes)
        return fail(QStringLiteral("too many attributes"),
                    QStringLiteral("%1 at most").arg(m_rules.maxAttributes));
    Attribute added;
    if (!attribute(added))
        return false;
    for (const Attribute& other : m_attributes) {
        if (same(added.name, other.name))
            return failAt(start, "duplicate attribute", "each name once");
    }
    m_attributes.push_back(added);
    return true;
}

template<class Unit>
bool Scanner<Unit>::attribute(Attribute& attribute)
{
    if (!parseName(attribute.name))
        return false;
    skip(kSpace);
    if (*m_at != '=')
        return fail("malformed attribute", "\"=\"");
    ++m_at;
    skip(kSpace);
    const Unit quote = *m_at;
    if (quote != '"' && quote != '\'')
        return fail("malformed attribute", "a quoted value");
    attribute.value.begin = ++m_at;
    const CharClass harmless = quote == '"' ? kDoubleQuoted : kSingleQuoted;
    for (skip(harmless); *m_at != quote; skip(harmless)) {
        if (m_at == m_end)
            return fail("text ends inside an attribute", "a closing quote");
        if (*m_at == '<')
            return fail("\"<\" in an attribute value", "\"&lt;\"");
        if (*m_at == '&' ? !reference() : !beyondAscii())
            return false;
    }
    attribute.value.length = static_cast<int>(m_at - attribute.value.begin);
    ++m_at;
    return true;
}

template<class Unit>
bool Scanner<Unit>::endTag()
{
    if (m_open.empty())
        return fail("end tag without a start tag", "an element");
    const Part& name = m_open.back();
    const Part found{m_at + 2, name.length};
    if (m_end - found.begin <= name.length || !same(found, name))
        return wrongEndTag();
    m_at = found.begin + name.length;
    skip(kSpace);
    if (*m_at != '>')
        return wrongEndTag();
    ++m_at;
    m_open.pop_back();
    return true;
}

/// Finds out what is wrong with the end tag at the last token.
template<class Unit>
bool Scanner<Unit>::wrongEndTag()
{
    m_at = m_token + 2;
    Part found;
    if (!parseName(found))
        return false;
    skip(kSpace);
    if (m_at == m_end || *m_at != '>')
        return fail("malformed end tag", "\">\"");
    m_at = m_token;
    return fail(QStringLiteral("end tag of another element"),
                QStringLiteral("</%1>").arg(quotable(toText(m_open.back()))));
}

template<class Unit>
bool Scanner<Unit>::comment()
{
    m_at += 4;
    if (!rawUntil("-->", "--"))
        return false;
    m_at += 3;
    return true;
}

template<class Unit>
bool Scanner<Unit>::instruction()
{
    if (!m_rules.instructions)
        return fail("processing instruction", "none");
    const Unit* const start = m_at;
    m_at += 2;
    Part target;
    if (!parseName(target))
        return false;
    if (toText(target).compare(QLatin1String("xml"), Qt::CaseInsensitive) == 0)
        return failAt(start, "XML declaration inside the text", "it at the beginning");
    if (!is(*m_at, kSpace) && !startsWith("?>"))
        return fail("malformed processing instruction", "white space or \"?>\"");
    if (!rawUntil("?>", nullptr))
        return false;
    m_at += 2;
    return true;
}

template<class Unit>
bool Scanner<Unit>::section()
{
    if (m_open.empty())
        return fail("character data outside the root element", "an element");
    m_at += 9;
    m_text.begin = m_at;
    m_plain = true;
    if (!rawUntil("]]>", nullptr))
        return false;
    m_text.length = static_cast<int>(m_at - m_text.begin);
    m_at += 3;
    return true;
}

/// Stops at `terminator`; a `forbidden` text before it is an error.
template<class Unit>
bool Scanner<Unit>::rawUntil(const char* terminator, const char* forbidden)
{
    const Unit first = static_cast<uchar>(*terminator);
    while (m_at < m_end) {
        if (*m_at == first && startsWith(terminator))
            return true;
        if (forbidden && *m_at == first && startsWith(forbidden))
            return fail("\"--\" in a comment", "\"-->\"");
        m_plain = m_plain && *m_at != '\r';
        if (is(*m_at, kRaw))
            ++m_at;
        else if (!beyondAscii())
            return false;
    }
    return fail("text ends inside a section", terminator);
}

template<class Unit>
bool Scanner<Unit>::reference()
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
bool Scanner<Unit>::characterReference()
{
    char32_t code = 0;
    const Unit* const behind = readCharacterReference(m_at, code);
    if (!behind)
        return fail("malformed character reference", "the number of a character and \";\"");
    m_at = behind;
    return true;
}

/// Passes over a character beyond ASCII; fails for one that may not be in a text at all.
template<class Unit>
bool Scanner<Unit>::beyondAscii()
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

template class Scanner<uchar>;
template class Scanner<char16_t>;

} // namespace XmlText
