#include <koltacommon/servertuners.h>

#include <koltacommon/guidindex.h>
#include <koltacommon/koltaownerobserver.h>
#include <koltacommon/koltaprocessorobserver.h>
#include <koltacommon/koltaresourceobserver.h>
#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/resourcedemandclassobserver.h>
#include <koltacommon/serverdesk.h>
#include <koltacommon/tunerbookingmanager.h>
#include <koltacommon/tunerclassesobserver.h>
#include <koltacommon/tunerclasstree.h>

#include <QCoreApplication>

namespace Kolta {

using RESOURCEMANAGEMENT::Tuner;

namespace {

QString translated(const char* text)
{
    return QCoreApplication::translate("Kolta::ServerTuners", text);
}

/// "MCP 'X' (production {…})".
QString describe(const RunningProcessor& processor)
{
    const QString name = processor.record->GetTavikResource().GetDisplayName();
    const QString text = QStringLiteral("%1 '%2'").arg(processor.object->GetObjectName(), name);
    QString production;
    if (processor.kind == eAppMCP)
        production = static_cast<const RESOURCEMANAGEMENT::MCP*>(processor.object)->GetProductionID();
    else if (processor.kind == eAppSCP)
        production = static_cast<const RESOURCEMANAGEMENT::SCP*>(processor.object)->GetProductionID();
    return production.isEmpty() ? text
                                : translated(QT_TRANSLATE_NOOP("Kolta::ServerTuners", "%1 (production %2)"))
                                      .arg(text, production);
}

} // namespace

ServerTuners::ServerTuners(KoltaServerInterface& server)
    : m_server(&server)
    , m_tree(server.getTunerClassObserver().getTunerClassTree(
          server.getResourceObserver().GetCurrentResources()))
    , m_isDefault(server.getTunerClassObserver().getTunerClassOverview().GetTunerClass().isEmpty())
{
    if (m_isDefault)
        m_tree->createDefaultHierarchy(
            server.getRdcObserver().GetCurrentDemandClasses().GetResourceDemandClass());
    m_selector.setTunerClassOverview(m_tree->getOriginalTunerClassOverview());
    m_selector.setResourceOverview(server.getResourceObserver().GetCurrentResources());
}

ServerTuners::~ServerTuners() = default;

QString ServerTuners::problemOfClass(const QString& name) const
{
    if (m_tree->findClassItemByName(name))
        return {};
    QStringList names;
    m_tree->getRootItem()->applyToAllDescendants([&names](const ptrTunerClassTreeItem& item) {
        if (item->isClassItem())
            names.append(item->getName());
    });
    return translated(QT_TRANSLATE_NOOP("Kolta::ServerTuners", "there is no tuner class \"%1\"; known: %2"))
        .arg(name, names.isEmpty() ? translated(QT_TRANSLATE_NOOP("Kolta::ServerTuners", "none"))
                                   : names.join(QStringLiteral(", ")));
}

TunerFilter ServerTuners::filter(const TunerNeeds& needs, const QStringList& storageGuids) const
{
    const QPointer<KoltaServerInterface> server = m_server;
    const auto isPlanned = [server](const Tuner& tuner) {
        return !server || server->getBookingManager().getTunerState(ResourceGuid::of(tuner)) ==
                              TunerBookingManager::ePlanned;
    };
    return TunerFilter::freeTuners(isPlanned, storageGuids).withNeeds(needs);
}

TunerSelection ServerTuners::explain(const QString& className, const TunerNeeds& needs,
                                     const QStringList& storageGuids) const
{
    TunerSelection selection = m_selector.explainSelection(className, filter(needs, storageGuids));
    for (TunerCandidate& candidate : selection.candidates) {
        if (m_server &&
            (candidate.refusal == TunerRefusal::NotIdle || candidate.refusal == TunerRefusal::Excluded))
            candidate.detail = holderOf(*m_server, ResourceGuid::of(candidate.tuner));
    }
    return selection;
}

QString ServerTuners::holderOf(KoltaServerInterface& server, const QString& tunerGuid)
{
    if (server.getBookingManager().getTunerState(tunerGuid) == TunerBookingManager::ePlanned) {
        const QString purpose = ServerDesk::of(server).purposeOfPlan(tunerGuid);
        return purpose.isEmpty()
                   ? translated(QT_TRANSLATE_NOOP("Kolta::ServerTuners", "planned here"))
                   : translated(QT_TRANSLATE_NOOP("Kolta::ServerTuners", "planned here for '%1'"))
                         .arg(purpose);
    }
    KoltaProcessorObserver& processors = server.getProcessorObserver();
    const QStringList fed = processors.GetGUIDsFedByTuner(tunerGuid);
    const RunningProcessor holder =
        fed.isEmpty() ? RunningProcessor() : processors.FindProcessor(fed.first());
    if (!holder)
        return QString();
    const RESOURCEMANAGEMENT::Owner* const owner = server.getGuiOwnerObserver().FindOwner(fed.first());
    return owner ? translated(QT_TRANSLATE_NOOP("Kolta::ServerTuners", "%1, operated by %2 at %3"))
                       .arg(describe(holder), owner->GetName(), owner->GetHost())
                 : describe(holder);
}

} // namespace Kolta
