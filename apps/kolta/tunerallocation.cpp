#include "tunerallocation.h"

#include "output.h"

#include <koltacommon/resourcedemandclassobserver.h>
#include <koltacommon/tunerclassesobserver.h>

#include <utility>

namespace KoltaCli {

using Kolta::ptrTunerClassTreeItem;

TunerAllocation::TunerAllocation(std::shared_ptr<EmbeddedInstallation> installation)
    : m_installation(std::move(installation))
{
}

std::unique_ptr<TunerAllocation> TunerAllocation::start(const CommandLine& line)
{
    auto installation = EmbeddedInstallation::start(line);
    if (!installation)
        return nullptr;
    std::unique_ptr<TunerAllocation> allocation(new TunerAllocation(std::move(installation)));
    return allocation->makeTree() ? std::move(allocation) : nullptr;
}

bool TunerAllocation::makeTree()
{
    Kolta::TunerClassesObserver classes;
    Kolta::ResourceDemandClassObserver demandClasses;
    if (!m_installation->mirror(m_resources, QStringLiteral("Resources")) ||
        !m_installation->mirror(classes, QStringLiteral("TunerClasses")) ||
        !m_installation->mirror(demandClasses, QStringLiteral("DemandClasses")))
        return false;
    m_tree = classes.getTunerClassTree(m_resources.GetCurrentResources());
    m_isDefault = classes.getTunerClassOverview().GetTunerClass().isEmpty();
    if (m_isDefault)
        m_tree->createDefaultHierarchy(demandClasses.GetCurrentDemandClasses().GetResourceDemandClass());
    return true;
}

void TunerAllocation::printOrigin() const
{
    if (m_isDefault)
        printLine(QStringLiteral("%1 has no tuner classes; these are made from its tuners and demand classes")
                      .arg(serverName()));
}

bool TunerAllocation::knowsClass(const QString& name) const
{
    if (m_tree->findClassItemByName(name))
        return true;
    QStringList names;
    m_tree->getRootItem()->applyToAllDescendants([&names](const ptrTunerClassTreeItem& item) {
        if (item->isClassItem())
            names.append(item->getName());
    });
    const QString known = names.isEmpty() ? QStringLiteral("none") : names.join(QStringLiteral(", "));
    printError(QStringLiteral("there is no tuner class \"%1\"; known: %2").arg(name, known));
    return false;
}

} // namespace KoltaCli
