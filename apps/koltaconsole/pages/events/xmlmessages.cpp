#include "xmlmessages.h"

#include "linktraffic.h"

#include <koltacommon/koltaconnection.h>
#include <koltacommon/koltaconnectionsviewer.h>
#include <startup/clock.h>
#include <xmlmessaging/messagecodec.h>
#include <xmlmessaging/xmlmessage.h>

#include <QStringList>

#include <algorithm>
#include <memory>
#include <utility>

namespace KoltaConsole {

using XmlCommon::CMsgFragment;
using XmlCommon::CXmlMessage;

namespace {

constexpr int kToldParts = 3; ///< of a message, in its sentence

QString partSentence(CXmlMessage::eSERVICE_TYPES service, const CMsgFragment& part)
{
    const QString component = part.getComponentName();
    if (part.hasFaultTree())
        return LinkTraffic::tr("%1 refuses: %2")
            .arg(component, Kolta::KoltaConnection::getFaultText(part).simplified());
    const QString asked = part.getRequestTree().getDataTree().getRootTagname().toString();
    const QString data = part.getDataTree().getRootTagname().toString();
    switch (service) {
    case CXmlMessage::eSERVICE_QUERY:
        return LinkTraffic::tr("asks %1 for %2").arg(component, asked);
    case CXmlMessage::eSERVICE_COMMAND:
        return LinkTraffic::tr("orders %2 from %1").arg(component, asked);
    case CXmlMessage::eSERVICE_QUERY_REPLY:
    case CXmlMessage::eSERVICE_COMMAND_REPLY:
        return data.isEmpty() ? LinkTraffic::tr("%1 has done it").arg(component)
                              : LinkTraffic::tr("%1 answers with %2").arg(component, data);
    case CXmlMessage::eSERVICE_BROADCAST:
        return LinkTraffic::tr("%1 tells of %2").arg(component, data);
    default:
        return LinkTraffic::tr("a message of an unknown kind, about %1").arg(component);
    }
}

QString sentenceOf(const CXmlMessage& message)
{
    QStringList parts;
    const int count = message.getNumberOfFragments();
    for (int place = 0; place < std::min(count, kToldParts); ++place)
        parts.append(partSentence(message.getServiceType(), message.getFragment(place)));
    if (count > kToldParts)
        parts.append(LinkTraffic::tr("%n more part(s)", nullptr, count - kToldParts));
    return count == 0 ? LinkTraffic::tr("an empty message") : parts.join(QStringLiteral("; "));
}

/// To indent all of a long text would take too long; its beginning is broken into lines.
QByteArray textOf(const CXmlMessage& message, const QByteArray& xml)
{
    return xml.size() > LinkMessage::kMostText ? beginningOf(xml).replace("><", ">\n<")
                                               : XmlCommon::MessageCodec::toReadable(message).toUtf8();
}

/// Reads messages as they pass, and knows what was asked last.
class XmlReader
{
public:
    explicit XmlReader(std::function<void(LinkMessage)> take) : m_take(std::move(take)) {}

    /// The message is filled with its reply later, so all of it that is shown is read now.
    void Read(bool isSent, const CXmlMessage& message)
    {
        LinkMessage read;
        read.time = QDateTime::currentDateTime();
        read.isSent = isSent;
        read.sentence = sentenceOf(message);
        QByteArray xml;
        XmlCommon::MessageCodec::encode(message, xml);
        read.bytes = xml.size();
        read.text = textOf(message, xml);
        const bool isLonger = read.text.size() > LinkMessage::kMostText; // by its blanks
        read.isShortened = isLonger || xml.size() > LinkMessage::kMostText;
        if (isLonger)
            read.text = beginningOf(read.text);
        const qint64 now = Startup::Clock::instance().now();
        if (isSent) {
            m_askedId = message.getMessageID();
            m_askedAt = now;
        } else if (m_askedId != 0 && message.getMessageID() == m_askedId) {
            read.tookMs = now - m_askedAt;
            m_askedId = 0;
        }
        m_take(std::move(read));
    }

private:
    std::function<void(LinkMessage)> m_take;
    quint32 m_askedId = 0; ///< of the request that is under way; a link has one at a time
    qint64 m_askedAt = 0;
};

} // namespace

MessageTap xmlMessagesOf(quint32 link)
{
    return [link](QObject* context, std::function<void(LinkMessage)> take) {
        const auto reader = std::make_shared<XmlReader>(std::move(take));
        const auto read = [reader](bool isSent, const XmlCommon::ptrCXmlMessage& message) {
            reader->Read(isSent, *message);
        };
        return Kolta::KoltaConnectionsViewer::Instance().tap(link, context, read);
    };
}

} // namespace KoltaConsole
