#pragma once

#include <QHash>
#include <QString>

namespace Kolta {
class ProcessorModel;
}

namespace KoltaConsole {

/// What works with a tuner.
struct RunningOnTuner
{
    QString name;        ///< of the outermost processor; its kind where nobody has named it
    double centre = 0.0; ///< Hz; 0: nothing that says so
    double width = 0.0;
};

/// By keyOfTuner(). What is within another processor lies in its band.
QHash<QString, RunningOnTuner> runningOnTuners(const Kolta::ProcessorModel& model);
/// Two tuners of one server may have the same name; then both show what runs on one of them.
QString keyOfTuner(const QString& server, const QString& tuner);

} // namespace KoltaConsole
