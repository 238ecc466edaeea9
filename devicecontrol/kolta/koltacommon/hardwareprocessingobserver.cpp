#include <koltacommon/hardwareprocessingobserver.h>

#include <startup/tracesource.h>

#include <algorithm>

namespace Kolta {

using REPORTGENERATOR::RGException;
using RESOURCEMANAGEMENT::HWProcessing;
using RESOURCEMANAGEMENT::HWProcessingOverview;

namespace {

enum eTracePoint : int { eNotPersisted = 100, eNoText = 101 };
constexpr Startup::TraceSource kTrace("devicecontrol/kolta/koltacommon/hardwareprocessingobserver");

void traceUnwritable(eTracePoint point, const RGException& exception)
{
    kTrace(point, QStringLiteral("Invalid HW Processing element.") + exception.GetText());
}

} // namespace

HardwareProcessingObserver::HardwareProcessingObserver(QObject* parent)
    : HardwareProcessingObserver(QString(), parent)
{
}

HardwareProcessingObserver::HardwareProcessingObserver(const QString& path, QObject* parent)
    : AbstractRGValueObserver(path, parent)
{
}

HardwareProcessingObserver::~HardwareProcessingObserver() = default;

const HWProcessingOverview& HardwareProcessingObserver::getActiveHWProcessors() const
{
    return getCurrentValue();
}

QString HardwareProcessingObserver::getActiveHWProcessorsAsString() const
{
    try {
        return currentValue.GetXmlString();
    } catch (const RGException& exception) {
        traceUnwritable(eNoText, exception);
        return QString();
    }
}

const HWProcessing* HardwareProcessingObserver::findActiveHWProcessors(const QString& guid) const
{
    if (guid.isEmpty()) // not what the index has entries without GUID under
        return TavikXmlHelpers::FindGUID(guid, currentValue);
    if (!m_index.isFor(currentValue.GetHWProcessing()))
        m_index.rebuild(currentValue.GetHWProcessing());
    return m_index.find(guid);
}

void HardwareProcessingObserver::appendHardwareProcessingInfo(const HWProcessing& entry)
{
    if (entry.GetGUID().isEmpty() || findActiveHWProcessors(entry.GetGUID()))
        return;
    const QVector<HWProcessing> before = currentValue.GetHWProcessing();
    currentValue.EditHWProcessing().append(entry);
    if (!persistValues(currentValue))
        currentValue.SetHWProcessing(before); // else no later change of the list could be written
}

void HardwareProcessingObserver::appendHardwareProcessingInfo(std::shared_ptr<HWProcessing> entry)
{
    if (entry)
        appendHardwareProcessingInfo(*entry);
}

bool HardwareProcessingObserver::removeHardwareProcessingInfo(const QString& guid)
{
    if (!removeHardwareProcessingInfoNoPersist(guid))
        return false;
    persistValues(currentValue);
    return true;
}

bool HardwareProcessingObserver::removeHardwareProcessingInfos(const QSet<QString>& guids)
{
    if (!removeAll(TavikXmlHelpers::ALL_GUIDS_OF(currentValue) & guids))
        return false;
    persistValues(currentValue);
    return true;
}

void HardwareProcessingObserver::resetHardwareProcessingList()
{
    currentValue.Reset();
    persistValues(currentValue);
}

void HardwareProcessingObserver::synchronizeKnownProcessors(const QSet<QString>& knownGuids)
{
    removeAll(TavikXmlHelpers::ALL_GUIDS_OF(currentValue) - knownGuids);
    persistValues(currentValue);
}

void HardwareProcessingObserver::onValueChange(const HWProcessingOverview&, const HWProcessingOverview&) {}

bool HardwareProcessingObserver::removeHardwareProcessingInfoNoPersist(const QString& guid)
{
    return findActiveHWProcessors(guid) && removeAll({guid});
}

bool HardwareProcessingObserver::persistValues(HWProcessingOverview& overview)
{
    values::StringValue* const value = boundValue();
    if (!value)
        return true;
    QString text;
    try {
        text = overview.GetXmlString();
    } catch (const RGException& exception) {
        traceUnwritable(eNotPersisted, exception);
        return false;
    }
    currentValueAsString = text;   // processed: the server can go back to the text before it and is heard
    writeText(*value, text, this); // last: whoever hears of it may delete this observer
    return true;
}

QString HardwareProcessingObserver::mergeTexts(const QString& before, const QString& mine,
                                               const QString& valid) const
{
    return mergeTextsOf<HWProcessingOverview>(before, mine, valid);
}

bool HardwareProcessingObserver::removeAll(const QSet<QString>& guids)
{
    if (guids.isEmpty())
        return false;
    QVector<HWProcessing>& list = currentValue.EditHWProcessing();
    const auto end = std::remove_if(list.begin(), list.end(), [&guids](const HWProcessing& entry) {
        return entry.IsGUIDSet() && guids.contains(entry.GetGUID());
    });
    const bool found = end != list.end();
    list.erase(end, list.end());
    return found;
}

} // namespace Kolta
