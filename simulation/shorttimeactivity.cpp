#include <simulation/shorttimeactivity.h>

#include <simulation/installation.h>
#include <simulation/simulatedserver.h>

#include <koltacommon/convertproductionresultmap.h>
#include <koltacommon/shorttimeffpassignmentitemmap.h>
#include <koltacommon/shorttimemaps.h>
#include <koltacommon/shorttimeprofileitemmap.h>
#include <koltacommon/shorttimeresultitemmap.h>
#include <values/lifetime.h>
#include <values/tree.h>

#include <QDateTime>

#include <algorithm>
#include <tuple>
#include <vector>

namespace KoltaSimulation {

using Kolta::ConvertProductionResult;
using Kolta::ConvertProductionResultMap;
using Kolta::ShortTimeFFPAssignment;
using Kolta::ShortTimeFFPAssignmentItemMap;
using Kolta::ShortTimeProfile;
using Kolta::ShortTimeProfileItemMap;
using Kolta::ShortTimeResult;
using Kolta::ShortTimeResultItemMap;

namespace {

constexpr std::size_t kConversionsPerStep = 3;
constexpr quint64 kFailureOdds = 8; ///< one conversion in so many fails
constexpr quint64 kResultOdds = 3;  ///< one tick in so many yields a result

// What emissions have of which their profile says nothing.
constexpr quint64 kUsualFrequency = 50'000'000;
constexpr quint64 kUsualDuration = 8'000;
constexpr quint64 kUsualBandwidth = 25'000;

/// The unfinished conversions whose turn it is. Sorted, as the order of a map is another in every process.
std::vector<sorel::RecordIdentifier> nextConversions(const ConvertProductionResultMap& map)
{
    std::vector<std::tuple<QDateTime, QString, sorel::RecordIdentifier>> open;
    for (const auto& [record, result] : map.data()) {
        if (!result.finished())
            open.emplace_back(result.creationTime(), record.toString(), record);
    }
    const auto count = std::min(open.size(), kConversionsPerStep);
    const auto isBefore = [](const auto& left, const auto& right) {
        return std::tie(std::get<0>(left), std::get<1>(left)) <
               std::tie(std::get<0>(right), std::get<1>(right));
    };
    std::partial_sort(open.begin(), open.begin() + static_cast<std::ptrdiff_t>(count), open.end(), isBefore);
    std::vector<sorel::RecordIdentifier> next;
    for (std::size_t i = 0; i < count; ++i)
        next.push_back(std::get<2>(open[i]));
    return next;
}

struct Search
{
    ShortTimeFFPAssignment assignment;
    ShortTimeProfile profile;
};

/// Everything that FFPs look for and report, in the order of their GUIDs.
std::vector<Search> searches(const ShortTimeFFPAssignmentItemMap& assignments,
                             const ShortTimeProfileItemMap& profiles)
{
    std::vector<Search> found;
    for (const auto& entry : assignments.data()) {
        if (!entry.second.enabled)
            continue;
        for (const QString& name : entry.second.profiles) {
            if (profiles.Contains(name) && profiles.At(name).type != Kolta::eShortTimeProfileIgnore)
                found.push_back({entry.second, profiles.At(name)});
        }
    }
    std::stable_sort(found.begin(), found.end(), [](const Search& left, const Search& right) {
        return left.assignment.ffpGuid < right.assignment.ffpGuid;
    });
    return found;
}

/// Makes room for one more.
void eraseOldest(const values::Weak<ShortTimeResultItemMap>& map)
{
    while (map && map.Get()->Size() >= ShortTimeActivity::kKeptResults) {
        const auto& results = map.Get()->data();
        const auto oldest =
            std::min_element(results.begin(), results.end(), [](const auto& left, const auto& right) {
                return std::tie(left.second.startTime, left.first) <
                       std::tie(right.second.startTime, right.first);
            });
        map.Get()->EraseAt(oldest->first, nullptr);
    }
}

} // namespace

ShortTimeActivity::ShortTimeActivity(const SimulatedServer& server, quint32 seed)
    : m_server(server), m_random(seed)
{
}

void ShortTimeActivity::step()
{
    stepConversions();
    stepResults();
}

template<class Map>
Map* ShortTimeActivity::find() const
{
    const values::Tree* const tree = m_server.tree();
    return tree ? Kolta::shortTimeMap<Map>(m_server.installation().basePath(), *tree) : nullptr;
}

void ShortTimeActivity::stepConversions()
{
    auto* const conversions = find<ConvertProductionResultMap>();
    if (!conversions)
        return;
    for (const sorel::RecordIdentifier& record : nextConversions(*conversions)) {
        // Whoever was told of the one before may have changed this one, or ended the server's life.
        auto* const map = find<ConvertProductionResultMap>();
        if (!map || !map->contains(record) || map->At(record).finished())
            continue;
        const ConvertProductionResult item = map->At(record);
        if (item.state() == ConvertProductionResult::eNotStarted)
            map->startConverting(record);
        else if (item.result().isEmpty())
            map->setIntermediateResult(record, QStringLiteral("50 %"));
        else if (random(kFailureOdds) == 0)
            map->setFinished(record, false, QStringLiteral("The recording cannot be read"));
        else
            map->setFinished(record, true, item.resultType());
    }
}

quint64 ShortTimeActivity::within(bool use, quint64 minimum, quint64 maximum, quint64 usual)
{
    if (!use)
        return usual;
    const quint64 width = maximum > minimum ? maximum - minimum : 0;
    // In steps: the whole width can have 64 bits.
    return minimum + (width < 1000 ? random(width + 1) : width / 1000 * random(1001));
}

void ShortTimeActivity::stepResults()
{
    auto* const assignments = find<ShortTimeFFPAssignmentItemMap>();
    auto* const profiles = find<ShortTimeProfileItemMap>();
    if (!assignments || !profiles || random(kResultOdds) != 0)
        return;
    const std::vector<Search> all = searches(*assignments, *profiles);
    const values::Weak<ShortTimeResultItemMap> map(find<ShortTimeResultItemMap>());
    if (all.empty() || !map)
        return;
    const Search& search = all[random(all.size())];
    const ShortTimeProfile& profile = search.profile;
    ShortTimeResult result;
    result.startTime = QDateTime::currentMSecsSinceEpoch() * 1000;
    result.duration = static_cast<quint32>(
        within(profile.useDuration, profile.durationMin, profile.durationMax, kUsualDuration));
    result.frequency =
        within(profile.useFrequency, profile.frequencyMin, profile.frequencyMax, kUsualFrequency);
    result.bandwidth = static_cast<quint32>(
        within(profile.useBandwidth, profile.bandwidthMin, profile.bandwidthMax, kUsualBandwidth));
    result.symbolRate =
        static_cast<quint32>(within(profile.useSymbolRate, profile.symbolRateMin, profile.symbolRateMax, 0));
    result.level = static_cast<double>(random(600)) / 10;
    result.confidence = static_cast<double>(500 + random(501)) / 1000;
    result.modulation = profile.useModulation ? profile.modulation : qint8(0);
    result.profileName = profile.name;
    result.profileType = profile.type;
    result.ffpGuid = search.assignment.ffpGuid;
    if (search.assignment.autoRecording)
        result.recordId = sorel::RecordIdentifier(m_server.installation().serverName(), result.ffpGuid,
                                                  QString::number(result.startTime))
                              .toString();
    eraseOldest(map);
    if (map && !map.Get()->IsDeleted())
        map.Get()->AddNew(result);
}

} // namespace KoltaSimulation
