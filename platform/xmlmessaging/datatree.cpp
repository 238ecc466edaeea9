#include "datatree.h"

#include "treedata.h"
#include "xmlappender.h"

#include <xmltext/characters.h>
#include <xmltext/scanner.h>

#include <cstring>
#include <limits>
#include <string>

namespace XmlCommon {

namespace detail {

namespace {

constexpr int kMaxDepth = 64;

bool isText(pugi::xml_node node)
{
    return node.type() == pugi::node_pcdata || node.type() == pugi::node_cdata;
}

/// How a text is written that begins with the piece `first`. White space beside elements would be taken for
/// layout, so it travels as references.
XmlAppender::Place placeOf(pugi::xml_node first)
{
    pugi::xml_node piece = first;
    for (; isText(piece); piece = piece.next_sibling()) {
        const char* const text = piece.value();
        if (text[std::strspn(text, " \t\r\n")])
            return XmlAppender::eCharacterData;
    }
    const bool alone = first.previous_sibling().empty() && piece.empty();
    return alone ? XmlAppender::eCharacterData : XmlAppender::eBesideElements;
}

/// Appends the whole text at its first piece.
void appendText(XmlAppender& out, pugi::xml_node piece)
{
    if (isText(piece.previous_sibling()))
        return;
    const XmlAppender::Place place = placeOf(piece);
    for (; isText(piece); piece = piece.next_sibling())
        out.escaped(piece.value(), place);
}

/// Whether an element has an element or a text that is not empty.
bool hasContent(pugi::xml_node element)
{
    pugi::xml_node child = element.first_child();
    while (isText(child) && !*child.value())
        child = child.next_sibling();
    return !child.empty();
}

/// Appends a text, or a start tag; returns the child with which the open element goes on, null when there is
/// none.
pugi::xml_node appendNode(XmlAppender& out, pugi::xml_node node)
{
    if (node.type() != pugi::node_element) {
        if (isText(node))
            appendText(out, node);
        return pugi::xml_node();
    }
    out.name("<", node.name(), "");
    for (pugi::xml_attribute attribute = node.first_attribute(); !attribute.empty();
         attribute = attribute.next_attribute()) {
        out.name(" ", attribute.name(), "=\"");
        out.escaped(attribute.value(), XmlAppender::eAttribute);
        out.literal("\"");
    }
    if (!hasContent(node)) {
        out.literal("/>");
        return pugi::xml_node();
    }
    out.literal(">");
    return node.first_child();
}

std::string directText(pugi::xml_node element)
{
    std::string text;
    for (pugi::xml_node child = element.first_child(); child; child = child.next_sibling()) {
        if (isText(child))
            text.append(child.value());
    }
    return text;
}

pugi::xml_node firstElement(pugi::xml_node node)
{
    while (node && node.type() != pugi::node_element)
        node = node.next_sibling();
    return node;
}

class ByteArrayWriter : public pugi::xml_writer
{
public:
    void write(const void* data, std::size_t size) override
    {
        bytes.append(static_cast<const char*>(data), static_cast<int>(size));
    }
    QByteArray bytes;
};

/// A document of its own with a copy of `element`.
TreeHandle copyOf(pugi::xml_node element)
{
    const DocumentHolder document;
    return TreeHandle(document->addTree(document->xml.append_copy(element)));
}

} // namespace

bool Document::parse(QByteArray text, int maxDepth, QString& error)
{
    m_text = std::move(text);
    // Unlike the bytes that came, which may be foreign memory, those got for writing end with a zero.
    char* const bytes = m_text.data();
    XmlText::Rules rules;
    rules.maxDepth = maxDepth;
    rules.instructions = false;
    rules.utf8 = true;
    if (!XmlText::isWellFormed(bytes, m_text.size(), rules, error))
        return false;
    constexpr unsigned int kOptions = pugi::parse_default | pugi::parse_ws_pcdata_single;
    const pugi::xml_parse_result result = xml.load_buffer_inplace(
        bytes, static_cast<std::size_t>(m_text.size()), kOptions, pugi::encoding_utf8);
    if (!result)
        error = QString::fromLatin1(result.description());
    return result;
}

QString Document::complaintAt(pugi::xml_node node, const char* what, const char* expected) const
{
    const auto position = static_cast<int>(qMax(std::ptrdiff_t(0), node.offset_debug()));
    return XmlText::toMessage({position, QLatin1String(what), QLatin1String(expected)},
                              reinterpret_cast<const uchar*>(m_text.constData()));
}

TreeData* Document::addTree(pugi::xml_node node)
{
    TreeData* tree = m_treeCount < m_firstTrees.size() ? &m_firstTrees[m_treeCount++] : nullptr;
    if (!tree) {
        m_moreTrees.emplace_front();
        tree = &m_moreTrees.front();
    }
    tree->document = this;
    tree->node = node;
    return tree;
}

TreeData* Document::addPart(pugi::xml_node node)
{
    const std::lock_guard<std::mutex> lock(m_partsMutex);
    m_parts.emplace_front();
    m_parts.front().document = this;
    m_parts.front().node = node;
    return &m_parts.front();
}

void appendXml(XmlAppender& out, pugi::xml_node element)
{
    pugi::xml_node node = element;
    for (;;) {
        const pugi::xml_node child = appendNode(out, node);
        if (!child.empty()) {
            node = child;
            continue;
        }
        pugi::xml_node following;
        while (node != element && (following = node.next_sibling()).empty()) {
            node = node.parent();
            out.name("</", node.name(), ">");
        }
        if (node == element)
            return;
        node = following;
    }
}

void appendEscaped(XmlAppender& out, const QString& text)
{
    out.escaped(XmlText::toUtf8(text).constData(), XmlAppender::eAttribute);
}

bool parseUInt(const char* text, quint64& value) noexcept
{
    quint64 result = 0;
    const char* at = text;
    for (; *at >= '0' && *at <= '9'; ++at) {
        const auto digit = static_cast<quint64>(*at - '0');
        if (result > (std::numeric_limits<quint64>::max() - digit) / 10)
            return false;
        result = result * 10 + digit;
    }
    if (at == text || *at)
        return false;
    value = result;
    return true;
}

QString readable(pugi::xml_node element)
{
    ByteArrayWriter writer;
    element.print(writer, "  ", pugi::format_indent, pugi::encoding_utf8);
    return QString::fromUtf8(writer.bytes);
}

void TreeHandle::retain() const noexcept
{
    m_data->document->ref();
}

void TreeHandle::release() const noexcept
{
    m_data->document->deref();
}

} // namespace detail

QString CConstElement::name() const
{
    return XmlText::textFromUtf8(pugi::xml_node(m_node).name());
}

bool CConstElement::hasName(const char* name) const noexcept
{
    return m_node && !std::strcmp(pugi::xml_node(m_node).name(), name);
}

QString CConstElement::text() const
{
    return XmlText::textFromUtf8(detail::directText(pugi::xml_node(m_node)));
}

QString CConstElement::attribute(const char* name) const
{
    return XmlText::textFromUtf8(pugi::xml_node(m_node).attribute(name).value());
}

bool CConstElement::hasAttribute(const char* name) const noexcept
{
    return !pugi::xml_node(m_node).attribute(name).empty();
}

quint64 CConstElement::textToUInt(bool* ok) const noexcept
{
    const pugi::xml_node first = pugi::xml_node(m_node).first_child();
    quint64 value = 0;
    const bool plain = detail::isText(first) && !first.next_sibling();
    const bool read = plain ? detail::parseUInt(first.value(), value)
                            : detail::parseUInt(detail::directText(pugi::xml_node(m_node)).c_str(), value);
    if (ok)
        *ok = read;
    return value;
}

quint64 CConstElement::attributeToUInt(const char* name, bool* ok) const noexcept
{
    quint64 value = 0;
    const bool read = detail::parseUInt(pugi::xml_node(m_node).attribute(name).value(), value);
    if (ok)
        *ok = read;
    return value;
}

CConstElement CConstElement::child() const noexcept
{
    return CConstElement(detail::firstElement(pugi::xml_node(m_node).first_child()).internal_object());
}

CConstElement CConstElement::child(const char* name) const noexcept
{
    return CConstElement(pugi::xml_node(m_node).child(name).internal_object());
}

CConstElement CConstElement::next() const noexcept
{
    return CConstElement(detail::firstElement(pugi::xml_node(m_node).next_sibling()).internal_object());
}

CConstElement CConstElement::next(const char* name) const noexcept
{
    return CConstElement(pugi::xml_node(m_node).next_sibling(name).internal_object());
}

CElement CElement::append(const char* name)
{
    return CElement(pugi::xml_node(m_node).append_child(XmlText::toName(name).constData()).internal_object());
}

CElement CElement::append(const char* name, const QString& text)
{
    CElement element = append(name);
    element.setText(text);
    return element;
}

CElement CElement::append(const CDataTree& tree)
{
    const pugi::xml_node root(tree.root().m_node);
    return root ? CElement(pugi::xml_node(m_node).append_copy(root).internal_object()) : CElement();
}

void CElement::setText(const QString& text)
{
    pugi::xml_node element(m_node);
    for (pugi::xml_node child = element.first_child(); child;) {
        const pugi::xml_node following = child.next_sibling();
        if (detail::isText(child))
            element.remove_child(child);
        child = following;
    }
    if (!text.isEmpty())
        element.prepend_child(pugi::node_pcdata).set_value(XmlText::toUtf8(text).constData());
}

void CElement::setAttribute(const char* name, const QString& value)
{
    pugi::xml_node element(m_node);
    const QByteArray xmlName = XmlText::toName(name);
    pugi::xml_attribute attribute = element.attribute(xmlName.constData());
    if (!attribute)
        attribute = element.append_attribute(xmlName.constData());
    attribute.set_value(XmlText::toUtf8(value).constData());
}

void CElement::setAttribute(const char* name, quint64 value)
{
    setAttribute(name, QString::number(value));
}

CDataTree::CDataTree(const CTagname& root)
{
    const detail::DocumentHolder document;
    pugi::xml_node node = document->xml.append_child(XmlText::toName(root.toString().toUtf8()).constData());
    m_data = detail::TreeHandle(document->addTree(node));
}

CDataTree::CDataTree(CConstElement element)
{
    if (element)
        m_data = detail::copyOf(pugi::xml_node(element.m_node));
}

CDataTree CDataTree::part(CConstElement element) const
{
    if (!m_data || !element)
        return CDataTree();
    return CDataTree(detail::TreeHandle(m_data.get()->document->addPart(pugi::xml_node(element.m_node))));
}

CTagname CDataTree::getRootTagname() const
{
    return CTagname(root().name());
}

CConstElement CDataTree::root() const noexcept
{
    return m_data ? CConstElement(m_data.get()->node.internal_object()) : CConstElement();
}

CElement CDataTree::editRoot()
{
    if (!m_data)
        return CElement();
    if (m_data.get()->document->isShared())
        m_data = detail::copyOf(m_data.get()->node);
    return CElement(m_data.get()->node.internal_object());
}

QByteArray CDataTree::toXml() const
{
    QByteArray xml;
    if (m_data) {
        detail::XmlAppender out(xml);
        detail::appendXml(out, m_data.get()->node);
    }
    return xml;
}

QString CDataTree::toReadableXml() const
{
    return m_data ? detail::readable(m_data.get()->node) : QString();
}

CDataTree CDataTree::fromXml(const QByteArray& xml, QString* error)
{
    const detail::DocumentHolder document;
    QString problem;
    const bool parsed = document->parse(xml, detail::kMaxDepth, problem);
    if (error)
        *error = problem;
    if (!parsed)
        return CDataTree();
    return CDataTree(detail::TreeHandle(document->addTree(document->xml.document_element())));
}

bool CDataTree::operator==(const CDataTree& other) const
{
    return m_data.get() == other.m_data.get() || toXml() == other.toXml();
}

} // namespace XmlCommon
