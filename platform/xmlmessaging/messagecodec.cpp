#include "messagecodec.h"

#include "treedata.h"
#include "xmlappender.h"

#include <xmltext/characters.h>

#include <cstring>
#include <limits>

namespace XmlCommon {

namespace {

constexpr quint64 kMaxServiceType = 255;

} // namespace

/// Turns one parsed document into a message. Every step returns false after it has noted what is wrong.
class MessageCodec::Decoder
{
public:
    Decoder(const detail::DocumentHolder& document, const MessageLimits& limits, QString& error)
        : m_document(document), m_limits(limits), m_error(error)
    {
    }

    bool message(CXmlMessage& message);

private:
    bool fail(pugi::xml_node node, const char* what, const char* expected)
    {
        m_error = m_document->complaintAt(node, what, expected);
        return false;
    }

    bool number(pugi::xml_node node, pugi::xml_attribute attribute, quint64 largest, quint64& value)
    {
        return (detail::parseUInt(attribute.value(), value) && value <= largest) ||
               fail(node, "number out of range", "a decimal number");
    }
    bool messageAttributes(pugi::xml_node root, CXmlMessage& message);
    bool fragment(pugi::xml_node node, CMsgFragment& fragment);
    bool part(pugi::xml_node node, CMsgFragment& fragment);
    bool onlyElement(pugi::xml_node node, CDataTree& tree);
    CDataTree tree(pugi::xml_node node);

    const detail::DocumentHolder& m_document;
    const MessageLimits& m_limits;
    QString& m_error;
};

bool MessageCodec::Decoder::message(CXmlMessage& message)
{
    const pugi::xml_node root = m_document->xml.document_element();
    if (std::strcmp(root.name(), "Message") != 0)
        return fail(root, "unknown root element", "Message");
    if (!messageAttributes(root, message))
        return false;
    int count = 0;
    for (pugi::xml_node child = root.first_child(); child; child = child.next_sibling()) {
        if (std::strcmp(child.name(), "Fragment") != 0)
            return fail(child.type() == pugi::node_element ? child : root, "unknown content of Message",
                        "Fragment");
        if (++count > m_limits.maxFragments)
            return fail(child, "too many fragments", "fewer");
        if (!fragment(child, message.appendFragment()))
            return false;
    }
    return true;
}

bool MessageCodec::Decoder::messageAttributes(pugi::xml_node root, CXmlMessage& message)
{
    constexpr quint64 kMax32 = std::numeric_limits<quint32>::max();
    bool idSeen = false;
    bool serviceSeen = false;
    for (pugi::xml_attribute attribute = root.first_attribute(); attribute;
         attribute = attribute.next_attribute()) {
        quint64 value = 0;
        const char* const name = attribute.name();
        const bool id = !std::strcmp(name, "id");
        const bool service = !id && !std::strcmp(name, "service");
        if (!id && !service && std::strcmp(name, "time") != 0)
            return fail(root, "unknown attribute of Message", "id, service or time");
        if (!number(root, attribute, service ? kMaxServiceType : kMax32, value))
            return false;
        if (id)
            message.setMessageID(static_cast<quint32>(value));
        else if (service)
            message.setServiceType(static_cast<CXmlMessage::eSERVICE_TYPES>(value));
        else
            message.setAvailableTime(static_cast<quint32>(value));
        idSeen |= id;
        serviceSeen |= service;
    }
    return (idSeen && serviceSeen) || fail(root, "Message lacks an attribute", "id and service");
}

bool MessageCodec::Decoder::fragment(pugi::xml_node node, CMsgFragment& fragment)
{
    const pugi::xml_attribute component = node.first_attribute();
    if (std::strcmp(component.name(), "component") != 0 || component.next_attribute())
        return fail(node, "wrong attributes of Fragment", "component");
    fragment.setComponentName(XmlText::textFromUtf8(component.value()));
    for (pugi::xml_node child = node.first_child(); child; child = child.next_sibling()) {
        if (child.type() != pugi::node_element)
            return fail(node, "text in Fragment", "Request, Data or Fault");
        if (!part(child, fragment))
            return false;
    }
    return true;
}

bool MessageCodec::Decoder::part(pugi::xml_node node, CMsgFragment& fragment)
{
    const char* const name = node.name();
    const bool fault = !std::strcmp(name, "Fault");
    const bool request = !fault && !std::strcmp(name, "Request");
    if (!fault && !request && std::strcmp(name, "Data") != 0)
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

bool MessageCodec::Decoder::onlyElement(pugi::xml_node node, CDataTree& content)
{
    const pugi::xml_node child = node.first_child();
    if (node.first_attribute() || child.type() != pugi::node_element || child.next_sibling())
        return fail(node, "wrong content of Request or Data", "exactly one element");
    content = tree(child);
    return true;
}

CDataTree MessageCodec::Decoder::tree(pugi::xml_node node)
{
    return CDataTree(detail::TreeHandle(m_document->addTree(node)));
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
    void tree(const CDataTree& tree) { detail::appendXml(m_out, pugi::xml_node(tree.root().m_node)); }

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
    m_out.literal("\">");
    for (int i = 0; i < message.getNumberOfFragments(); ++i)
        fragment(message.getFragment(i));
    m_out.literal("</Message>");
}

void MessageCodec::Encoder::fragment(const CMsgFragment& fragment)
{
    m_out.literal("<Fragment component=\"");
    detail::appendEscaped(m_out, fragment.getComponentName());
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
    if (!Decoder(document, limits, error).message(*message))
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
    return detail::readable(document->xml.document_element());
}

} // namespace XmlCommon
