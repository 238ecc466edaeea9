#include <koltacommon/defaulttunerhierarchy.h>

#include <koltacommon/tuneridgetter.h>

#include <resourcemodel/demandclasses.h>
#include <resourcemodel/resources.h>
#include <resourcemodel/tunerclasses.h>

#include <QHash>
#include <QUuid>

#include <algorithm>
#include <limits>
#include <utility>

namespace Kolta {

using RESOURCEMANAGEMENT::ResourceDemandClass;
using RESOURCEMANAGEMENT::ResourceOverview;
using RESOURCEMANAGEMENT::Tuner;
using RESOURCEMANAGEMENT::TunerClass;
using RESOURCEMANAGEMENT::TunerClassOverview;

namespace {

constexpr double kBandwidth5MHz = 5e6;
constexpr double kBandwidth20MHz = 2e7;

/// A tuner and its ID.
struct Member
{
    const Tuner* tuner;
    QString id;
};

/// What the tuners of one type have in common.
struct TypeGroup
{
    QString type;
    double bandwidth; ///< the largest of them, Hz
    QVector<QString> ids;
};

struct Sorted
{
    QVector<TypeGroup> types; ///< in the order of first appearance
    QVector<Member> zelms;
};

bool equalsIgnoringCase(const QString& text, QLatin1String other)
{
    return text.compare(other, Qt::CaseInsensitive) == 0;
}

Sorted sortByType(const TunerClassOverview& tunerClasses, const QVector<Tuner>& tuners)
{
    Sorted sorted;
    QHash<QString, int> places;
    for (const Tuner& tuner : tuners) {
        const QString id = TunerIdGetter::resolveId(tunerClasses, tuner, nullptr);
        if (id.isEmpty())
            continue;
        const QString& type = tuner.GetType();
        if (equalsIgnoringCase(type, QLatin1String("ZELM"))) {
            sorted.zelms.append({&tuner, id});
            continue;
        }
        const double bandwidth =
            tuner.IsMaxSWBandwidthSet() ? tuner.GetMaxSWBandwidth() : std::numeric_limits<double>::max();
        const auto known = places.constFind(type);
        if (known == places.constEnd()) {
            places.insert(type, sorted.types.size());
            sorted.types.append({type, bandwidth, {id}});
        } else {
            TypeGroup& group = sorted.types[*known];
            group.bandwidth = std::max(group.bandwidth, bandwidth);
            group.ids.append(id);
        }
    }
    return sorted;
}

TunerClass makeClass(const QString& name, const QString& description, const QString& rdc)
{
    TunerClass result;
    result.SetGUID(QUuid::createUuid().toString());
    result.SetName(name);
    result.SetDescription(description);
    result.SetCostPenalty(1);
    result.SetRDC(rdc);
    return result;
}

TunerClass makeTypeClass(const TypeGroup& group)
{
    TunerClass result =
        makeClass(group.type, QStringLiteral("Tuners of type ") + group.type,
                  group.bandwidth >= kBandwidth5MHz ? QStringLiteral("sw") : QStringLiteral("sw_5MHz"));
    result.SetTunerID(group.ids);
    return result;
}

QString basicDescription(int megahertz)
{
    return QStringLiteral("Basic ZELM tuners up to %1MHz bandwidth").arg(megahertz);
}

/// The four classes of ZELM tuners, of which those with tuners or with classes below them are used.
class ZelmClasses
{
public:
    explicit ZelmClasses(bool hw20MHzExists) : m_hw20MHzExists(hw20MHzExists)
    {
        m_10M.SetSuperclassGUID(m_5M.GetGUID());
        m_hw20M.SetSuperclassGUID(m_10M.GetGUID());
        m_hw80M.SetSuperclassGUID(hw20MHzExists ? m_hw20M.GetGUID() : m_10M.GetGUID());
        m_5M.SetHWProcessingRDC(false);
        m_10M.SetHWProcessingRDC(false);
        m_hw20M.SetHWProcessingRDC(true);
        m_hw80M.SetHWProcessingRDC(true);
    }

    void add(const Member& member) { classFor(*member.tuner).EditTunerID().append(member.id); }

    void appendTo(QVector<TunerClass>& result) const
    {
        const bool has80M = m_hw80M.IsTunerIDSet();
        const bool hasHardware = has80M || m_hw20M.IsTunerIDSet();
        result.append(m_5M);
        if (has80M)
            result.append(m_hw80M);
        if (hasHardware && m_hw20MHzExists)
            result.append(m_hw20M);
        if (hasHardware || m_10M.IsTunerIDSet())
            result.append(m_10M);
    }

private:
    TunerClass& classFor(const Tuner& tuner)
    {
        if (tuner.GetSupportsHardwareProcessing()) {
            const bool upTo20MHz =
                tuner.IsMaxHWBandwidthSet() && tuner.GetMaxHWBandwidth() <= kBandwidth20MHz;
            return m_hw20MHzExists && upTo20MHz ? m_hw20M : m_hw80M;
        }
        return tuner.IsMaxSWBandwidthSet() && tuner.GetMaxSWBandwidth() <= kBandwidth5MHz ? m_5M : m_10M;
    }

    bool m_hw20MHzExists;
    TunerClass m_5M = makeClass(QStringLiteral("ZELM_5M"), basicDescription(5), QStringLiteral("sw_5MHz"));
    TunerClass m_10M = makeClass(QStringLiteral("ZELM_10M"), basicDescription(10), QStringLiteral("sw"));
    TunerClass m_hw20M =
        makeClass(QStringLiteral("ZELM_HW20M"),
                  QStringLiteral("ZELMs with hardware acceleration up to %1MHz bandwidth").arg(20),
                  QStringLiteral("hw_20MHz"));
    /// It is meant that it is described as a class of basic tuners.
    TunerClass m_hw80M = makeClass(QStringLiteral("ZELM_HW80M"), basicDescription(80), QStringLiteral("hw"));
};

} // namespace

QVector<TunerClass> makeDefaultTunerClasses(const TunerClassOverview& tunerClasses,
                                            const ResourceOverview& resources,
                                            const QVector<ResourceDemandClass>& demandClasses)
{
    const Sorted sorted = sortByType(tunerClasses, resources.GetTuner());
    QVector<TunerClass> result;
    result.reserve(sorted.types.size() + 4);
    for (const TypeGroup& group : sorted.types)
        result.append(makeTypeClass(group));
    if (sorted.zelms.isEmpty())
        return result;

    ZelmClasses zelmClasses(
        std::any_of(demandClasses.begin(), demandClasses.end(), [](const ResourceDemandClass& demandClass) {
            return equalsIgnoringCase(demandClass.GetDemandClassName(), QLatin1String("hw_20MHz"));
        }));
    for (const Member& zelm : sorted.zelms)
        zelmClasses.add(zelm);
    zelmClasses.appendTo(result);
    return result;
}

} // namespace Kolta
