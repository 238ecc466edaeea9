#include "messagecodec.h"

#include "document.h"
#include "treewriter.h"
#include "xmlappender.h"

#include <xmltext/characters.h>

#include <limits>

namespace XmlCommon {

namespace {

using detail::kNoNode;
using detail::NodeId;

constexpr quint64 kMaxServiceType = 255;

} // namespace

/// Turns one parsed document into a message. Every step returns false after it has noted what is wrong.
class MessageCodec::Decoder
{
public:
    Decoder(detail::Document& document, const MessageLimits& limits, QString& error)
        : m_document(document), m_limits(limits), m_error(error)
    {
    }

    bool message(CXmlMessage& message);

private:
    bool fail(NodeId node, const char* what, const char* expected)
    {
        m_error = m_document.complaintAt(node, what, expected);
        return false;
    }

    bool messageAttribute(NodeId attribute, CXmlMessage& message);
    bool messageAttributes(NodeId root, CXmlMessage& message);
    bool fragment(NodeId node, CMsgFragment& fragment);
    bool part(NodeId node, CMsgFragment& fragment);
    bool onlyElement(NodeId node, CDataTree& tree);
    CDataTree tree(NodeId node) { return CDataTree(detail::TreeHandle(m_document.addTree(node))); }
    std::string valueOf(NodeId attribute) const
    {
        std::string value;
        m_document.appendMeaning(attribute, value);
        return value;
    }

    detail::Document& m_document;
    const MessageLimits& m_limits;
    QString& m_error;
};

bool MessageCodec::Decoder::message(CXmlMessage& message)
{
    const NodeId root = m_document.root();
    if (m_document.name(root) != "Message")
        return fail(root, "unknown root element", "Message");
    if (!messageAttributes(root, message))
        return false;
    int count = 0;
    for (NodeId child = m_document.firstChild(root); child != kNoNode; child = m_document.next(child)) {
        if (!m_document.isElement(child) || m_document.name(child) != "Fragment")
            return fail(child, "unknown content of Message", "Fragment");
        if (++count > m_limits.maxFragments)
            return fail(child, "too many fragments", "fewer");
        if (!fragment(child, message.appendFragment()))
            return false;
    }
    return true;
}

bool MessageCodec::Decoder::messageAttributes(NodeId root, CXmlMessage& message)
{
    for (NodeId a = m_document.firstAttribute(root); a != kNoNode; a = m_document.nextAttribute(a)) {
        if (!messageAttribute(a, message))
            return false;
    }
    const bool complete = m_document.findAttribute(root, "id") != kNoNode &&
                          m_document.findAttribute(root, "service") != kNoNode;
    return complete || fail(root, "Message lacks an attribute", "id and service");
}

bool MessageCodec::Decoder::messageAttribute(NodeId attribute, CXmlMessage& message)
{
    const std::string_view name = m_document.name(attribute);
    if (name == "token") {
        message.setToken(XmlText::textFromUtf8(valueOf(attribute)));
        const int length = message.getToken().size();
        return (length >= 1 && length <= CXmlMessage::kMaxTokenLength) ||
               fail(attribute, "token of a wrong length", "1 to 64 characters");
    }
    const bool isService = name == "service";
    if (!isService && name != "id" && name != "time")
        return fail(attribute, "unknown attribute of Message", "id, service, time or token");
    quint64 value = 0;
    if (!detail::parseUInt(valueOf(attribute), value) ||
        value > (isService ? kMaxServiceType : std::numeric_limits<quint32>::max()))
        return fail(attribute, "number out of range", "a decimal number");
    if (isService)
        message.setServiceType(static_cast<CXmlMessage::eSERVICE_TYPES>(value));
    else if (name == "id")
        message.setMessageID(static_cast<quint32>(value));
    else
        message.setAvailableTime(static_cast<quint32>(value));
    return true;
}

bool MessageCodec::Decoder::fragment(NodeId node, CMsgFragment& fragment)
{
    const NodeId component = m_document.firstAttribute(node);
    if (component == kNoNode || m_document.name(component) != "component" ||
        m_document.nextAttribute(component) != kNoNode)
        return fail(node, "wrong attributes of Fragment", "component");
    fragment.setComponentName(XmlText::textFromUtf8(valueOf(component)));
    for (NodeId child = m_document.firstChild(node); child != kNoNode; child = m_document.next(child)) {
        if (!m_document.isElement(child))
            return fail(child, "text in Fragment", "Request, Data or Fault");
        if (!part(child, fragment))
            return false;
    }
    return true;
}

bool MessageCodec::Decoder::part(NodeId node, CMsgFragment& fragment)
{
    const std::string_view name = m_document.name(node);
    const bool fault = name == "Fault";
    const bool request = name == "Request";
    if (!fault && !request && name != "Data")
        return fail(node, "unknown content of Fragment", "Request, Data or Fault");
    if (fault ? fragment.hasFaultTree() : request ? fragment.hasRequestTree() : fragment.hasDataTree())
        return fail(node, "second part of the same kind", "each at most once");
    if (fault) {
        fragment.setFaultTree(CFaultTree(tree(node)));
        return true;
    }
    CDataTree content;
    if (!onlyElement(node, content))
        return false;
    if (request)
        fragment.setRequestTree(CRequestTree(std::move(content)));
    else
        fragment.setDataTree(std::move(content));
    return true;
}

bool MessageCodec::Decoder::onlyElement(NodeId node, CDataTree& content)
{
    const NodeId child = m_document.firstChild(node);
    if (m_document.firstAttribute(node) != kNoNode || child == kNoNode || !m_document.isElement(child) ||
        m_document.next(child) != kNoNode)
        return fail(node, "wrong content of Request or Data", "exactly one element");
    content = tree(child);
    return true;
}

/// Writes one message.
class MessageCodec::Encoder
{
public:
    explicit Encoder(QByteArray& out) : m_out(out) {}

