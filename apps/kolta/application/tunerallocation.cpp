#include "tunerallocation.h"

#include <kolta/cli/output.h>

#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/resourcedemandclassobserver.h>
#include <koltacommon/tunerbookingmanager.h>
#include <koltacommon/tunerclassesobserver.h>
#include <koltacommon/tunerclassresourceselector.h>

#include <utility>

namespace KoltaCli {

using Kolta::ptrTunerClassTreeItem;

TunerAllocation::TunerAllocation(Kolta::KoltaServerInterface& server)
    : m_server(server)
    , m_tree(server.getTunerClassObserver().getTunerClassTree(
          server.getResourceObserver().GetCurrentResources()))
{
    const auto& classes = server.getTunerClassObserver().getTunerClassOverview();
    m_isDefault = classes.GetTunerClass().isEmpty();
    if (m_isDefault)
        m_tree->createDefaultHierarchy(
            server.getRdcObserver().GetCurrentDemandClasses().GetResourceDemandClass());
}

std::unique_ptr<TunerAllocation> TunerAllocation::start(const CommandLine& line)
{
    auto installation = EmbeddedInstallation::start(line);
    if (!installation)
        return nullptr;
    auto allocation = std::make_unique<TunerAllocation>(*installation->interfaces().first());
    allocation->m_installation = std::move(installation);
    return allocation;
}

const Kolta::KoltaResourceObserver& TunerAllocation::resources() const
{
    return m_server.getResourceObserver();
}

const QString& TunerAllocation::serverName() const
{
    return m_server.getAddress();
}

Kolta::TunerBookingManager& TunerAllocation::booking() const
{
    return m_server.getBookingManager();
}

Kolta::TunerSelection TunerAllocation::explain(const QString& className, const QStringList& storages) const
{
    const auto isPlanned = [this](const RESOURCEMANAGEMENT::Tuner& tuner) {
        return booking().getTunerState(tuner.GetTavikResource().GetGUID()) ==
               Kolta::TunerBookingManager::ePlanned;
    };
    return selector().explainSelection(className, isPlanned, storages);
}

Kolta::TunerClassResourceSelector TunerAllocation::selector() const
{
    Kolta::TunerClassResourceSelector selector;
    selector.setTunerClassOverview(m_tree->getOriginalTunerClassOverview());
    selector.setResourceOverview(resources().GetCurrentResources());
    return selector;
}

void TunerAllocation::printOrigin() const
{
    if (m_isDefault)
        printLine(QStringLiteral("%1 has no tuner classes; these are made from its tuners and demand classes")
                      .arg(serverName()));
}

QString TunerAllocation::problemOfClass(const QString& name) const
{
    if (m_tree->findClassItemByName(name))
        return {};
    QStringList names;
    m_tree->getRootItem()->applyToAllDescendants([&names](const ptrTunerClassTreeItem& item) {
        if (item->isClassItem())
            names.append(item->getName());
    });
    return QStringLiteral("there is no tuner class \"%1\"; known: %2")
        .arg(name, names.isEmpty() ? QStringLiteral("none") : names.join(QStringLiteral(", ")));
}

bool TunerAllocation::knowsClass(const QString& name) const
{
    const QString problem = problemOfClass(name);
    if (!problem.isEmpty())
        printError(problem);
    return problem.isEmpty();
}

} // namespace KoltaCli
