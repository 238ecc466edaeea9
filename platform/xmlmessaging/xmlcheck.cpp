#include "xmlcheck.h"

#include <array>
#include <cstring>

namespace XmlCommon::detail {

namespace {

using Byte = unsigned char;

/// The zero byte behind the text is in no class, which ends every run at the text's end.
enum CharClass : Byte {
    kPlain = 1,     ///< ASCII that may stand in character data as it is
    kNameStart = 2, ///< begins a name; every non-ASCII character counts as one
    kName = 4,      ///< ASCII that continues a name
    kSpace = 8,
    kDoubleQuoted = 16, ///< ASCII that may stand as it is in an attribute value between double quotes
    kSingleQuoted = 32, ///< the same between single quotes
    kRaw = 64           ///< ASCII that may stand in a comment or a character data section
};

constexpr std::array<Byte, 256> makeClasses()
{
    std::array<Byte, 256> table{};
    for (int c = 0; c < 256; ++c) {
        const bool space = c == ' ' || c == '\t' || c == '\n' || c == '\r';
        const bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == ':';
        const bool raw = space || (c >= 0x20 && c < 0x80);
        const bool harmless = raw && c != '<' && c != '&';
        int flags = (space ? kSpace : 0) | (raw ? kRaw : 0);
        flags |= harmless && c != ']' ? kPlain : 0;
        flags |= harmless && c != '"' ? kDoubleQuoted : 0;
        flags |= harmless && c != '\'' ? kSingleQuoted : 0;
        flags |= letter || c >= 0x80 ? kNameStart : 0;
        flags |= letter || (c >= '0' && c <= '9') || c == '-' || c == '.' ? kName : 0;
        table[static_cast<std::size_t>(c)] = static_cast<Byte>(flags);
    }
    return table;
}

constexpr std::array<Byte, 256> kClasses = makeClasses();

constexpr bool is(Byte c, int classes)
{
    return (kClasses[c] & classes) != 0;
}

bool isXmlChar(quint32 code)
{
    return code == '\t' || code == '\n' || code == '\r' || (code >= 0x20 && code < 0xD800) ||
           (code >= 0xE000 && code <= 0xFFFD) || (code >= 0x10000 && code <= 0x10FFFF);
}

/// One pass over one document. Every step returns false after it has noted what is wrong.
class Scanner
{
public:
    Scanner(const char* text, int size, int maxDepth)
        : m_begin(reinterpret_cast<const Byte*>(text))
        , m_at(m_begin)
        , m_end(m_begin + size)
        , m_maxDepth(maxDepth)
    {
    }

    bool document();
    QString error() const { return malformed(m_what, static_cast<quint64>(m_at - m_begin), m_expected); }

private:
    struct Name
    {
        const Byte* begin;
        std::ptrdiff_t length;
        bool operator==(const char* text) const
        {
            return static_cast<std::size_t>(length) == std::strlen(text) &&
                   !std::memcmp(begin, text, std::strlen(text));
        }
        bool operator==(const Name& other) const
        {
            return length == other.length &&
                   !std::memcmp(begin, other.begin, static_cast<std::size_t>(length));
        }
    };

    bool fail(const char* what, const char* expected)
    {
        m_what = what;
        m_expected = expected;
        return false;
    }
    bool startsWith(const char* text) const
    {
        const std::size_t length = std::strlen(text);
        return static_cast<std::size_t>(m_end - m_at) >= length && !std::memcmp(m_at, text, length);
    }
    /// Skips what is of the class. The position is held in a local variable, because a byte that is read
    /// may, as far as the compiler knows, be one of the member's.
    void skip(CharClass charClass)
    {
        const Byte* at = m_at;
        while (is(*at, charClass))
            ++at;
        m_at = at;
    }

    bool name()
    {
        if (!is(*m_at, kNameStart))
            return fail("malformed tag", "a name");
        skip(kName);
        return *m_at < 0x80 || restOfForeignName();
    }

    bool declaration();
    bool declarationAttribute(const Name& name, const Byte* value, std::ptrdiff_t length);
    bool content();
    bool markup();
    bool characterData();
    bool startTag();
    bool endTag();
    bool comment();
    bool cdata();
    bool reference();
    bool characterReference();
    bool multiByte();
    bool restOfForeignName();
    bool attribute(Name& attributeName);
    bool rawUntil(const char* terminator, const char* forbidden);

