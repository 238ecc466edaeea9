#include <koltacommon/resourcedemandclassobserver.h>

#include <resourcemodel/resources.h>

#include <algorithm>
#include <iterator>
#include <limits>

namespace Kolta {

using RESOURCEMANAGEMENT::ResourceDemandClass;
using RESOURCEMANAGEMENT::ResourceDemandClassOverview;
using RESOURCEMANAGEMENT::Tuner;

namespace {

using DemandClasses = QVector<ResourceDemandClass>;

constexpr double kMaxNarrowFFPBandwidth = 1e6;
constexpr quint32 kNoLimit = std::numeric_limits<quint32>::max();
constexpr int kAppTypes = eAppFHA + 1;

bool isKnown(eAppType appType)
{
    return appType >= eAppUnknown && appType < kAppTypes;
}

/// Processor kind of an application type; empty when it has none.
const QString& kindOf(eAppType appType)
{
    static const QString kinds[kAppTypes] = {QString(),
                                             QStringLiteral("DCP"),
                                             QStringLiteral("DCP"),
                                             QStringLiteral("FFP"),
                                             QStringLiteral("DSC"),
                                             QStringLiteral("FHP"),
                                             QStringLiteral("FHA")};
    return kinds[isKnown(appType) ? appType : eAppUnknown];
}

bool isHardware(const ResourceDemandClass& demandClass)
{
    return demandClass.IsHardwareProcessingSet() && demandClass.GetHardwareProcessing();
}

double bandwidthOf(const ResourceDemandClass& demandClass)
{
    return demandClass.IsMaxBandwidthSet() ? demandClass.GetMaxBandwidth() : 0.0;
}

/// Whole Hz of a bandwidth as bandwidths are compared. What does not fit is taken to the nearer end of the
/// range (not a number: to the lower one), as converting it would be undefined.
quint32 comparableHz(double bandwidth)
{
    constexpr double lowest = std::numeric_limits<qint32>::min();
    if (bandwidth >= static_cast<double>(kNoLimit))
        return kNoLimit;
    if (bandwidth >= 0.0)
        return static_cast<quint32>(bandwidth);
    return static_cast<quint32>(static_cast<qint32>(std::max(lowest, bandwidth)));
}

bool isOfKind(const ResourceDemandClass& demandClass, const QString& kind)
{
    return demandClass.GetAppType() == kind;
}

template<class Predicate>
DemandClasses select(const DemandClasses& all, Predicate wanted)
{
    DemandClasses selected;
    std::copy_if(all.begin(), all.end(), std::back_inserter(selected), wanted);
    return selected;
}

void sortByBandwidth(DemandClasses& classes)
{
    // Stable, so that the same overview always gives the same list.
    std::stable_sort(classes.begin(), classes.end(),
                     [](const ResourceDemandClass& a, const ResourceDemandClass& b) {
                         return bandwidthOf(a) < bandwidthOf(b);
                     });
}

/// The last step of every query.
DemandClasses obeyAppType(const DemandClasses& classes, eAppType appType)
{
    if (appType != eAppSCP && appType != eAppMCP)
        return classes;
    return select(classes, [appType](const ResourceDemandClass& demandClass) {
        const bool isScp = demandClass.GetDemandClassName() == QLatin1String("scp");
        return demandClass.GetIsCustom() || isScp == (appType == eAppSCP);
    });
}

/// Walks classes in ascending order and says which of them a tuner takes.
class TunerLimit
{
public:
    explicit TunerLimit(const Tuner& tuner)
        : m_maximum(tuner.IsMaxSWBandwidthSet() ? comparableHz(tuner.GetMaxSWBandwidth()) : kNoLimit)
        , m_takesHardware(tuner.IsSupportsHardwareProcessingSet() && tuner.GetSupportsHardwareProcessing())
    {
    }

