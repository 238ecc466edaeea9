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
#include <koltacommon/tunermodel.h>

#include <QCoreApplication>

namespace Kolta {

using RESOURCEMANAGEMENT::Tuner;

namespace {

QString translated(const char* text)
{
    return QCoreApplication::translate("Kolta::ServerTuners", text);
}

} // namespace

QString TunerHolder::text() const
{
    if (isPlan)
        return purpose.isEmpty()
                   ? TunerModel::stateText(TunerBookingManager::ePlanned)
                   : translated(QT_TRANSLATE_NOOP("Kolta::ServerTuners", "planned here for '%1'"))
                         .arg(purpose);
    if (processor.isEmpty())
        return QString();
    QString what = QStringLiteral("%1 '%2'").arg(kind, name);
    if (!production.isEmpty())
        what =
            translated(QT_TRANSLATE_NOOP("Kolta::ServerTuners", "%1 (production %2)")).arg(what, production);
    return owner.isEmpty() && ownerHost.isEmpty()
               ? what
               : translated(QT_TRANSLATE_NOOP("Kolta::ServerTuners", "%1, operated by %2 at %3"))
                     .arg(what, owner, ownerHost);
}

bool TunerHolder::operator==(const TunerHolder& other) const
{
    return isPlan == other.isPlan && purpose == other.purpose && processor == other.processor &&
           kind == other.kind && name == other.name && production == other.production &&
           owner == other.owner && ownerHost == other.ownerHost;
}

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
    TunerSelection selection = weigh(className, needs, storageGuids);
    for (TunerCandidate& candidate : selection.candidates) {
        if (m_server &&
            (candidate.refusal == TunerRefusal::NotIdle || candidate.refusal == TunerRefusal::Excluded))
            candidate.detail = holderOf(*m_server, ResourceGuid::of(candidate.tuner));
    }
    return selection;
}

TunerSelection ServerTuners::weigh(const QString& className, const TunerNeeds& needs,
                                   const QStringList& storageGuids) const
{
    return m_selector.explainSelection(className, filter(needs, storageGuids));
}

bool ServerTuners::refresh()
{
    if (m_isDefault || !m_server)
        return false;
    m_selector.setResourceOverview(m_server->getResourceObserver().GetCurrentResources());
    return true;
}

TunerHolder ServerTuners::holder(KoltaServerInterface& server, const QString& tunerGuid)
{
    TunerHolder holder;
    if (server.getBookingManager().getTunerState(tunerGuid) == TunerBookingManager::ePlanned) {
        holder.isPlan = true;
        holder.purpose = ServerDesk::of(server).purposeOfPlan(tunerGuid);
        return holder;
    }
    KoltaProcessorObserver& processors = server.getProcessorObserver();
    const QStringList fed = processors.GetGUIDsFedByTuner(tunerGuid);
    const RunningProcessor found = fed.isEmpty() ? RunningProcessor() : processors.FindProcessor(fed.first());
    if (!found)
        return holder;
    holder.processor = fed.first();
    holder.kind = found.object->GetObjectName();
    holder.name = found.record->GetTavikResource().GetDisplayName();
    if (found.kind == eAppMCP)
        holder.production = static_cast<const RESOURCEMANAGEMENT::MCP*>(found.object)->GetProductionID();
    else if (found.kind == eAppSCP)
        holder.production = static_cast<const RESOURCEMANAGEMENT::SCP*>(found.object)->GetProductionID();
    if (const RESOURCEMANAGEMENT::Owner* const owner = server.getGuiOwnerObserver().FindOwner(fed.first())) {
        holder.owner = owner->GetName();
        holder.ownerHost = owner->GetHost();
    }
    return holder;
}

QString ServerTuners::holderOf(KoltaServerInterface& server, const QString& tunerGuid)
{
    return holder(server, tunerGuid).text();
}

} // namespace Kolta