    const Byte* m_begin;
    const Byte* m_at;
    const Byte* m_end;
    int m_maxDepth;
    int m_depth = 0;
    bool m_rootSeen = false;
    const char* m_what = "malformed text";
    const char* m_expected = "XML";
};

bool Scanner::document()
{
    if (startsWith("\xEF\xBB\xBF"))
        m_at += 3;
    if (startsWith("<?xml") && m_end - m_at > 5 && is(m_at[5], kSpace) && !declaration())
        return false;
    if (!content())
        return false;
    if (!m_rootSeen)
        return fail("no element", "a root element");
    return m_depth == 0 || fail("text ends inside an element", "an end tag");
}

bool Scanner::declaration()
{
    m_at += 5;
    for (;;) {
        skip(kSpace);
        if (startsWith("?>")) {
            m_at += 2;
            return true;
        }
        const Byte* const start = m_at;
        Name attributeName{};
        if (!attribute(attributeName))
            return false;
        const Byte quote = m_at[-1];
        const Byte* value = attributeName.begin + attributeName.length;
        while (*value != quote)
            ++value;
        const std::ptrdiff_t length = m_at - 1 - (value + 1);
        if (!declarationAttribute(attributeName, value + 1, length)) {
            m_at = start;
            return false;
        }
    }
}

bool Scanner::declarationAttribute(const Name& attributeName, const Byte* value, std::ptrdiff_t length)
{
    if (attributeName == "version" || attributeName == "standalone")
        return true;
    if (!(attributeName == "encoding"))
        return fail("unknown item in the XML declaration", "version, encoding or standalone");
    return (length == 5 && !qstrnicmp(reinterpret_cast<const char*>(value), "utf-8", 5)) ||
           fail("foreign character encoding", "UTF-8");
}

bool Scanner::content()
{
    while (m_at < m_end) {
        if (*m_at == '<' ? !markup() : !characterData())
            return false;
    }
    return true;
}

bool Scanner::characterData()
{
    if (m_depth == 0) {
        skip(kSpace);
        return m_at == m_end || *m_at == '<' ||
               (m_rootSeen ? fail("content behind the root element", "the end")
                           : fail("content before the root element", "\"<\""));
    }
    skip(kPlain);
    if (*m_at == '<' || m_at == m_end)
        return true;
    if (*m_at == '&')
        return reference();
    if (*m_at == ']') {
        if (startsWith("]]>"))
            return fail("\"]]>\" in character data", "\"]]&gt;\"");
        ++m_at;
        return true;
    }
    return multiByte();
}

bool Scanner::markup()
{
    const Byte next = m_at[1];
    if (is(next, kNameStart))
        return startTag();
    if (next == '/')
        return endTag();
    if (startsWith("<!--"))
        return comment();
    if (startsWith("<![CDATA["))
        return cdata();
    if (next == '!')
        return fail("declaration", "no document type");
    if (next == '?')
        return fail("processing instruction", "none");
    ++m_at;
    return fail("malformed tag", "a name");
}

bool Scanner::startTag()
{
    if (m_depth == 0 && m_rootSeen)
        return fail("content behind the root element", "the end");
    if (m_depth == m_maxDepth)
        return fail("elements nested too deep", "fewer levels");
    m_rootSeen = true;
    ++m_at;
    Name seen[kMaxAttributes];
    int count = 0;
    if (!name())
        return false;
    for (;;) {
        const Byte* const before = m_at;
        skip(kSpace);
        if (*m_at == '>') {
            ++m_at;
            ++m_depth;
            return true;
        }
        if (startsWith("/>")) {
            m_at += 2;
            return true;
        }
        if (m_at == before)
            return fail("malformed tag", "white space, \"/>\" or \">\"");
        if (count == kMaxAttributes)
            return fail("too many attributes", "64 at most");
        const Byte* const start = m_at;
        if (!attribute(seen[count]))
            return false;
        for (int i = 0; i < count; ++i) {
            if (seen[i] == seen[count]) {
                m_at = start;
                return fail("duplicate attribute", "each name once");
            }
        }
        ++count;
    }
}

bool Scanner::endTag()
{
    if (m_depth == 0)
        return fail("end tag without a start tag", "an element");
    m_at += 2;
    if (!name())
        return false;
    skip(kSpace);
    if (*m_at != '>')
        return fail("malformed end tag", "\">\"");
    ++m_at;
    --m_depth;
    return true;
}

bool Scanner::comment()
{
    m_at += 4;
    if (!rawUntil("-->", "--"))
        return false;
    m_at += 3;
    return true;
}

bool Scanner::cdata()
{
    if (m_depth == 0)
        return fail("character data outside the root element", "an element");
    m_at += 9;
    if (!rawUntil("]]>", nullptr))
        return false;
    m_at += 3;
    return true;
}

/// Stops at `terminator`; a `forbidden` text before it is an error.
bool Scanner::rawUntil(const char* terminator, const char* forbidden)
{
    const Byte first = static_cast<Byte>(*terminator);
    while (m_at < m_end) {
        if (*m_at == first && startsWith(terminator))
            return true;
        if (forbidden && *m_at == first && startsWith(forbidden))
            return fail("\"--\" in a comment", "\"-->\"");
        if (is(*m_at, kRaw))
            ++m_at;
        else if (!multiByte())
            return false;
    }
    return fail("text ends inside a section", terminator);
}

bool Scanner::reference()
{
    static constexpr const char* kPredefined[] = {"&lt;", "&gt;", "&amp;", "&quot;", "&apos;"};
    if (startsWith("&#"))
        return characterReference();
    for (const char* entity : kPredefined) {
        if (startsWith(entity)) {
            m_at += std::strlen(entity);
            return true;
        }
    }
    return fail("unknown entity", "&lt; &gt; &amp; &quot; &apos; or a character reference");
}

bool Scanner::characterReference()
{
    const Byte* at = m_at + 2;
    const bool hex = at < m_end && *at == 'x';
    at += hex ? 1 : 0;
    quint32 code = 0;
    int digits = 0;
    for (; at < m_end && *at != ';' && code <= 0x10FFFF; ++at, ++digits) {
        const int lower = *at | 0x20;
        if (*at >= '0' && *at <= '9')
            code = code * (hex ? 16U : 10U) + static_cast<quint32>(*at - '0');
        else if (hex && lower >= 'a' && lower <= 'f')
            code = code * 16U + static_cast<quint32>(lower - 'a' + 10);
        else
            return fail("malformed character reference", "digits and \";\"");
    }
    if (digits == 0 || at == m_end || *at != ';' || !isXmlChar(code))
        return fail("malformed character reference", "the number of a character and \";\"");
    m_at = at + 1;
    return true;
}

/// A character beyond ASCII, or one that may not be here at all.
bool Scanner::multiByte()
{
    const Byte lead = *m_at;
    if (lead < 0x80)
        return fail("control character", "a character of XML");
    const int length = lead >= 0xC2 && lead < 0xE0   ? 2
                       : lead >= 0xE0 && lead < 0xF0 ? 3
                       : lead >= 0xF0 && lead < 0xF5 ? 4
                                                     : 0;
    if (length == 0 || m_end - m_at < length)
        return fail("invalid byte sequence", "UTF-8");
    quint32 code = lead & (0x7FU >> length);
    for (int i = 1; i < length; ++i) {
        if ((m_at[i] & 0xC0) != 0x80)
            return fail("invalid byte sequence", "UTF-8");
        code = code << 6 | (m_at[i] & 0x3FU);
    }
    static constexpr quint32 kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
    if (code < kSmallest[length] || (code >= 0xD800 && code < 0xE000) || code > 0x10FFFF)
        return fail("invalid byte sequence", "UTF-8");
    if (!isXmlChar(code))
        return fail("control character", "a character of XML");
    m_at += length;
    return true;
}

/// Goes on with a name at its first character beyond ASCII.
bool Scanner::restOfForeignName()
{
    for (; *m_at >= 0x80; skip(kName)) {
        if (!multiByte())
            return false;
    }
    return true;
}

bool Scanner::attribute(Name& attributeName)
{
    attributeName.begin = m_at;
    if (!name())
        return false;
    attributeName.length = m_at - attributeName.begin;
    skip(kSpace);
    if (*m_at != '=')
        return fail("malformed attribute", "\"=\"");
    ++m_at;
    skip(kSpace);
    const Byte quote = *m_at;
    if (quote != '"' && quote != '\'')
        return fail("malformed attribute", "a quoted value");
    ++m_at;
    const CharClass harmless = quote == '"' ? kDoubleQuoted : kSingleQuoted;
    for (skip(harmless); *m_at != quote; skip(harmless)) {
        if (m_at == m_end)
            return fail("text ends inside an attribute", "a closing quote");
        if (*m_at == '<')
            return fail("\"<\" in an attribute value", "\"&lt;\"");
        if (*m_at == '&' ? !reference() : !multiByte())
            return false;
    }
    ++m_at;
    return true;
}

} // namespace

bool checkXml(const char* text, int size, int maxDepth, QString& error)
{
    Scanner scanner(text, size, maxDepth);
    if (scanner.document())
        return true;
    error = scanner.error();
    return false;
}

QString malformed(const char* what, quint64 position, const char* expected)
{
    return QStringLiteral("%1 at byte %2, expected %3")
        .arg(QLatin1String(what), QString::number(position), QLatin1String(expected));
}

} // namespace XmlCommon::detail
