#pragma once

#include <resourcemodel/rgobject.h>

namespace REPORTGENERATOR {

/// Fills `object`, which must be empty, from `xml`; throws RGException.
void readXml(const QString& xml, IRGObject& object);

} // namespace REPORTGENERATOR
