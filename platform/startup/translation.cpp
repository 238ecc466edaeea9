#include <startup/translation.h>

#include <startup/tracesource.h>

#include <QCoreApplication>
#include <QFileInfo>
#include <QPointer>
#include <QTranslator>

#include <memory>

namespace Startup {

namespace {

enum eTracePoint : int { eRefused = 10 };
constexpr TraceSource kTrace("platform/startup/translation", eTraceWarning);

bool refuse(const QString& file, const QString& reason)
{
    kTrace(eRefused, QStringLiteral("Translation file %1: %2").arg(file, reason));
    return false;
}

} // namespace

bool InstallTranslation(const QString& language, const QString& directory)
{
    static QPointer<QTranslator> installed; // belongs to the application
    if (language.isEmpty()) {
        delete installed;
        return true;
    }
    const QString file = QStringLiteral("%1/kolta_%2.qm").arg(directory, language);
    QCoreApplication* const application = QCoreApplication::instance();
    if (!application)
        return refuse(file, QStringLiteral("not installed, since no application runs"));
    // QTranslator would look for files of similar names; a language that is not there is to be told instead.
    if (language.contains(QLatin1Char('/')) || !QFileInfo(file).isFile())
        return refuse(file, QStringLiteral("no such file"));
    auto translator = std::make_unique<QTranslator>();
    if (!translator->load(file))
        return refuse(file, QStringLiteral("not a translation file"));
    delete installed;
    translator->setParent(application);
    installed = translator.release();
    QCoreApplication::installTranslator(installed);
    return true;
}

} // namespace Startup