    bool takes(const ResourceDemandClass& demandClass)
    {
        if (isHardware(demandClass))
            return m_takesHardware;
        const quint32 bandwidth = comparableHz(bandwidthOf(demandClass));
        if (bandwidth < m_maximum)
            return true;
        if (bandwidth == m_maximum || !m_hasStep) {
            m_step = bandwidth;
            m_hasStep = true;
        }
        return bandwidth <= m_step;
    }

private:
    quint32 m_maximum;
    bool m_takesHardware;
    bool m_hasStep = false;
    quint32 m_step = 0; ///< the bandwidth beyond which nothing is taken
};

} // namespace

ResourceDemandClassObserver::ResourceDemandClassObserver(QObject* parent)
    : ResourceDemandClassObserver(QString(), parent)
{
}

ResourceDemandClassObserver::ResourceDemandClassObserver(const QString& path, QObject* parent)
    : AbstractRGValueObserver(QString(), parent)
{
    qRegisterMetaType<RESOURCEMANAGEMENT::ResourceDemandClassOverview>();
    if (!path.isEmpty())
        ResourceDemandClassObserver::init(path);
}

ResourceDemandClassObserver::~ResourceDemandClassObserver() = default;

const ResourceDemandClassOverview& ResourceDemandClassObserver::GetCurrentDemandClasses() const
{
    return getCurrentValue();
}

QString ResourceDemandClassObserver::GetCurrentDemandClassesAsString() const
{
    return getCurrentValueAsString();
}

const QString& ResourceDemandClassObserver::GetDefaultDemandClassName(eAppType appType)
{
    static const QString names[kAppTypes] = {QString(),
                                             QStringLiteral("scp"),
                                             QStringLiteral("sw"),
                                             QStringLiteral("300k"),
                                             QStringLiteral("extended"),
                                             QStringLiteral("standard"),
                                             QStringLiteral("standard")};
    return names[isKnown(appType) ? appType : eAppUnknown];
}

DemandClasses ResourceDemandClassObserver::GetDemandClassesForAppType(eAppType appType, bool flag) const
{
    const QString& kind = kindOf(appType);
    DemandClasses classes = select(
        currentValue.GetResourceDemandClass(), [&kind, appType, flag](const ResourceDemandClass& candidate) {
            if (!isOfKind(candidate, kind))
                return false;
            // The flag widens the list of FFPs and narrows all others; this is meant.
            return appType == eAppFFP ? flag || bandwidthOf(candidate) <= kMaxNarrowFFPBandwidth
                                      : !flag || !isHardware(candidate);
        });
    classes = obeyAppType(classes, appType);
    sortByBandwidth(classes);
    return classes;
}

DemandClasses ResourceDemandClassObserver::GetDemandClassesForAppType(eAppType appType,
                                                                      const Tuner& tuner) const
{
    const QString& kind = kindOf(appType);
    DemandClasses classes =
        select(currentValue.GetResourceDemandClass(),
               [&kind](const ResourceDemandClass& candidate) { return isOfKind(candidate, kind); });
    sortByBandwidth(classes);
    TunerLimit limit(tuner);
    DemandClasses taken;
    for (const ResourceDemandClass& candidate : qAsConst(classes)) {
        if (limit.takes(candidate))
            taken.append(candidate);
    }
    // Last: a class that the rule drops has set the step all the same; this is meant.
    return obeyAppType(taken, appType);
}

DemandClasses ResourceDemandClassObserver::GetDemandClassByName(const QString& name, eAppType appType) const
{
    const QString& kind = kindOf(appType);
    return obeyAppType(select(currentValue.GetResourceDemandClass(),
                              [&name, &kind](const ResourceDemandClass& candidate) {
                                  return candidate.GetDemandClassName() == name &&
                                         (kind.isEmpty() || isOfKind(candidate, kind));
                              }),
                       appType);
}

bool ResourceDemandClassObserver::supportsHWProcessing(eAppType appType, const QString& name) const
{
    if (appType != eAppMCP)
        return false;
    const DemandClasses classes = GetDemandClassesForAppType(eAppMCP, false);
    for (const ResourceDemandClass& candidate : classes) {
        if (candidate.GetDemandClassName() == name)
            return candidate.GetHardwareProcessing();
    }
    return false;
}

void ResourceDemandClassObserver::onValueChange(const ResourceDemandClassOverview& oldClasses,
                                                const ResourceDemandClassOverview& newClasses)
{
    Q_UNUSED(oldClasses)
    Q_UNUSED(newClasses)
    const QPointer<ResourceDemandClassObserver> guard(this);
    Q_EMIT si_ResourceDemandClassesChanged();
    if (!guard)
        return;
    // A copy: slots may change the mirror again. It is the present overview, not the one that came in.
    const ResourceDemandClassOverview current = currentValue;
    Q_EMIT si_ResourceDemandClassesChanged(current);
}

} // namespace Kolta
