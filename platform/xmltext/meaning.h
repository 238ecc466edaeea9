#pragma once

#include "scanner.h"

#include <string>

namespace XmlText {

/// What a part that a scanner gave stands for.
enum class Meaning {
    Text,     ///< references are resolved, line ends are line feeds
    Section,  ///< line ends are
    Attribute ///< references are resolved, white space is blanks
};
void appendMeaning(Scanner<char16_t>::Part part, Meaning meaning, QString& out);
void appendMeaning(Scanner<uchar>::Part part, Meaning meaning, std::string& out);

} // namespace XmlText
