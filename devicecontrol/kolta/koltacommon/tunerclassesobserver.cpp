#include <koltacommon/tunerclassesobserver.h>

#include <koltacommon/tunerclasstree.h>

#include <startup/tracesource.h>

#include <QPointer>

#include <algorithm>

namespace Kolta {

using RESOURCEMANAGEMENT::ResourceOverview;
using RESOURCEMANAGEMENT::TunerClass;
using RESOURCEMANAGEMENT::TunerClassOverview;

namespace {

enum eTracePoint : int { eReportException = 100, eNoValue = 101 };
constexpr Startup::TraceSource kTrace("devicecontrol/kolta/koltacommon/tunerclassesobserver");

} // namespace

TunerClassesObserver::TunerClassesObserver(QObject* parent) : AbstractRGValueObserver(QString(), parent)
{
    setIgnoreEmptyStringUpdates(true);
}

TunerClassesObserver::~TunerClassesObserver() = default;

const TunerClassOverview& TunerClassesObserver::getTunerClassOverview() const
{
    return getCurrentValue();
}

bool TunerClassesObserver::setTunerClassOverview(const TunerClassOverview& overview)
{
    try {
        const QString text = overview.GetXmlString();
        values::StringValue* const value = boundValue();
        if (!value || value->IsDeleted()) {
            kTrace(eNoValue,
                   QStringLiteral("There is no value \"%1\" to write tuner classes to.").arg(getVtPath()));
            return false;
        }
        // Its own change is read once, when everybody else has heard of it and may have answered it.
        const QPointer<TunerClassesObserver> guard(this);
        writeText(*value, text, this);
        if (guard)
            UpdateAll();
        return true;
    } catch (const REPORTGENERATOR::RGException& exception) {
        kTrace(eReportException, QStringLiteral("RGException when trying to set tuner class tree. %1: %2")
                                     .arg(exception.GetTitle(), exception.GetText()));
        return false;
    }
}

QString TunerClassesObserver::mergeTexts(const QString& before, const QString& mine,
                                         const QString& valid) const
{
    return mergeTextsOf<TunerClassOverview>(before, mine, valid);
}

std::shared_ptr<TunerClassTree>
TunerClassesObserver::getTunerClassTree(const ResourceOverview& resources) const
{
    return std::make_shared<TunerClassTree>(getCurrentValue(), resources);
}

const TunerClass* TunerClassesObserver::findClass(const QString& name) const
{
    const auto& classes = getCurrentValue().GetTunerClass();
    const auto match = std::find_if(classes.begin(), classes.end(),
                                    [&name](const TunerClass& item) { return item.GetName() == name; });
    return match != classes.end() ? &*match : nullptr;
}

QString TunerClassesObserver::getResourceDemandClassForTunerClassName(const QString& className) const
{
    const TunerClass* const tunerClass = findClass(className);
    return tunerClass ? tunerClass->GetRDC() : QString();
}

bool TunerClassesObserver::isHwProcessingRDCName(const QString& name) const
{
    const TunerClass* const tunerClass = findClass(name);
    return tunerClass && tunerClass->GetHWProcessingRDC();
}

void TunerClassesObserver::onValueChange(const TunerClassOverview&, const TunerClassOverview&)
{
    Q_EMIT si_TunerClassesChanged();
}

} // namespace Kolta
