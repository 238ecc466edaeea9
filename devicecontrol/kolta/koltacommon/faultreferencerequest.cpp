#include <koltacommon/faultreferencerequest.h>

#include <koltacommon/faultmessagehandler.h>

#include <xmlmessaging/converters.h>

using ResourceConverter::CQueryFaultReference;
using XmlCommon::CXmlMessage;
using XmlCommon::ptrCXmlMessage;

namespace Kolta {

namespace {

ptrCXmlMessage makeQuery()
{
    const ptrCXmlMessage message(new CXmlMessage(CXmlMessage::eSERVICE_QUERY));
    message->addFragment(CQueryFaultReference::makeFragment());
    return message;
}

} // namespace

FaultReferenceRequest::FaultReferenceRequest(QObject* notifiedObject, const char* slot,
                                             const QString& nameOfReceiver,
                                             const std::shared_ptr<FaultMessageHandler>& faultMessageHandler)
    : ParameterRequest(makeQuery(), notifiedObject, slot)
    , receiverName(nameOfReceiver)
    , handler(faultMessageHandler)
{
}

ptrKoltaRequest FaultReferenceRequest::processReply(ptrCXmlMessage received)
{
    if (handler && received && received->getNumberOfFragments() > 0) {
        CQueryFaultReference query(received->getFragment(0));
        if (query.isCompatible())
            handler->sl_QueryFaultReference(&query);
    }
    return ParameterRequest::processReply(received);
}

QString FaultReferenceRequest::getReceiver()
{
    return receiverName;
}

} // namespace Kolta
