#include "tunerlanes.h"

#include <koltacommon/tunermodel.h>
#include <koltacommon/viewroles.h>
#include <koltaconsole/session/runningontuners.h>
#include <koltaconsole/session/session.h>
#include <koltaconsole/widgets/rowindex.h>

#include <QCoreApplication>
#include <QHash>

#include <algorithm>
#include <map>
#include <unordered_map>
#include <vector>

namespace KoltaConsole {

namespace Roles = Kolta::ViewRoles;
using Kolta::TunerBookingManager;
using Kolta::TunerModel;

namespace {

/// Those that are shown in their order, then those in folded groups.
std::vector<int> matchingRows(const RowIndex& rows)
{
    std::vector<int> all;
    all.reserve(static_cast<std::size_t>(rows.matchCount()));
    for (int shown = 0; shown < rows.rowCount(); ++shown) {
        if (rows.sourceRow(shown) >= 0)
            all.push_back(rows.sourceRow(shown));
    }
    const int count = rows.sourceModel()->rowCount();
    for (int row = 0; rows.matchCount() > static_cast<int>(all.size()) && row < count; ++row) {
        if (rows.isMatching(row) && rows.rowOf(row) < 0)
            all.push_back(row);
    }
    return all;
}

} // namespace

QString tunerGroupOf(const TunerModel& model, int row, TunerGroups groups)
{
    const auto cell = [&](int column) { return model.index(row, column).data().toString(); };
    switch (groups) {
    case TunerGroups::ByClass:
        return cell(TunerModel::eClassColumn);
    case TunerGroups::ByServer:
        return cell(TunerModel::eServerColumn);
    case TunerGroups::ByType:
        return cell(TunerModel::eTypeColumn);
    case TunerGroups::None:
        break;
    }
    return QCoreApplication::translate("KoltaConsole::TunersPage", "All tuners");
}

QVector<Lane> lanesOf(const Session& session, const RowIndex& rows, TunerGroups groups)
{
    const QHash<QString, RunningOnTuner> running = runningOnTuners(session.processors());
    const TunerModel& model = session.tuners();
    std::unordered_map<QString, Lane> byName;
    for (const int row : matchingRows(rows)) {
        const QModelIndex index = model.index(row, TunerModel::eNameColumn);
        const QVariant item = index.data(Roles::ItemRole);
        const auto& record = *static_cast<const RESOURCEMANAGEMENT::Tuner*>(item.constData());
        LaneTuner tuner;
        tuner.key = index.data(Roles::KeyRole).toString();
        tuner.from = record.GetMinFrequency();
        tuner.to = record.GetMaxFrequency();
        tuner.state = index.data(Roles::StateRole).toInt();
        tuner.isStale = session.isOutOfSight() || index.data(Roles::StaleRole).toBool();
        // Of most there is none to be looked for.
        if (tuner.state != TunerBookingManager::eFree && !running.isEmpty()) {
            const RunningOnTuner band =
                running.value(keyOfTuner(index.data(Roles::ServerRole).toString(), index.data().toString()));
            tuner.centre = band.centre;
            tuner.width = band.width;
        }
        const QString name = tunerGroupOf(model, row, groups);
        Lane& lane = byName[name];
        lane.name = name;
        lane.free += tuner.state == TunerBookingManager::eFree && !tuner.isStale ? 1 : 0;
        lane.tuners.append(tuner);
    }
    std::map<QString, const Lane*> sorted;
    for (const auto& [name, lane] : byName)
        sorted.emplace(Roles::sortText(name), &lane);
    QVector<Lane> lanes;
    for (const auto& [sortText, lane] : sorted)
        lanes.append(*lane);
    return lanes;
}

} // namespace KoltaConsole
