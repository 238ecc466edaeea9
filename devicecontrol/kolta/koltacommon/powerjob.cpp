#include <koltacommon/powerjob.h>

#include <koltacommon/koltaserverinterface.h>

#include <QSet>

namespace Kolta {

namespace {

bool meansOn(PowerJob::Command command)
{
    return command == KoltaResourceObserver::eUnitOn || command == KoltaResourceObserver::eSupplyOn ||
           command == KoltaResourceObserver::eDevicesOn;
}

QSet<QString> unitsThatAreOn(const RESOURCEMANAGEMENT::ResourceOverview& resources)
{
    using namespace RESOURCEMANAGEMENT;
    QSet<QString> on;
    const auto add = [&on](const auto& list, const auto& isOn) {
        for (const auto& unit : list) {
            if (isOn(unit))
                on.insert(unit.GetTavikResource().GetGUID());
        }
    };
    add(resources.GetTuner(), [](const Tuner& tuner) { return tuner.GetAccessible(); });
    add(resources.GetProcessingUnit(), isRegistered<ProcessingUnit>);
    add(resources.GetStorageUnit(), isRegistered<StorageUnit>);
    return on;
}

} // namespace

PowerJob::PowerJob(KoltaServerInterface& server, Command command, const QStringList& guids, QObject* parent)
    : ServerOperation(server, parent), m_command(command)
{
    for (const QString& guid : guids)
        m_units.append({guid, false});
}

void PowerJob::ask()
{
    QStringList guids;
    for (const Unit& unit : qAsConst(m_units)) {
        if (!server()->getResourceObserver().FindResource(unit.guid))
            return refuse(Reason::NoSuchThing, tr("there is no unit %1").arg(unit.guid));
        guids.append(unit.guid);
    }
    if (look())
        return settleDone();
    setAsked();
    setProgress(tr("waiting for %1 to switch").arg(serverName()));
    server()->getResourceObserver().powerControl(m_command, guids);
}

/// Whether all are as they should be.
bool PowerJob::look()
{
    const QSet<QString> on = unitsThatAreOn(server()->getResourceObserver().GetCurrentResources());
    bool all = true;
    for (Unit& unit : m_units) {
        unit.isDone = on.contains(unit.guid) == meansOn(m_command);
        all = all && unit.isDone;
    }
    return all;
}

void PowerJob::mirrorChanged(ServerDesk::Mirror mirror)
{
    if (mirror == ServerDesk::Mirror::Resources && wasAsked() && desk()->isConnected() && look())
        settleDone();
}

void PowerJob::operational(bool on)
{
    if (on && wasAsked() && look())
        settleDone();
}

void PowerJob::timeIsOver()
{
    QStringList late;
    for (const Unit& unit : qAsConst(m_units)) {
        if (unit.isDone)
            continue;
        const QString name =
            server() ? server()->getResourceObserver().GetDisplayNameByGUID(unit.guid) : QString();
        late.append(name.isEmpty() ? unit.guid : name);
    }
    settleGivenUp(Effect::Unknown, isCancelled()
                                       ? QString()
                                       : tr("not switched in time: %1").arg(late.join(QStringLiteral(", "))));
}

} // namespace Kolta
