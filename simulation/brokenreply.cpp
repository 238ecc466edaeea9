#include <simulation/brokenreply.h>

#include <simulation/faultids.h>

#include <xmlmessaging/framing.h>
#include <xmlmessaging/messagecodec.h>

namespace KoltaSimulation {

using XmlCommon::CXmlMessage;

namespace {

QByteArray encoded(const CXmlMessage& message)
{
    QByteArray text;
    XmlCommon::MessageCodec::encode(message, text);
    return text;
}

QByteArray framed(const QByteArray& text)
{
    QByteArray bytes;
    XmlCommunication::appendFrame(bytes, text);
    return bytes;
}

/// The framed reply with `data` as the data of one more fragment.
QByteArray withData(const CXmlMessage& reply, const QByteArray& data)
{
    QByteArray text = encoded(reply);
    const QByteArray closing("</Message>");
    int end = text.lastIndexOf(closing);
    if (end < 0) {
        // A message without fragments is one empty tag.
        end = text.lastIndexOf("/>");
        text.replace(end, 2, ">" + closing);
        ++end;
    }
    text.insert(end, "<Fragment component=\"Filler\"><Data>" + data + "</Data></Fragment>");
    return framed(text);
}

} // namespace

QByteArray framedBytes(const CXmlMessage& message)
{
    return framed(encoded(message));
}

CXmlMessage withWrongId(const CXmlMessage& reply)
{
    CXmlMessage wrong = reply;
    wrong.setMessageID(reply.getMessageID() ^ 0x40000000u);
    return wrong;
}

CXmlMessage withWrongComponent(const CXmlMessage& reply)
{
    CXmlMessage wrong = reply;
    wrong.clearFragments();
    wrong.addFragment(XmlCommon::CMsgFragment(QStringLiteral("NotAsked")));
    return wrong;
}

CXmlMessage withForgedText(const CXmlMessage& reply)
{
    CXmlMessage wrong = reply;
    for (int i = 0; i < wrong.getNumberOfFragments(); ++i) {
        const QString text = QStringLiteral("none\nkolta: all is well\u2028\u202E");
        wrong.getFragment(i).setDataTree(XmlCommon::CDataTree());
        wrong.getFragment(i).setFaultTree(XmlCommon::CFaultTree(eFaultAdministration, 1, {text}));
    }
    return wrong;
}

QByteArray brokenFrame(const CXmlMessage& reply, int variant)
{
    QByteArray text = encoded(reply);
    const QByteArray size = QByteArray::number(text.size());
    switch (variant) {
    case 0: // a chunk of no bytes
        return "\n#0\n" + text + "\n##\n";
    case 1: // no chunk header at all
        return text;
    case 2: // a size with a leading zero
        return "\n#0" + size + "\n" + text + "\n##\n";
    case 3: // a size over 4294967295
        return "\n#4294967296\n" + text + "\n##\n";
    default: // an end without a chunk
        return "\n##\n";
    }
}

QByteArray brokenXml(const CXmlMessage& reply)
{
    const QByteArray text = encoded(reply);
    return framed(text.left(qMax(text.lastIndexOf('<'), 1)));
}

QByteArray oversizeReply(const CXmlMessage& reply, int dataBytes)
{
    return withData(reply, "<Filler>" + QByteArray(dataBytes, 'x') + "</Filler>");
}

QByteArray deepReply(const CXmlMessage& reply, int levels)
{
    return withData(reply, QByteArray("<L>").repeated(levels) + QByteArray("</L>").repeated(levels));
}

QByteArray nonUtf8Reply(const CXmlMessage& reply)
{
    // An overlong form, a lone continuation byte and a byte that never occurs.
    return withData(reply, "<Filler>\xC0\xAF\x80\xFF</Filler>");
}

} // namespace KoltaSimulation
