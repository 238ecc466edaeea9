#pragma once

#include <koltacommon/export.h>

#include <QString>

/// \file
/// How words are looked for that people type into a filter.

namespace Kolta {

/// Whether a word is in a text: it begins where one begins there, between letters and digits too, and a
/// number at its end is not a part of a longer one. "S1" is in "of S1", and not in "S10"; "hf" is in
/// "AM,HF", and not in "VHF"; "oper" is in "operator". What begins with a sign may be anywhere.
KOLTA_COMMON_EXPORT bool hasWord(const QString& text, const QString& word, Qt::CaseSensitivity sensitivity);

/// Whether one of the lines of a text is that one, whole.
KOLTA_COMMON_EXPORT bool hasLine(const QString& text, const QString& line);

} // namespace Kolta
