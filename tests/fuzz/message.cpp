#include "fuzz.h"

#include <xmlmessaging/converters.h>
#include <xmlmessaging/demandclassconverter.h>
#include <xmlmessaging/hopperconverters.h>
#include <xmlmessaging/messagecodec.h>

#include <QXmlStreamReader>

#include <algorithm>

using namespace XmlCommon;

namespace {

QByteArray encoded(const CXmlMessage& message)
{
    QByteArray text;
    MessageCodec::encode(message, text);
    return text;
}

void requireEqual(const CXmlMessage& a, const CXmlMessage& b)
{
    Fuzz::require(a.getMessageID() == b.getMessageID() && a.getServiceType() == b.getServiceType() &&
                      a.getAvailableTime() == b.getAvailableTime() &&
                      a.getNumberOfFragments() == b.getNumberOfFragments(),
                  "a message comes back with another head");
    for (int i = 0; i < a.getNumberOfFragments(); ++i) {
        const CMsgFragment& x = a.getFragment(i);
        const CMsgFragment& y = b.getFragment(i);
        Fuzz::require(x.getComponentName() == y.getComponentName() &&
                          x.getRequestTree().getDataTree().toXml() ==
                              y.getRequestTree().getDataTree().toXml() &&
                          x.getDataTree().toXml() == y.getDataTree().toXml() &&
                          x.getFaultTree().getDataTree().toXml() == y.getFaultTree().getDataTree().toXml(),
                      "a fragment comes back differently");
    }
}

/// A second opinion on what is well-formed. Of names it thinks more strictly: here all beyond ASCII is taken
/// as it comes, and a colon as a letter. So texts with such characters are left out.
void requireWellFormed(const QByteArray& text)
{
    if (std::any_of(text.begin(), text.end(), [](char c) { return c == ':' || (c & 0x80); }))
        return;
    QXmlStreamReader reader(text);
    reader.setNamespaceProcessing(false);
    while (!reader.atEnd())
        reader.readNext();
    Fuzz::require(!reader.hasError(), "another XML reader refuses what was written");
}

/// Reads a chain of faults as an application does.
void readFault(CFaultTree fault)
{
    for (; !fault.isEmpty(); fault = CFaultTree(fault.getCausationDataTree())) {
        quint32 id = 0;
        Fuzz::require(fault.getFaultID(id) || id == 0, "an unreadable fault number was stored");
        QString text;
        const int count = fault.getNumberOfAddenda();
        for (int i = count; i >= 0; --i)
            Fuzz::require(!fault.getAddendum(i, text) || i < count, "there are more addenda than counted");
    }
}

void tell(bool isRead, const QByteArray& xml)
{
    Fuzz::outcome() += ' ' + (isRead ? xml.toStdString() : "refused");
}

/// What a converter reads from a reply it also writes, and reads the same from that.
template<typename Converter, typename Content>
void convertBothWays(const CMsgFragment& fragment, const Content& (Converter::*get)() const)
{
    CMsgFragment first(fragment.getComponentName());
    CMsgFragment second(fragment.getComponentName());
    Converter::fillReply(first, (Converter(fragment).*get)());
    Converter::fillReply(second, (Converter(first).*get)());
    Fuzz::require(first.getDataTree().toXml() == second.getDataTree().toXml(),
                  "a converted reply comes back differently");
    tell(Converter(fragment).isCompatible(), first.getDataTree().toXml());
}

/// The same of the command of one FFP.
void convertCommand(const CMsgFragment& fragment)
{
    using SigVConverter::CSetHopperProduction;
    const CMsgFragment first = CSetHopperProduction(fragment).makeFragment();
    const CMsgFragment second = CSetHopperProduction(first).makeFragment();
    const QByteArray xml = first.getRequestTree().getDataTree().toXml();
    Fuzz::require(second.getRequestTree().getDataTree().toXml() == xml,
                  "a converted command comes back differently");
    tell(CSetHopperProduction(fragment).isCompatible(), xml);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const Fuzz::Input input(data, size);
    QString error;
    const ptrCXmlMessage message =
        MessageCodec::decode(QByteArray::fromRawData(input.rest(), input.restSize()), error);
    Fuzz::require(message ? error.isEmpty() : error.startsWith(QLatin1String("line ")),
                  "a refused text has no reason, or an accepted one has");
    Fuzz::outcome() = error.toStdString();
    if (!message)
        return 0;
    const QByteArray text = encoded(*message);
    requireWellFormed(text);
    const ptrCXmlMessage again = MessageCodec::decode(text, error);
    Fuzz::require(again, "what was written is refused");
    requireEqual(*message, *again);
    Fuzz::require(encoded(*again) == text, "a message is written differently the second time");
    Fuzz::outcome() = text.toStdString();
    Fuzz::require(MessageCodec::decode(MessageCodec::toReadable(*message).toUtf8(), error),
                  "the readable form is refused");
    for (int i = 0; i < message->getNumberOfFragments(); ++i) {
        const CMsgFragment& fragment = message->getFragment(i);
        readFault(fragment.getFaultTree());
        convertBothWays(fragment, &ResourceConverter::CResourceDemandClasses::getApplications);
        convertBothWays(fragment, &ResourceConverter::CQueryFaultReference::getFaults);
        convertBothWays(fragment, &SigVConverter::CFHSeparationParameters::getProfiles);
        convertBothWays(fragment, &SigVConverter::CQueryHopperProduction::getSetups);
        convertCommand(fragment);
    }
    return 0;
}
