#pragma once

#include <xmlmessaging/xmlmessage.h>

#include <QJsonObject>

namespace KoltaCli {

/// The message for programs: "service", "id" and "fragments", each with "component" and, where present,
/// "request", "data" (XML texts), "fault" (the fault as text) and "faultId".
QJsonObject toJson(const XmlCommon::ptrCXmlMessage& message);

} // namespace KoltaCli
