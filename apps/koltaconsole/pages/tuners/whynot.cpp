#include "whynot.h"

#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/ordercandidates.h>
#include <koltacommon/tunermodel.h>
#include <koltacommon/viewroles.h>
#include <koltaconsole/session/orderdraft.h>
#include <koltaconsole/session/session.h>

#include <QCoreApplication>
#include <QModelIndex>

#include <algorithm>

namespace KoltaConsole {

namespace Roles = Kolta::ViewRoles;
using Kolta::OrderCandidate;
using Kolta::OrderExplainer;
using Kolta::ProductionOrder;
using Kolta::TunerModel;

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(WhyNot)
};

const OrderCandidate* find(const Kolta::OrderChoice& choice, const QString& guid)
{
    const auto found = std::find_if(choice.candidates.begin(), choice.candidates.end(),
                                    [&guid](const OrderCandidate& each) { return each.guid() == guid; });
    return found == choice.candidates.end() ? nullptr : &*found;
}

QString rankText(const OrderCandidate& candidate, int of)
{
    const QString reason = candidate.reason();
    return Texts::tr("It can be had: rank %1 of %2 on its server, cost %3%4.")
        .arg(candidate.rank)
        .arg(of)
        .arg(candidate.facts.cost)
        .arg(reason.isEmpty() ? QString() : QStringLiteral(", ") + reason);
}

} // namespace

QString whyNot(const Session& session, const QModelIndex& tuner)
{
    const QString name = tuner.sibling(tuner.row(), TunerModel::eNameColumn).data().toString();
    const QString title = Texts::tr("Why not %1?  ").arg(name);
    Kolta::KoltaServerInterface* const server = session.server(tuner.data(Roles::ServerRole).toString());
    if (!server)
        return title + Texts::tr("Its server is not there any more.");
    const QString wanted = session.draft().server();
    if (!wanted.isEmpty() && wanted != server->getAddress())
        return title + Texts::tr("Refused: the order is for %1.").arg(wanted);
    const QString guid = tuner.data(Roles::GuidRole).toString();
    ProductionOrder order = session.draft().order();
    order.tunerGuid.clear();
    if (!order.tunerClass.isEmpty()) {
        OrderExplainer explainer(*server, order);
        const Kolta::OrderChoice& choice = explainer.choice();
        if (!choice.problem.isEmpty())
            return title + Texts::tr("Nothing can be ordered: %1.").arg(choice.problem);
        if (const OrderCandidate* const found = find(choice, guid))
            return title + (found->rank > 0 ? rankText(*found, choice.acceptedCount())
                                            : Texts::tr("Refused: %1.").arg(found->reason()));
    }
    // Of another class, or of none that was asked for.
    ProductionOrder own = order;
    own.tunerClass.clear();
    own.tunerGuid = guid;
    OrderExplainer explainer(*server, own);
    const OrderCandidate* const found = find(explainer.choice(), guid);
    if (!found)
        return title + Texts::tr("Refused: %1.").arg(explainer.choice().problem);
    if (found->rank == 0)
        return title + Texts::tr("Refused: %1.").arg(found->reason());
    return title +
           (order.tunerClass.isEmpty()
                ? Texts::tr("It can be had; nothing that excludes it has been ordered yet.")
                : Texts::tr("It is not of class %1, but could be taken by itself.").arg(order.tunerClass));
}

} // namespace KoltaConsole
