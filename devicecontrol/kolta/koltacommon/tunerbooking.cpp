#include <koltacommon/tunerbooking.h>

#include <koltacommon/processorwalk.h>

#include <startup/tracesource.h>

#include <QSet>

namespace Kolta {

using namespace ProcessorWalk;

namespace {

enum eTracePoint : int { eInvalidObject = 100 };
constexpr Startup::TraceSource kTrace("devicecontrol/kolta/koltacommon/tunerbooking");

/// The order of booking. The FFP of an SCP is not booked: it works on what the SCP's data source delivers;
/// this is meant.
constexpr Plan kBookingPlan{true, true, false, true};

/// The tuners of one production after the other.
class TunerCollector
{
public:
    /// From here on tuners that were named before are named again.
    void beginProduction() { m_named.clear(); }

    template<class Owner>
    void add(const Owner& owner)
    {
        const QString guid = tunerIn(owner);
        if (guid.isEmpty() || m_named.contains(guid))
            return;
        m_named.insert(guid);
        m_guids.append(guid);
    }

    const QStringList& guids() const { return m_guids; }

private:
    QSet<QString> m_named;
    QStringList m_guids;
};

template<class Root>
QStringList tunersOf(const Root& root)
{
    TunerCollector tuners;
    const auto enter = [&tuners](const auto& node, const auto&) {
        using Node = std::decay_t<decltype(node)>;
        if constexpr (isA<Node, SCP> || isA<Node, MCP>)
            tuners.beginProduction();
        else if constexpr (isA<Node, FFP>)
            tuners.add(node);
        return eInto;
    };
    const auto leave = [&tuners](const auto& node) {
        using Node = std::decay_t<decltype(node)>;
        if constexpr (isA<Node, SCP> || isA<Node, MCP>)
            tuners.add(node.GetDataSource());
    };
    walk(root, kBookingPlan, enter, leave);
    return tuners.guids();
}

template<class Root>
QString nameOf(const Root& root)
{
    if constexpr (isA<Root, ProcessorOverview>) {
        return QStringLiteral("Overview");
    } else {
        const RESOURCEMANAGEMENT::TavikResource& resource = root.GetKoltaProcessor().GetTavikResource();
        return resource.GetName().isEmpty() ? resource.GetDisplayName() : resource.GetName();
    }
}

} // namespace

TunerBooking::TunerBooking(const REPORTGENERATOR::IRGObject& object)
{
    withProcessorType(object, [this](const auto& root) {
        using Root = std::decay_t<decltype(root)>;
        if constexpr (!isA<Root, FHA>) { // an FHA runs on the tuners of its FHP
            m_name = nameOf(root);
            m_tunerGUIDs = tunersOf(root);
            m_valid = true;
        }
    });
    if (!m_valid)
        kTrace(eInvalidObject,
               QStringLiteral("Invalid IRG Object of type %1 provided").arg(object.GetObjectName()));
}

QString TunerBooking::toString() const
{
    const auto entry = [](const QString& key, const QString& value) -> QString {
        return key + QStringLiteral(": ") + value.simplified(); // no line breaks from foreign texts
    };
    QStringList entries{
        entry(QStringLiteral("name"), m_name),
        entry(QStringLiteral("valid"), m_valid ? QStringLiteral("true") : QStringLiteral("false"))};
    for (const QString& guid : m_tunerGUIDs)
        entries.append(entry(QStringLiteral("tuner"), guid));
    return QStringLiteral("Booking[") + entries.join(QStringLiteral(", ")) + QLatin1Char(']');
}

} // namespace Kolta
