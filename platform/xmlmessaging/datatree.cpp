#include "datatree.h"

#include "document.h"
#include "treewriter.h"
#include "xmlappender.h"

#include <xmltext/characters.h>

#include <string>

namespace XmlCommon {

namespace detail {

namespace {

constexpr int kMaxDepth = 64;

/// A document of its own with a copy of the element.
TreeHandle copyOf(const Document& source, NodeId element)
{
    const DocumentHolder document;
    return TreeHandle(document->addTree(document->appendCopy(kNoNode, source, element)));
}

std::string_view viewOf(const QByteArray& bytes)
{
    return {bytes.constData(), static_cast<std::size_t>(bytes.size())};
}

/// The number that a text is; 0 when it is none.
quint64 toUInt(const std::string& text, bool* ok) noexcept
{
    quint64 value = 0;
    const bool isNumber = parseUInt(text, value);
    if (ok)
        *ok = isNumber;
    return value;
}

std::string attributeOf(const Document& document, NodeId element, const char* name)
{
    std::string value;
    const NodeId attribute = document.findAttribute(element, name);
    if (attribute != kNoNode)
        document.appendMeaning(attribute, value);
    return value;
}

} // namespace

void TreeHandle::retain() const noexcept
{
    m_data->document->ref();
}

void TreeHandle::release() const noexcept
{
    m_data->document->deref();
}

} // namespace detail

using detail::kNoNode;
using detail::NodeId;

QString CConstElement::name() const
{
    return isNull() ? QString() : XmlText::textFromUtf8(m_document->name(m_node));
}

bool CConstElement::hasName(const char* name) const noexcept
{
    return !isNull() && m_document->name(m_node) == name;
}

QString CConstElement::text() const
{
    return isNull() ? QString() : XmlText::textFromUtf8(m_document->directText(m_node));
}

QString CConstElement::attribute(const char* name) const
{
    return isNull() ? QString() : XmlText::textFromUtf8(detail::attributeOf(*m_document, m_node, name));
}

bool CConstElement::hasAttribute(const char* name) const noexcept
{
    return !isNull() && m_document->findAttribute(m_node, name) != kNoNode;
}

quint64 CConstElement::textToUInt(bool* ok) const noexcept
{
    return detail::toUInt(isNull() ? std::string() : m_document->directText(m_node), ok);
}

quint64 CConstElement::attributeToUInt(const char* name, bool* ok) const noexcept
{
    return detail::toUInt(isNull() ? std::string() : detail::attributeOf(*m_document, m_node, name), ok);
}

/// The first element from a child on, of any name or of the given one.
CConstElement CConstElement::from(NodeId child, const char* name) const noexcept
{
    NodeId element = child == kNoNode ? kNoNode : m_document->elementFrom(child);
    while (name && element != kNoNode && m_document->name(element) != name)
        element = m_document->elementFrom(m_document->next(element));
    return CConstElement(m_document, element);
}

CConstElement CConstElement::child(const char* name) const noexcept
{
    return isNull() ? CConstElement() : from(m_document->firstChild(m_node), name);
}

CConstElement CConstElement::next(const char* name) const noexcept
{
    return isNull() ? CConstElement() : from(m_document->next(m_node), name);
}

CElement CElement::append(const char* name)
{
    if (isNull())
        return CElement();
    return CElement(m_document, m_document->appendElement(m_node, detail::viewOf(XmlText::toName(name))));
}

CElement CElement::append(const char* name, const QString& text)
{
    CElement element = append(name);
    element.setText(text);
    return element;
}

CElement CElement::append(const CDataTree& tree)
{
    const CConstElement root = tree.root();
    if (isNull() || root.isNull())
        return CElement();
    return CElement(m_document, m_document->appendCopy(m_node, *root.m_document, root.m_node));
}

void CElement::setText(const QString& text)
{
    if (!isNull())
        m_document->setText(m_node, detail::viewOf(XmlText::toUtf8(text)));
}

void CElement::setAttribute(const char* name, const QString& value)
{
    if (!isNull())
        m_document->setAttribute(m_node, detail::viewOf(XmlText::toName(name)),
                                 detail::viewOf(XmlText::toUtf8(value)));
}

void CElement::setAttribute(const char* name, quint64 value)
{
    setAttribute(name, QString::number(value));
}

CDataTree::CDataTree(const CTagname& root)
{
    const detail::DocumentHolder document;
    const QByteArray name = XmlText::toName(root.toString().toUtf8());
    m_data = detail::TreeHandle(document->addTree(document->appendElement(kNoNode, detail::viewOf(name))));
}

CDataTree::CDataTree(CConstElement element)
{
    if (element)
        m_data = detail::copyOf(*element.m_document, element.m_node);
}

CDataTree CDataTree::part(CConstElement element) const
{
    if (!m_data || !element)
        return CDataTree();
    return CDataTree(detail::TreeHandle(element.m_document->addPart(element.m_node)));
}

CTagname CDataTree::getRootTagname() const
{
    return CTagname(root().name());
}

CConstElement CDataTree::root() const noexcept
{
    return m_data ? CConstElement(m_data.get()->document, m_data.get()->node) : CConstElement();
}

CElement CDataTree::editRoot()
{
    if (!m_data)
        return CElement();
    if (m_data.get()->document->isShared())
        m_data = detail::copyOf(*m_data.get()->document, m_data.get()->node);
    return CElement(m_data.get()->document, m_data.get()->node);
}

QByteArray CDataTree::toXml() const
{
    QByteArray xml;
    if (m_data) {
        detail::XmlAppender out(xml);
        detail::appendXml(out, *m_data.get()->document, m_data.get()->node);
    }
    return xml;
}

QString CDataTree::toReadableXml() const
{
    return m_data ? detail::readable(*m_data.get()->document, m_data.get()->node) : QString();
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
    return CDataTree(detail::TreeHandle(document->addTree(document->root())));
}

bool CDataTree::operator==(const CDataTree& other) const
{
    return m_data.get() == other.m_data.get() || toXml() == other.toXml();
}

} // namespace XmlCommon
