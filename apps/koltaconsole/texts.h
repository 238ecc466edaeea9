#pragma once

class QString;

namespace KoltaConsole {

/// Lets the program speak that language, "de" or "en" (for the sake of plurals); empty: the plain English of
/// the sources. False when the program was built without texts.
bool installTexts(const QString& language);

} // namespace KoltaConsole
