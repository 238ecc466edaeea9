#include "offers.h"

#include <koltaconsole/session/session.h>

#include <koltacommon/guidindex.h>
#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/ordercandidates.h>
#include <koltacommon/servertuners.h>
#include <koltacommon/tunerassignment.h>
#include <koltacommon/tunerselection.h>

#include <QCoreApplication>

#include <algorithm>
#include <numeric>
#include <utility>

namespace KoltaConsole {

using Kolta::KoltaServerInterface;
using Kolta::ProductionOrder;
using Kolta::ResourceGuid;
using Kolta::TunerCandidate;
using Kolta::TunerSelection;

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(KoltaConsole::Offers)
};

} // namespace

/// A server that is there, with its tuners.
struct Offers::Source
{
    explicit Source(KoltaServerInterface& interface) : server(interface), tuners(interface) {}

    KoltaServerInterface& server;
    Kolta::ServerTuners tuners;

    bool mayServe(const Wish& wish) const
    {
        return wish.server.isEmpty() || wish.server == server.getAddress();
    }
    /// All tuners of the order's class, taken ones as well, or the chosen one.
    TunerSelection selectionFor(const ProductionOrder& wanted) const
    {
        const ProductionOrder order = completed(wanted, server);
        TunerSelection selection = tuners.weigh(order.tunerClass, needsOf(order, server), order.storageGuids);
        if (order.tunerGuid.isEmpty())
            return selection;
        const auto isOther = [&order](const TunerCandidate& each) {
            return ResourceGuid::of(each.tuner) != order.tunerGuid;
        };
        auto& all = selection.candidates;
        all.erase(std::remove_if(all.begin(), all.end(), isOther), all.end());
        return selection;
    }
    /// Why a tuner that somebody chose cannot be had; with its holder.
    QString refusalOf(const TunerCandidate& chosen) const
    {
        Kolta::OrderCandidate candidate;
        candidate.facts = chosen;
        candidate.holder = Kolta::ServerTuners::holder(server, candidate.guid());
        return candidate.reason();
    }
};

/// Of equal tuners those of servers that are well are taken first, then by name.
Offers::Offers(Session& session) : m_session(session)
{
    QVector<ServerFacts> all = session.facts();
    std::sort(all.begin(), all.end(), [](const ServerFacts& a, const ServerFacts& b) {
        return std::pair(a.needsAttention(), a.sortText) < std::pair(b.needsAttention(), b.sortText);
    });
    for (const ServerFacts& facts : qAsConst(all)) {
        if (session.isThere(facts.address))
            m_sources.push_back(std::make_unique<Source>(*session.server(facts.address)));
    }
}

Offers::~Offers() = default;

void Offers::add(const ProductionOrder& order, const QString& server)
{
    m_wishes.push_back({order, server});
}

int Offers::numberOf(const Offer& offer)
{
    const QString key = offer.server + QLatin1Char('/') + offer.guid;
    const auto known = m_numbers.constFind(key);
    if (known != m_numbers.cend())
        return *known;
    m_tuners.push_back(offer);
    return *m_numbers.insert(key, static_cast<int>(m_tuners.size()) - 1);
}

void Offers::collect(const Source& source, const Wish& wish, std::vector<Kolta::TunerOffer>& offers)
{
    if (!source.mayServe(wish) || !problemOfMcp(wish.order, source.server).isEmpty())
        return;
    for (const TunerCandidate& candidate : source.selectionFor(wish.order).candidates) {
        if (candidate.refusal != Kolta::TunerRefusal::None)
            continue;
        const auto& identity = candidate.tuner.GetTavikResource();
        offers.push_back({numberOf({source.server.getAddress(), identity.GetGUID(), identity.GetDisplayName(),
                                    candidate.cost}),
                          candidate.cost});
    }
}

Kolta::TunerMatching Offers::match()
{
    std::vector<std::vector<Kolta::TunerOffer>> offers(m_wishes.size());
    for (const auto& source : m_sources) {
        for (std::size_t place = 0; place < m_wishes.size(); ++place)
            collect(*source, m_wishes[place], offers[place]);
    }
    std::vector<int> classes(m_wishes.size());
    std::iota(classes.begin(), classes.end(), 0);
    return Kolta::matchTuners(static_cast<int>(m_tuners.size()), offers, classes);
}

QString Offers::refusalOf(std::size_t place) const
{
    const Wish& wish = m_wishes[place];
    const bool isChosen = !wish.order.tunerGuid.isEmpty();
    if (!wish.server.isEmpty() && !m_session.isThere(wish.server))
        return Texts::tr("%1 is away").arg(wish.server);
    TunerSelection all;
    QString problem;
    for (const auto& source : m_sources) {
        const QString ofMcp = source->mayServe(wish) ? problemOfMcp(wish.order, source->server) : QString();
        problem = problem.isEmpty() ? ofMcp : problem;
        if (!source->mayServe(wish) || !ofMcp.isEmpty())
            continue;
        const TunerSelection selection = source->selectionFor(wish.order);
        if (isChosen && !selection.candidates.isEmpty())
            return source->refusalOf(selection.candidates.constFirst());
        all.classExists = all.classExists || selection.classExists;
        all.candidates += selection.candidates;
    }
    if (all.classExists)
        return isChosen ? Texts::tr("the chosen tuner is not there") : refusalSummary(all);
    return problem.isEmpty() ? Texts::tr("no tuner of class %1").arg(wish.order.tunerClass) : problem;
}

} // namespace KoltaConsole
