#include "tunerlanes.h"

#include "../rowindex.h"
#include "../session.h"

#include <koltacommon/processormodel.h>
#include <koltacommon/tunermodel.h>
#include <koltacommon/viewroles.h>

#include <QCoreApplication>
#include <QHash>

#include <algorithm>
#include <map>
#include <unordered_map>
#include <vector>

namespace KoltaConsole {

namespace Roles = Kolta::ViewRoles;
using Kolta::ProcessorModel;
using Kolta::TunerBookingManager;
using Kolta::TunerModel;

namespace {

struct Band
{
    double centre = 0.0;
    double width = 0.0;
};

/// Two tuners of one server may have the same name; then both show the band.
QString placeOf(const QString& server, const QString& tuner)
{
    return server + QLatin1Char('\n') + tuner;
}

/// What runs, by server and tuner. What is within another processor lies in its band.
void readBands(const ProcessorModel& model, const QModelIndex& parent, QHash<QString, Band>& bands)
{
    for (int row = 0; row < model.rowCount(parent); ++row) {
        const auto cell = [&](int column) { return model.index(row, column, parent); };
        const QString tuner = cell(ProcessorModel::eTunerColumn).data().toString();
        const double centre = cell(ProcessorModel::eFrequencyColumn).data(Roles::SortRole).toDouble();
        const QString place = placeOf(cell(ProcessorModel::eServerColumn).data().toString(), tuner);
        if (!tuner.isEmpty() && centre > 0 && !bands.contains(place))
            bands.insert(place,
                         {centre, cell(ProcessorModel::eBandwidthColumn).data(Roles::SortRole).toDouble()});
        readBands(model, cell(0), bands);
    }
}

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
    QHash<QString, Band> bands;
    readBands(session.processors(), {}, bands);
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
        if (tuner.state != TunerBookingManager::eFree && !bands.isEmpty()) {
            const Band band =
                bands.value(placeOf(index.data(Roles::ServerRole).toString(), index.data().toString()));
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