    void message(const CXmlMessage& message);

private:
    void fragment(const CMsgFragment& fragment);
    void fault(const CFaultTree& fault);
    void tree(const CDataTree& tree)
    {
        const CConstElement root = tree.root();
        detail::appendXml(m_out, *root.m_document, root.m_node);
    }

    detail::XmlAppender m_out;
};

void MessageCodec::Encoder::message(const CXmlMessage& message)
{
    m_out.literal("<Message id=\"");
    m_out.number(message.getMessageID());
    m_out.literal("\" service=\"");
    m_out.number(static_cast<quint32>(message.getServiceType()) & 0xFFU);
    if (message.getAvailableTime() != 0) {
        m_out.literal("\" time=\"");
        m_out.number(message.getAvailableTime());
    }
    if (!message.getToken().isEmpty()) {
        m_out.literal("\" token=\"");
        m_out.escaped(XmlText::toUtf8(message.getToken()).constData(), XmlText::eAttribute);
    }
    m_out.literal("\">");
    for (int i = 0; i < message.getNumberOfFragments(); ++i)
        fragment(message.getFragment(i));
    m_out.literal("</Message>");
}

void MessageCodec::Encoder::fragment(const CMsgFragment& fragment)
{
    m_out.literal("<Fragment component=\"");
    m_out.escaped(XmlText::toUtf8(fragment.getComponentName()).constData(), XmlText::eAttribute);
    m_out.literal("\">");
    if (fragment.hasRequestTree()) {
        m_out.literal("<Request>");
        tree(fragment.getRequestTree().getDataTree());
        m_out.literal("</Request>");
    }
    if (fragment.hasDataTree()) {
        m_out.literal("<Data>");
        tree(fragment.getDataTree());
        m_out.literal("</Data>");
    }
    if (fragment.hasFaultTree())
        fault(fragment.getFaultTree());
    m_out.literal("</Fragment>");
}

/// A tree that is no fault travels as a fault without a number.
void MessageCodec::Encoder::fault(const CFaultTree& fault)
{
    const bool valid = fault.isValid();
    if (!valid)
        m_out.literal("<Fault>");
    tree(fault.getDataTree());
    if (!valid)
        m_out.literal("</Fault>");
}

void MessageCodec::encode(const CXmlMessage& message, QByteArray& out)
{
    Encoder(out).message(message);
}

ptrCXmlMessage MessageCodec::decode(QByteArray text, QString& error, const MessageLimits& limits)
{
    if (text.size() > limits.maxMessageBytes) {
        error = QStringLiteral("message of %1 bytes, expected at most %2")
                    .arg(text.size())
                    .arg(limits.maxMessageBytes);
        return ptrCXmlMessage();
    }
    const detail::DocumentHolder document;
    if (!document->parse(std::move(text), limits.maxDepth, error))
        return ptrCXmlMessage();
    ptrCXmlMessage message(new CXmlMessage);
    if (!Decoder(*document, limits, error).message(*message))
        return ptrCXmlMessage();
    return message;
}

QString MessageCodec::toReadable(const CXmlMessage& message)
{
    QByteArray text;
    encode(message, text);
    QString error;
    const detail::DocumentHolder document;
    if (!document->parse(text, std::numeric_limits<int>::max(), error))
        return error;
    return detail::readable(*document, document->root());
}

} // namespace XmlCommon
