#pragma once

#include "cursor.h"

#include <limits>
#include <vector>

namespace XmlText {

/// What a reader accepts beyond what XML itself asks of a document.
struct Rules
{
    int maxDepth = std::numeric_limits<int>::max(); ///< levels of elements, the root included
    int maxAttributes = 64;   ///< of one element; it also bounds the search for duplicates
    bool instructions = true; ///< processing instructions are passed over, else refused
    bool utf8 = false;        ///< the declaration may name no other encoding
};

enum class Token {
    Start,   ///< a start tag; an empty-element tag is one, with an End behind it
    End,     ///< an end tag
    Text,    ///< character data up to the next tag, comment or section
    Section, ///< a character data section
    Finish,  ///< the end of a well-formed text
    Failure  ///< see complaint()
};

/// Goes over one XML text from the beginning to the end, token by token, without recursion, and sees to it
/// that the text is well-formed: characters, names, declaration, tags and their matching, attributes,
/// references, comments. Document types are always refused. Comments and instructions are passed over.
///
/// `Unit` is uchar for UTF-8 and char16_t for the text of a QString. The text must stay, and the unit behind
/// its last one must be zero.
template<class Unit>
class Scanner : public Cursor<Unit>
{
public:
    using typename Cursor<Unit>::Part;

    struct Attribute
    {
        Part name;
        Part value; ///< between the quotes, as it stands there
    };

    Scanner(const Unit* text, int size, const Rules& rules);

    Token next();

    /// Name and attributes of the last start tag.
    Part name() const { return m_name; }
    const std::vector<Attribute>& attributes() const { return m_attributes; }
    /// The last text or section, as it stands there.
    Part text() const { return m_text; }
    /// Whether that is what it means: without references and carriage returns.
    bool isPlain() const { return m_plain; }
    /// Where the last token begins; the next one does at position().
    int tokenBegin() const { return static_cast<int>(m_token - m_begin); }
    /// Number of elements that are open.
    int depth() const { return static_cast<int>(m_open.size()); }

    /// After Start: the element ends at `position` and need not be looked into, for example because the same
    /// text was read before. The next token is what follows it.
    void skipElement(int position);

private:
    using Cursor<Unit>::beyondAscii;
    using Cursor<Unit>::fail;
    using Cursor<Unit>::failAt;
    using Cursor<Unit>::parseName;
    using Cursor<Unit>::reference;
    using Cursor<Unit>::skip;
    using Cursor<Unit>::startsWith;
    using Cursor<Unit>::m_at;
    using Cursor<Unit>::m_begin;
    using Cursor<Unit>::m_end;

    bool prologue();
    bool declaration();
    bool pseudoAttribute(const char* name, Part& value, bool& found);
    bool outside();
    bool characterData();
    bool markup(Token& token);
    bool startTag();
    bool attribute(Attribute& attribute);
    bool addAttribute();
    bool endTag();
    bool wrongEndTag();
    bool comment();
    bool instruction();
    bool section();
    bool rawUntil(const char* terminator, const char* forbidden);

    const Unit* m_token;
    Rules m_rules;
    std::vector<Part> m_open;
    std::vector<Attribute> m_attributes;
    Part m_name;
    Part m_text;
    bool m_plain = true;
    bool m_emptyElement = false; ///< its End is still to come
    bool m_rootSeen = false;
};

extern template class Scanner<uchar>;
extern template class Scanner<char16_t>;

} // namespace XmlText
