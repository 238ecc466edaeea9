#pragma once

#include <resourcemodel/rgobject.h>

namespace REPORTGENERATOR {

/// The XML text of `object`, which is taken to be checked; throws RGException for what XML cannot carry.
QString writeXml(const IRGObject& object);

} // namespace REPORTGENERATOR
