#include "scanner.h"

#include <cstring>

namespace XmlText {

namespace {

/// Levels and attributes of an element for which there is room from the beginning.
constexpr std::size_t kUsualCount = 8;

template<class Part>
bool same(const Part& a, const Part& b)
{
    return a.length == b.length &&
           !std::memcmp(a.begin, b.begin, static_cast<std::size_t>(a.length) * sizeof *a.begin);
}

QString toText(Scanner<uchar>::Part part)
{
    return textFromUtf8({reinterpret_cast<const char*>(part.begin), static_cast<std::size_t>(part.length)});
}

QString toText(Scanner<char16_t>::Part part)
{
    return QString(reinterpret_cast<const QChar*>(part.begin), part.length);
}

} // namespace

template<class Unit>
Scanner<Unit>::Scanner(const Unit* text, int size, const Rules& rules)
    : Cursor<Unit>(text, size), m_token(text), m_rules(rules)
{
    m_open.reserve(kUsualCount);
    m_attributes.reserve(kUsualCount);
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
    return !startsWith("<?xml") || !is(m_at[5], eSpace) || declaration();
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
    skip(eSpace);
    if (!startsWith("?>"))
        return fail("wrong XML declaration", "version, encoding and standalone in this order, and \"?>\"");
    m_at += 2;
    return true;
}

template<class Unit>
bool Scanner<Unit>::pseudoAttribute(const char* name, Part& value, bool& found)
{
    const Unit* const before = m_at;
    skip(eSpace);
    found = m_at > before && startsWith(name);
    if (!found) {
        m_at = before;
        return true;
    }
    m_at += std::strlen(name);
    skip(eSpace);
    if (*m_at != '=')
        return fail("wrong XML declaration", "\"=\"");
    ++m_at;
    skip(eSpace);
    const Unit quote = *m_at;
    if (quote != '"' && quote != '\'')
        return fail("wrong XML declaration", "a quoted value");
    value.begin = ++m_at;
    skip(eName);
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
    skip(eSpace);
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
    for (skip(ePlain); m_at != m_end && *m_at != '<'; skip(ePlain)) {
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
        skip(eSpace);
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
    skip(eSpace);
    if (*m_at != '=')
        return fail("malformed attribute", "\"=\"");
    ++m_at;
    skip(eSpace);
    const Unit quote = *m_at;
    if (quote != '"' && quote != '\'')
        return fail("malformed attribute", "a quoted value");
    attribute.value.begin = ++m_at;
    const eCharClass harmless = quote == '"' ? eDoubleQuoted : eSingleQuoted;
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
    skip(eSpace);
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
    skip(eSpace);
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
    if (!is(*m_at, eSpace) && !startsWith("?>"))
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
        if (is(*m_at, eRaw))
            ++m_at;
        else if (!beyondAscii())
            return false;
    }
    return fail("text ends inside a section", terminator);
}

template class Scanner<uchar>;
template class Scanner<char16_t>;

} // namespace XmlText
