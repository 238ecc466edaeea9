#include "productionrows.h"

#include <koltacommon/guidtext.h>
#include <koltacommon/journal.h>
#include <koltacommon/koltaownerobserver.h>
#include <koltacommon/koltaresourceobserver.h>
#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/processormodel.h>
#include <koltacommon/productionjob.h>
#include <koltacommon/units.h>
#include <koltacommon/viewroles.h>
#include <koltaconsole/session/ordersunderway.h>
#include <koltaconsole/session/serverfacts.h>
#include <koltaconsole/session/session.h>

#include <algorithm>
#include <map>

namespace KoltaConsole {

namespace Roles = Kolta::ViewRoles;
using Kolta::Event;
using Kolta::EventSubject;
using Kolta::ProcessorModel;
using Kolta::Stretch;

namespace {

/// More lines of what has ended help nobody.
constexpr std::size_t kEndedRows = 500;

QString textAt(const QModelIndex& index, int column)
{
    return index.sibling(index.row(), column).data().toString();
}

QString knownKey(const QString& server, const QString& guid)
{
    return server + QLatin1Char('/') + guid;
}

bool haveSameShape(const Timeline& a, const Timeline& b)
{
    if (a.isLost != b.isLost || a.isPast != b.isPast || a.stretches.size() != b.stretches.size())
        return false;
    return a.isEmpty() || (a.stretches.last().state == b.stretches.last().state &&
                           a.stretches.last().isWatched == b.stretches.last().isWatched &&
                           a.stretches.last().isOpen == b.stretches.last().isOpen);
}

QString bandText(double hertz)
{
    return hertz > 0 ? Kolta::hertzToText(hertz).toLower() : QString();
}

} // namespace

bool ProductionRow::looksLike(const ProductionRow& other) const
{
    return kind == other.kind && name == other.name && look.mark == other.look.mark &&
           look.word == other.look.word && lookInFull == other.lookInFull &&
           look.isLoud == other.look.isLoud && isMine == other.isMine && frequency == other.frequency &&
           bandwidth == other.bandwidth && hardware == other.hardware && owner == other.owner &&
           ownerInFull == other.ownerInFull && isStale == other.isStale && production == other.production &&
           holderKey == other.holderKey && haveSameShape(timeline, other.timeline);
}

bool ProductionRow::matches(const FilterWords& words) const
{
    const QString search = QStringList{name,  type,   look.word,           lookInFull,         hardware,
                                       owner, server, bandText(frequency), bandText(bandwidth)}
                               .join(QLatin1Char('\n'))
                               .toLower();
    const double half = bandwidth / 2;
    return words.matches(search, {frequency - half, frequency + half, bandwidth});
}

QString objectionToMove(const ProductionRow& ffp, const ProductionRow& target)
{
    if (ffp.type != QLatin1String("FFP") || !ffp.isRunning())
        return ProductionRows::tr("only a running FFP can be moved");
    if (!ffp.pending.isEmpty())
        return ffp.pending;
    if (ffp.isStale || target.isStale)
        return ProductionRows::tr("its server is away");
    if (target.type != QLatin1String("MCP") || !target.isRunning())
        return ProductionRows::tr("is no running MCP");
    if (target.server != ffp.server)
        return ProductionRows::tr("runs on another server, %1").arg(target.server);
    if (target.key == ffp.holderKey)
        return ProductionRows::tr("it runs there already");
    return QString();
}

Timeline ProductionRows::timelineOf(const QString& server, const QString& guid) const
{
    Timeline timeline;
    timeline.to = m_now;
    timeline.from = m_now.addSecs(-3600 * Timeline::kHours);
    timeline.stretches = m_session.journal().book().stretches({EventSubject::Type::Processor, server, guid},
                                                              timeline.from, timeline.to);
    return timeline;
}

void ProductionRows::readEnded()
{
    m_ended.clear();
    readEnded(m_session.journal().book().subjects(EventSubject::Type::Processor));
}

void ProductionRows::readEnded(const QVector<EventSubject>& subjects)
{
    // What has ended just now has been over for a moment.
    m_now = m_session.now().addMSecs(1);
    for (const EventSubject& subject : subjects) {
        if (subject.type == EventSubject::Type::Processor)
            noteEnd(subject);
    }
}

/// As it is told today.
Look ProductionRows::lookOfEnd(const ProductionRow& row)
{
    const QString when = timeText(row.ended);
    return {row.timeline.isLost ? Mark::Cross : Mark::Box, Role::Dim,
            row.timeline.isLost ? tr("lost %1").arg(when)
            : row.sawEnd        ? tr("ended %1").arg(when)
                                : tr("ended after %1").arg(when),
            false};
}

/// What has ended was running and is known to do so no longer.
void ProductionRows::noteEnd(const EventSubject& subject)
{
    m_ended.remove(subject);
    const Kolta::Journal& journal = m_session.journal();
    ProductionRow row = m_known.value(knownKey(subject.server, subject.guid));
    row.timeline = timelineOf(subject.server, subject.guid);
    const QVector<Stretch>& stretches = row.timeline.stretches;
    const auto ran = std::find_if(stretches.crbegin(), stretches.crend(), [](const Stretch& stretch) {
        return stretch.isWatched && stretch.state != Event::kGone;
    });
    if (ran == stretches.crend() || !stretches.last().isWatched || stretches.last().state != Event::kGone)
        return;
    row.sawEnd = std::prev(ran)->isWatched;
    for (const quint64 number : journal.entriesOf(subject, ran->to.addSecs(-1), m_now)) {
        const Kolta::JournalEntry* const entry = journal.entry(number);
        row.timeline.isLost = row.timeline.isLost || (entry && entry->event.state == Event::kGone &&
                                                      entry->event.weight == Event::Weight::Alarm);
    }
    row.kind = ProductionRow::Kind::Ended;
    row.key = QStringLiteral("ended:") + knownKey(subject.server, subject.guid);
    row.server = subject.server;
    row.guid = subject.guid;
    row.ended = ran->to;
    row.pending.clear();
    row.lookInFull.clear();
    row.isStale = row.timeline.isPast = true;
    row.isMine = false;
    row.holderKey.clear();
    if (row.name.isEmpty())
        row.name = journal.book().name(subject);
    const Kolta::KoltaServerInterface* const server = m_session.server(subject.server);
    if (row.hardware.isEmpty() && server)
        row.hardware =
            const_cast<Kolta::KoltaServerInterface*>(server)->getResourceObserver().GetDisplayNameByGUID(
                ran->tuner);
    row.look = lookOfEnd(row);
    m_ended.insert(subject, row);
}

ProductionRow ProductionRows::rowOf(const QModelIndex& index, const Pending& pending)
{
    ProductionRow row;
    row.key = index.data(Roles::KeyRole).toString();
    row.server = index.data(Roles::ServerRole).toString();
    row.guid = index.data(Roles::GuidRole).toString();
    row.name = textAt(index, ProcessorModel::eNameColumn);
    row.type = textAt(index, ProcessorModel::eKindColumn);
    row.frequency =
        index.sibling(index.row(), ProcessorModel::eFrequencyColumn).data(Roles::SortRole).toDouble();
    row.bandwidth =
        index.sibling(index.row(), ProcessorModel::eBandwidthColumn).data(Roles::SortRole).toDouble();
    const QString unit = textAt(index, ProcessorModel::eUnitColumn);
    const QString tuner = textAt(index, ProcessorModel::eTunerColumn);
    const bool isTop = !index.parent().isValid();
    row.hardware = (isTop && !tuner.isEmpty()) || unit.isEmpty() ? tuner : unit;
    row.owner = textAt(index, ProcessorModel::eOwnerColumn);
    row.ownerInFull = index.data(Roles::HolderRole).toString();
    row.production = textAt(index, ProcessorModel::eProductionColumn);
    row.isStale = index.data(Roles::StaleRole).toBool();
    if (auto* const server = m_session.server(row.server))
        row.isMine = server->getGuiOwnerObserver().IsOwnedBy(row.guid, server->getClientId());
    row.timeline = timelineOf(row.server, row.guid);
    row.timeline.isPast = row.isStale;
    row.look = {Mark::Square, Role::InUse, tr("running"), false};
    if (row.isStale)
        row.look = {Mark::Cross, Role::Dim, tr("last known"), false};
    row.pending = pending.value(row.key).inFull;
    if (!row.pending.isEmpty()) {
        row.look = {Mark::Half, Role::InUse, pending.value(row.key).doing, false};
        row.lookInFull = row.pending;
    }
    m_known.insert(knownKey(row.server, row.guid), row);
    for (int child = 0; child < index.model()->rowCount(index); ++child) {
        row.children.push_back(rowOf(index.model()->index(child, 0, index), pending));
        row.children.back().holderKey = row.key;
    }
    return row;
}

ProductionRow ProductionRows::serverRow(const QString& address) const
{
    const ServerFacts facts = m_session.factsOf(address);
    ProductionRow row;
    row.kind = ProductionRow::Kind::Server;
    row.key = address;
    row.server = address;
    row.name = address;
    row.isStale = facts.isStale();
    row.look = facts.look();
    const QString host = facts.host.section(QLatin1Char('.'), 0, 0);
    const QString who = host.isEmpty() ? address : QStringLiteral("%1 %2").arg(address, host);
    row.look.word = facts.isStale() && facts.lastKnown.isValid()
                        ? tr("%1 — %2, %3").arg(who, row.look.word, lastKnownText(facts.lastKnown))
                        : QStringLiteral("%1 — %2").arg(who, row.look.word);
    return row;
}

/// What was ordered here and is not among the rows of what runs.
void ProductionRows::addOrdered(ProductionRow& server) const
{
    for (const OrdersUnderWay::Entry& entry : m_session.ordersUnderWay().entries()) {
        const QUuid production = entry.job ? entry.job->production() : QUuid();
        const auto isIt = [&](const ProductionRow& row) {
            return !production.isNull() && Kolta::guidFromText(row.production) == production;
        };
        if (entry.server != server.server ||
            std::any_of(server.children.begin(), server.children.end(), isIt))
            continue;
        ProductionRow row;
        row.kind = ProductionRow::Kind::Ordered;
        row.key = QStringLiteral("ordered:%1").arg(entry.number);
        row.server = entry.server;
        row.type = kindName(entry.order.kind);
        row.name = entry.order.displayName.isEmpty() ? row.type : entry.order.displayName;
        row.frequency = entry.order.frequency;
        row.bandwidth = entry.order.bandwidth;
        row.hardware = entry.tuner;
        row.lookInFull = entry.job ? tr("starting since %1").arg(timeText(entry.began)) : entry.reason;
        if (entry.job)
            row.look = {Mark::Half, Role::InUse, tr("starting"), false};
        else
            row.look = {Mark::Triangle, Role::Attention, entry.isRefused ? tr("refused") : tr("failed"),
                        true};
        server.children.push_back(std::move(row));
    }
}

/// What neither runs nor has ended within the hours that are shown.
void ProductionRows::forget()
{
    const QDateTime limit = m_now.addSecs(-3600 * Timeline::kHours);
    for (auto row = m_ended.begin(); row != m_ended.end();) {
        if (row->ended < limit) {
            m_known.remove(knownKey(row->server, row->guid));
            row = m_ended.erase(row);
        } else {
            ++row;
        }
    }
}

/// With the latest of those that are wanted, and how many there are.
ProductionRow ProductionRows::endedGroup(const Wanted& isWanted) const
{
    std::vector<const ProductionRow*> wanted;
    for (const ProductionRow& row : m_ended) {
        if (isWanted(row))
            wanted.push_back(&row);
    }
    std::sort(wanted.begin(), wanted.end(),
              [](const ProductionRow* a, const ProductionRow* b) { return a->ended > b->ended; });
    const auto all = static_cast<int>(wanted.size());
    const bool isCut = wanted.size() > kEndedRows;
    if (isCut)
        wanted.resize(kEndedRows);
    ProductionRow group;
    group.kind = ProductionRow::Kind::EndedGroup;
    group.key = QStringLiteral("ended");
    group.name = isCut ? tr("Ended in the last 24 h: %L1 of %L2 shown").arg(kEndedRows).arg(all)
                       : tr("Ended in the last 24 h: %L1").arg(all);
    for (const ProductionRow* const row : wanted) {
        group.children.push_back(*row);
        Timeline& timeline = group.children.back().timeline;
        timeline.to = m_now;
        timeline.from = m_now.addSecs(-3600 * Timeline::kHours);
    }
    return group;
}

std::vector<ProductionRow> ProductionRows::gather(const Pending& pending, const Wanted& isWanted)
{
    m_now = m_session.now();
    forget();
    if (const QDate today = m_now.toLocalTime().date(); today != m_day) {
        m_day = today;
        for (ProductionRow& row : m_ended)
            row.look = lookOfEnd(row);
    }
    std::map<QString, ProductionRow> servers; // by sorting text
    const ProcessorModel& model = m_session.processors();
    for (int place = 0; place < model.rowCount(); ++place) {
        ProductionRow row = rowOf(model.index(place, 0), pending);
        const QString address = row.server;
        auto [found, isNew] = servers.try_emplace(Roles::sortText(address));
        if (isNew)
            found->second = serverRow(address);
        found->second.children.push_back(std::move(row));
    }
    m_session.ordersUnderWay().forget(m_now);
    for (const OrdersUnderWay::Entry& entry : m_session.ordersUnderWay().entries()) {
        if (const QString text = Roles::sortText(entry.server); servers.find(text) == servers.end())
            servers.emplace(text, serverRow(entry.server));
    }
    for (auto& [text, row] : servers)
        addOrdered(row);
    std::vector<ProductionRow> rows;
    rows.reserve(servers.size() + 1);
    for (auto& [text, row] : servers)
        rows.push_back(std::move(row));
    ProductionRow ended = endedGroup(isWanted);
    if (!ended.children.empty())
        rows.push_back(std::move(ended));
    return rows;
}

} // namespace KoltaConsole
