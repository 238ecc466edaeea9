#include "runningontuners.h"

#include <koltacommon/processormodel.h>
#include <koltacommon/viewroles.h>

namespace KoltaConsole {

using Kolta::ProcessorModel;

namespace {

void read(const ProcessorModel& model, const QModelIndex& parent, QHash<QString, RunningOnTuner>& all)
{
    for (int row = 0; row < model.rowCount(parent); ++row) {
        const auto cell = [&](int column) { return model.index(row, column, parent); };
        const auto number = [&](int column) {
            return cell(column).data(Kolta::ViewRoles::SortRole).toDouble();
        };
        const QString tuner = cell(ProcessorModel::eTunerColumn).data().toString();
        if (!tuner.isEmpty()) {
            RunningOnTuner& running =
                all[keyOfTuner(cell(ProcessorModel::eServerColumn).data().toString(), tuner)];
            if (running.name.isEmpty())
                running.name = cell(ProcessorModel::eNameColumn).data().toString();
            if (running.name.isEmpty())
                running.name = cell(ProcessorModel::eKindColumn).data().toString();
            if (running.centre <= 0) {
                running.centre = number(ProcessorModel::eFrequencyColumn);
                running.width = number(ProcessorModel::eBandwidthColumn);
            }
        }
        read(model, cell(0), all);
    }
}

} // namespace

QHash<QString, RunningOnTuner> runningOnTuners(const ProcessorModel& model)
{
    QHash<QString, RunningOnTuner> all;
    read(model, {}, all);
    return all;
}

QString keyOfTuner(const QString& server, const QString& tuner)
{
    return server + QLatin1Char('\n') + tuner;
}

} // namespace KoltaConsole
