#include "texts.h"

#include <startup/translation.h>

#include <QString>

#ifdef KOLTA_WITH_TEXTS
/// Resources of a static library are linked only where somebody asks for them, outside of any namespace.
static bool linkTexts()
{
    Q_INIT_RESOURCE(translations);
    return true;
}
#else
static bool linkTexts()
{
    return false;
}
#endif

namespace KoltaConsole {

bool installTexts(const QString& language)
{
    return linkTexts() && Startup::InstallTranslation(language, QStringLiteral(":/translations"));
}

} // namespace KoltaConsole
