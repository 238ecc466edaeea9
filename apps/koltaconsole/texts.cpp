#include "texts.h"

#include <startup/translation.h>

#include <QCoreApplication>
#include <QLibraryInfo>
#include <QPointer>
#include <QTranslator>

#include <memory>

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

namespace {

/// Qt's own texts that are seen everywhere, for where its translations are not installed: keys, and a button.
[[maybe_unused]] constexpr const char* kOfQt[] = {
    QT_TRANSLATE_NOOP("QShortcut", "Ctrl"),       QT_TRANSLATE_NOOP("QShortcut", "Shift"),
    QT_TRANSLATE_NOOP("QShortcut", "Alt"),        QT_TRANSLATE_NOOP("QShortcut", "Del"),
    QT_TRANSLATE_NOOP("QShortcut", "Return"),     QT_TRANSLATE_NOOP("QShortcut", "Esc"),
    QT_TRANSLATE_NOOP("QPlatformTheme", "Cancel")};

/// The rest of them, such as those of the dialog that asks for a file.
void installTextsOfQt(const QString& language)
{
    static QPointer<QTranslator> installed; // belongs to the application
    delete installed;
    auto translator = std::make_unique<QTranslator>();
    const QString name = QStringLiteral("qtbase_") + language;
    if (language.isEmpty() || !QCoreApplication::instance() ||
        !translator->load(name, QLibraryInfo::location(QLibraryInfo::TranslationsPath)))
        return;
    translator->setParent(QCoreApplication::instance());
    installed = translator.release();
    QCoreApplication::installTranslator(installed);
}

} // namespace

bool installTexts(const QString& language)
{
    installTextsOfQt(language);
    return linkTexts() && Startup::InstallTranslation(language, QStringLiteral(":/translations"));
}

} // namespace KoltaConsole
