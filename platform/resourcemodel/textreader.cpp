#include <resourcemodel/textreader.h>

#include "xmlreader.h"

namespace REPORTGENERATOR {

TextReader::TextReader() : m_memory(std::make_unique<Memory>()) {}

TextReader::~TextReader() = default;

void TextReader::read(const QString& xml, IRGObject& object)
{
    object.Reset();
    readXml(xml, object, *m_memory);
}

void TextReader::forget()
{
    m_memory = std::make_unique<Memory>();
}

} // namespace REPORTGENERATOR
