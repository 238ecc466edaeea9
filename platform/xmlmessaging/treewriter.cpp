#include "treewriter.h"

#include "xmlappender.h"

#include <startup/onelinetext.h>
#include <xmltext/characters.h>

namespace XmlCommon::detail {

namespace {

/// Writes elements without recursion. `indents`: with a line per element, unless there is text beside it.
class Writer
{
public:
    Writer(XmlAppender& out, const Document& document, bool indents)
        : m_out(out), m_document(document), m_indents(indents)
    {
    }

    void write(NodeId element)
    {
        open(element);
        while (!m_levels.empty()) {
            Level& level = m_levels.back();
            const NodeId child = level.next;
            if (child == kNoNode) {
                close();
            } else if (m_document.isElement(child)) {
                level.next = m_document.next(child);
                open(child);
            } else {
                level.next = writeText(child, level.hasElements);
            }
        }
    }

private:
    struct Level
    {
        NodeId element;
        NodeId next;
        bool hasElements;
        bool isIndented;
    };

    void open(NodeId element)
    {
        if (!m_levels.empty() && m_levels.back().isIndented)
            newLine(m_levels.size());
        m_out.literal("<");
        m_out.bytes(m_document.name(element));
        for (NodeId a = m_document.firstAttribute(element); a != kNoNode; a = m_document.nextAttribute(a)) {
            m_out.literal(" ");
            m_out.bytes(m_document.name(a));
            m_out.literal("=\"");
            writeMeaning(a, XmlText::eAttribute);
            m_out.literal("\"");
        }
        Level level{element, m_document.firstChild(element), false, m_indents};
        bool hasText = false;
        for (NodeId child = level.next; child != kNoNode; child = m_document.next(child)) {
            const bool isElement = m_document.isElement(child);
            level.hasElements = level.hasElements || isElement;
            hasText = hasText || (!isElement && !m_document.isEmptyText(child));
        }
        level.isIndented = m_indents && !hasText;
        if (!level.hasElements && !hasText) {
            m_out.literal("/>");
            return;
        }
        m_out.literal(">");
        m_levels.push_back(level);
    }

    void close()
    {
        const Level level = m_levels.back();
        m_levels.pop_back();
        if (level.isIndented)
            newLine(m_levels.size());
        m_out.literal("</");
        m_out.bytes(m_document.name(level.element));
        m_out.literal(">");
    }

    void newLine(std::size_t depth)
    {
        m_out.literal("\n");
        for (std::size_t i = 0; i < depth; ++i)
            m_out.literal("  ");
    }

    /// Writes a text with all its pieces, up to the next element. White space beside elements would be taken
    /// for layout, so it travels as references.
    NodeId writeText(NodeId piece, bool besideElements)
    {
        m_text.clear();
        for (; piece != kNoNode && m_document.isText(piece); piece = m_document.next(piece))
            m_document.appendMeaning(piece, m_text);
        const bool isBlank = m_text.find_first_not_of(" \t\r\n") == std::string::npos;
        write(isBlank && besideElements ? XmlText::eBesideElements : XmlText::eCharacterData);
        return piece;
    }

    void writeMeaning(NodeId node, XmlText::ePlace place)
    {
        m_text.clear();
        m_document.appendMeaning(node, m_text);
        write(place);
    }

    void write(XmlText::ePlace place)
    {
        if (m_indents)
            writeVisibly(place);
        else
            m_out.escaped(m_text.c_str(), place);
    }

    /// What would begin a line of its own, or turn the direction of writing, shows as a reference.
    void writeVisibly(XmlText::ePlace place)
    {
        QString run;
        for (const QChar letter : XmlText::textFromUtf8(m_text)) {
            if (!Startup::forgesLines(letter)) {
                run += letter;
                continue;
            }
            m_out.escaped(run.toUtf8().constData(), place);
            run.clear();
            const QByteArray reference = "&#x" + QByteArray::number(letter.unicode(), 16).toUpper() + ';';
            m_out.bytes(reference.constData(), static_cast<std::size_t>(reference.size()));
        }
        m_out.escaped(run.toUtf8().constData(), place);
    }

    XmlAppender& m_out;
    const Document& m_document;
    const bool m_indents;
    std::vector<Level> m_levels;
    std::string m_text;
};

} // namespace

void appendXml(XmlAppender& out, const Document& document, NodeId element)
{
    Writer(out, document, false).write(element);
}

QString readable(const Document& document, NodeId element)
{
    QByteArray text;
    {
        XmlAppender out(text);
        Writer(out, document, true).write(element);
        out.literal("\n");
    }
    return XmlText::textFromUtf8({text.constData(), static_cast<std::size_t>(text.size())});
}

} // namespace XmlCommon::detail
