#pragma once

#include "figure.h"

#include <QXmlStreamReader>

namespace Bench {

/// The floor of whatever reads an XML text: all tokens are read, and nothing is done with them.
inline void scanTokens(const QString& text)
{
    QXmlStreamReader reader(text);
    while (!reader.atEnd())
        reader.readNext();
    require(!reader.hasError(), "the text is not well-formed");
}

} // namespace Bench
