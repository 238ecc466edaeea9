#pragma once

#include "formertext.h"

#include <resourcemodel/textreader.h>

namespace REPORTGENERATOR {

/// What readings of one class after the other have in common.
struct TextReader::Memory
{
    FormerText former;
    TextCache texts;
};

/// Fills `object`, which must be empty, from `xml`; throws RGException.
void readXml(const QString& xml, IRGObject& object);

/// The same, and checks the object. Takes the records that it can from `memory`, which then remembers `xml`;
/// it is unchanged after an exception.
void readXml(const QString& xml, IRGObject& object, TextReader::Memory& memory);

} // namespace REPORTGENERATOR
