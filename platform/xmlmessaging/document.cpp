#include "document.h"

#include <xmltext/meaning.h>

#include <algorithm>
#include <limits>

namespace XmlCommon::detail {

namespace {

using Scanner = XmlText::Scanner<uchar>;
using XmlText::Token;

constexpr int kShortText = 4096;     ///< bytes
constexpr int kShortTextPerNode = 8; ///< bytes; most short messages have fewer nodes

const uchar* bytesOf(const QByteArray& text)
{
    return reinterpret_cast<const uchar*>(text.constData());
}

bool isBlank(Scanner::Part part)
{
    return std::all_of(part.begin, part.begin + part.length, [](uchar c) { return c <= ' '; });
}

} // namespace

/// Makes the nodes of a text. What is nothing but white space beside elements is layout and is left out.
class Document::Builder
{
public:
    Builder(Document& document, const XmlText::Rules& rules)
        : m_document(document), m_scanner(bytesOf(document.m_text), document.m_text.size(), rules)
    {
    }

    /// Makes room for exactly as many nodes as the text takes, but for layout; false when it is not
    /// well-formed.
    bool reserve(QString& error)
    {
        Scanner scanner = m_scanner;
        std::size_t nodes = 0;
        for (Token token = scanner.next(); token != Token::Finish; token = scanner.next()) {
            if (token == Token::Failure)
                return fail(scanner, error);
            if (token == Token::Start)
                nodes += 1 + 2 * scanner.attributes().size();
            else if (token != Token::End)
                ++nodes;
        }
        m_document.m_nodes.reserve(nodes);
        return true;
    }

    /// False when the text is not well-formed.
    bool build(QString& error)
    {
        for (Token token = m_scanner.next(); token != Token::Finish; token = m_scanner.next()) {
            if (token == Token::Failure)
                return fail(m_scanner, error);
            if (token == Token::Start)
                start();
            else if (token == Token::End)
                end();
            else
                m_pieces.push_back({m_scanner.text(), token == Token::Section});
        }
        return true;
    }

private:
    static bool fail(const Scanner& scanner, QString& error)
    {
        error = XmlText::toMessage(scanner.complaint(), scanner.begin());
        return false;
    }

    struct Level
    {
        NodeId element;
        bool hasElements;
    };
    struct Piece
    {
        Scanner::Part part;
        bool isSection;
    };

    NodeId add(Kind kind, Scanner::Part part)
    {
        return m_document.add(kind, static_cast<quint32>(part.begin - m_scanner.begin()),
                              static_cast<std::size_t>(part.length), 0);
    }

    void start()
    {
        addPieces(true);
        const NodeId element = add(eElement, m_scanner.name());
        if (!m_levels.empty()) {
            m_document.append(m_levels.back().element, element);
            m_levels.back().hasElements = true;
        }
        for (const Scanner::Attribute& attribute : m_scanner.attributes()) {
            m_document.append(element, add(eAttribute, attribute.name));
            add(eValue, attribute.value);
        }
        m_levels.push_back({element, false});
    }

    void end()
    {
        addPieces(m_levels.back().hasElements);
        m_levels.pop_back();
    }

    void addPieces(bool besideElements)
    {
        const auto isLayout = [](const Piece& piece) { return !piece.isSection && isBlank(piece.part); };
        if (!besideElements || !std::all_of(m_pieces.begin(), m_pieces.end(), isLayout)) {
            for (const Piece& piece : m_pieces)
                m_document.append(m_levels.back().element,
                                  add(piece.isSection ? eSection : eText, piece.part));
        }
        m_pieces.clear();
    }

