#include "texts.h"

#include <QString>
#include <QTranslator>

#ifdef KOLTA_WITH_TEXTS
/// Resources of a static library are linked only where somebody asks for them, outside of any namespace.
static void linkTexts()
{
    Q_INIT_RESOURCE(translations);
}
#else
static void linkTexts() {}
#endif

namespace KoltaConsole {

bool loadTexts(QTranslator& translator, const QString& language)
{
    linkTexts();
    return translator.load(QStringLiteral(":/translations/koltaconsole_%1.qm").arg(language));
}

} // namespace KoltaConsole
