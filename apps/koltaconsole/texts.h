#pragma once

class QString;
class QTranslator;

namespace KoltaConsole {

/// Loads the program's texts in that language, "de" or "en" (for the sake of plurals). False when the program
/// was built without them.
bool loadTexts(QTranslator& translator, const QString& language);

} // namespace KoltaConsole