    Document& m_document;
    Scanner m_scanner;
    std::vector<Level> m_levels;
    std::vector<Piece> m_pieces; ///< since the last tag
};

bool Document::parse(QByteArray text, int maxDepth, QString& error)
{
    m_text = std::move(text);
    m_text.data(); // unlike bytes that came as foreign memory, those got for writing end with a zero
    XmlText::Rules rules;
    rules.maxDepth = maxDepth;
    rules.instructions = false;
    rules.utf8 = true;
    Builder builder(*this, rules);
    // Going over a short text twice takes longer than making room for too many nodes. Of a long one that is
    // not well-formed no nodes are made.
    if (m_text.size() <= kShortText)
        m_nodes.reserve(static_cast<std::size_t>(m_text.size() / kShortTextPerNode));
    else if (!builder.reserve(error))
        return false;
    return builder.build(error);
}

QString Document::complaintAt(NodeId node, const char* what, const char* expected) const
{
    const auto name = static_cast<int>(m_nodes[node].begin);
    return XmlText::toMessage(
        {isElement(node) ? name - 1 : name, QLatin1String(what), QLatin1String(expected)}, bytesOf(m_text));
}

TreeData* Document::addTree(NodeId node)
{
    TreeData* tree = m_treeCount < m_firstTrees.size() ? &m_firstTrees[m_treeCount++] : nullptr;
    if (!tree) {
        m_moreTrees.emplace_front();
        tree = &m_moreTrees.front();
    }
    *tree = {this, node};
    return tree;
}

TreeData* Document::addPart(NodeId node)
{
    const std::lock_guard<std::mutex> lock(m_partsMutex);
    m_parts.push_front({this, node});
    return &m_parts.front();
}

std::string_view Document::raw(NodeId node) const
{
    const Node& n = m_nodes[node];
    const char* const text = (n.lengthAndFlags & kOwn) != 0 ? m_own.data() : m_text.constData();
    return {text + n.begin, n.lengthAndFlags & kLengthMask};
}

std::string_view Document::name(NodeId node) const
{
    return raw(node);
}

NodeId Document::firstOfRing(NodeId element) const
{
    const NodeId last = m_nodes[element].last;
    return last == kNoNode ? kNoNode : m_nodes[last].next;
}

NodeId Document::firstAttribute(NodeId element) const
{
    const NodeId first = firstOfRing(element);
    return first != kNoNode && kindOf(first) == eAttribute ? first : kNoNode;
}

NodeId Document::nextAttribute(NodeId attribute) const
{
    const NodeId following = next(attribute);
    return following != kNoNode && kindOf(following) == eAttribute ? following : kNoNode;
}

NodeId Document::lastAttribute(NodeId element) const
{
    NodeId last = kNoNode;
    for (NodeId attribute = firstAttribute(element); attribute != kNoNode;
         attribute = nextAttribute(attribute))
        last = attribute;
    return last;
}

NodeId Document::findAttribute(NodeId element, std::string_view name) const
{
    NodeId attribute = firstAttribute(element);
    while (attribute != kNoNode && raw(attribute) != name)
        attribute = nextAttribute(attribute);
    return attribute;
}

NodeId Document::firstChild(NodeId element) const
{
    const NodeId attribute = lastAttribute(element);
    return attribute == kNoNode ? firstOfRing(element) : next(attribute);
}

NodeId Document::elementFrom(NodeId child) const
{
    while (child != kNoNode && !isElement(child))
        child = next(child);
    return child;
}

void Document::appendMeaning(NodeId node, std::string& out) const
{
    const Kind kind = kindOf(node);
    if (kind == eAttribute)
        return appendMeaning(node + 1, out);
    const std::string_view text = raw(node);
    if ((m_nodes[node].lengthAndFlags & kOwn) != 0) {
        out += text;
        return;
    }
    const auto meaning = kind == eValue     ? XmlText::Meaning::Attribute
                         : kind == eSection ? XmlText::Meaning::Section
                                            : XmlText::Meaning::Text;
    XmlText::appendMeaning(
        Scanner::Part{reinterpret_cast<const uchar*>(text.data()), static_cast<int>(text.size())}, meaning,
        out);
}

std::string Document::directText(NodeId element) const
{
    std::string text;
    for (NodeId child = firstChild(element); child != kNoNode; child = next(child)) {
        if (isText(child))
            appendMeaning(child, text);
    }
    return text;
}

NodeId Document::add(Kind kind, quint32 begin, std::size_t length, quint32 flags)
{
    if (length > kLengthMask || m_nodes.size() >= kNoNode)
        qBadAlloc();
    m_nodes.push_back({begin, static_cast<quint32>(length) | kind << kKindShift | flags, kNoNode, kNoNode});
    return static_cast<NodeId>(m_nodes.size() - 1);
}

NodeId Document::addOwn(Kind kind, std::string_view text)
{
    const std::size_t begin = m_own.size();
    if (begin > std::numeric_limits<quint32>::max())
        qBadAlloc();
    m_own.append(text);
    return add(kind, static_cast<quint32>(begin), text.size(), kOwn);
}

/// Behind `previous`, which is a child of the element; kNoNode for the front.
void Document::insert(NodeId element, NodeId previous, NodeId child)
{
    Node& parent = m_nodes[element];
    const bool isOnly = parent.last == kNoNode;
    const NodeId before = previous == kNoNode ? parent.last : previous;
    m_nodes[child].next = isOnly ? child : m_nodes[before].next;
    if (!isOnly)
        m_nodes[before].next = child;
    if (!isOnly && previous != parent.last)
        return;
    if (!isOnly)
        m_nodes[parent.last].lengthAndFlags &= ~kLast;
    m_nodes[child].lengthAndFlags |= kLast;
    parent.last = child;
}

NodeId Document::appendElement(NodeId parent, std::string_view name)
{
    const NodeId element = addOwn(eElement, name);
    if (parent != kNoNode)
        append(parent, element);
    return element;
}

void Document::removeText(NodeId element)
{
    std::vector<NodeId> kept;
    for (NodeId child = firstOfRing(element); child != kNoNode; child = next(child)) {
        if (!isText(child))
            kept.push_back(child);
    }
    m_nodes[element].last = kNoNode;
    for (const NodeId child : kept) {
        m_nodes[child].lengthAndFlags &= ~kLast;
        append(element, child);
    }
}

void Document::setText(NodeId element, std::string_view text)
{
    removeText(element);
    if (text.empty())
        return;
    const NodeId piece = addOwn(eText, text);
    insert(element, lastAttribute(element), piece);
}

void Document::setAttribute(NodeId element, std::string_view name, std::string_view value)
{
    const NodeId known = findAttribute(element, name);
    if (known == kNoNode) {
        const NodeId attribute = addOwn(eAttribute, name);
        addOwn(eValue, value);
        insert(element, lastAttribute(element), attribute);
        return;
    }
    const NodeId other = addOwn(eValue, value);
    m_nodes[known + 1] = m_nodes[other];
    m_nodes.pop_back();
}

NodeId Document::appendCopy(NodeId parent, const Document& source, NodeId element)
{
    struct Level
    {
        NodeId next;
        NodeId target;
    };
    std::vector<Level> levels;
    std::string text;
    const auto enter = [&](NodeId original, NodeId target) {
        const NodeId copy = appendElement(target, source.raw(original));
        for (NodeId a = source.firstAttribute(original); a != kNoNode; a = source.nextAttribute(a)) {
            text.clear();
            source.appendMeaning(a, text);
            append(copy, addOwn(eAttribute, source.raw(a)));
            addOwn(eValue, text);
        }
        levels.push_back({source.firstChild(original), copy});
        return copy;
    };
    const NodeId result = enter(element, parent);
    while (!levels.empty()) {
        const auto [child, target] = levels.back();
        if (child == kNoNode) {
            levels.pop_back();
            continue;
        }
        levels.back().next = source.next(child);
        if (source.isElement(child)) {
            enter(child, target);
            continue;
        }
        text.clear();
        source.appendMeaning(child, text);
        append(target, addOwn(eText, text));
    }
    return result;
}

bool parseUInt(const std::string& text, quint64& value) noexcept
{
    quint64 result = 0;
    for (const char c : text) {
        const auto digit = static_cast<quint64>(c - '0');
        if (c < '0' || c > '9' || result > (std::numeric_limits<quint64>::max() - digit) / 10)
            return false;
        result = result * 10 + digit;
    }
    if (text.empty())
        return false;
    value = result;
    return true;
}

} // namespace XmlCommon::detail
