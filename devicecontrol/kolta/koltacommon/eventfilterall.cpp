#include <koltacommon/eventfilterall.h>

#include <xmlmessaging/converters.h>

namespace Kolta {

EventFilterAll::EventFilterAll()
{
    getMessage()->setServiceType(XmlCommon::CXmlMessage::eSERVICE_COMMAND);
    getMessage()->addFragment(XmlCommunication::CEventFilterConverter::makeFragment(QStringLiteral("*")));
}

} // namespace Kolta
