#include <distribution/wishdesk.h>

#include <startup/tracesource.h>

#include <algorithm>
#include <utility>

namespace distribution {

namespace {

enum eTracePoint : int { eForeignSession = 1, eTooManyWriters = 2 };
constexpr Startup::TraceSource kTrace("platform/distribution/wishdesk", Startup::eTraceWarning);

} // namespace

WishDesk::WishDesk(const Channels& channels, const std::map<QString, quint16>& collections, QStringList roots,
                   qint64 graceMs, std::unique_ptr<IWritePolicy> policy)
    : m_channels(channels)
    , m_collections(collections)
    , m_roots(std::move(roots))
    , m_policy(std::move(policy))
    , m_leases(graceMs)
{
}

void WishDesk::OnUp(qint64 nowMs)
{
    m_leases.OnUp(nowMs);
    m_present.clear();
}

/// Sessions stand in the log for everybody to read, so somebody might take leave in another's name.
void WishDesk::SetPresence(const Topic& topic, const Bytes& payload, qint64 nowMs)
{
    if (!isOwnSession(topic, nowMs))
        return;
    m_leases.SetPresent(topic.session, !payload.empty(), nowMs);
    const auto presence = payload.empty() ? std::nullopt : DecodePresence(payload);
    if (presence)
        m_present[topic.session] = *presence;
    else
        m_present.erase(topic.session);
}

bool WishDesk::isOwnSession(const Topic& topic, qint64 nowMs)
{
    const auto user = m_users.find(topic.session);
    if (user == m_users.end() || user->second == topic.user)
        return true;
    m_complaints(
        kTrace, eForeignSession,
        QStringLiteral("user %1 speaks under the session of another").arg(QString::fromStdString(topic.user)),
        nowMs);
    return false;
}

bool WishDesk::Admits(const OwnerChannel& channel, const Topic& topic, qint64 nowMs)
{
    if (!isOwnSession(topic, nowMs))
        return false;
    if (channel.FindSession(topic.session) || channel.CountSessions() < Limits::sessions) {
        m_users[topic.session] = topic.user;
        return true;
    }
    const auto gone = std::find_if(m_users.begin(), m_users.end(),
                                   [this](const auto& known) { return !m_leases.IsPresent(known.first); });
    if (gone == m_users.end()) {
        m_complaints(kTrace, eTooManyWriters, QStringLiteral("too many writers"), nowMs);
        return false;
    }
    for (const auto& other : m_channels)
        other.second->ForgetSession(gone->first);
    m_users.erase(gone);
    m_users[topic.session] = topic.user;
    return true;
}

WishDesk::Review WishDesk::Look(const Topic& topic, const OwnerChannel& channel,
                                const WishMessage& wish) const
{
    Review review;
    review.writer = {topic.user, topic.session, {}, {}};
    const auto present = m_present.find(topic.session);
    if (present != m_present.end()) {
        review.writer.host = present->second.host;
        review.writer.program = present->second.program;
    }
    quint32 index = 0;
    for (const Change& change : wish.changes) {
        Failure objection = objectionTo(review.writer, channel, change);
        if (objection.result == WishResult::Executed) {
            review.changes.push_back(change);
            review.indices.push_back(index);
        } else {
            objection.index = index;
            review.failures.push_back(std::move(objection));
        }
        ++index;
    }
    return review;
}

/// The failure that the change has, with the result Executed when it has none.
Failure WishDesk::objectionTo(const Writer& writer, const OwnerChannel& channel, const Change& change) const
{
    const auto refused = [&change](const QString& reason) {
        return Failure{0, WishResult::Refused, change.path + QStringLiteral(": ") + reason};
    };
    if (std::none_of(m_roots.begin(), m_roots.end(),
                     [&change](const QString& root) { return IsAtOrBelow(change.path, root); }))
        return refused(QStringLiteral("not part of the branch"));
    if (change.operation == Operation::Add && IsCollection(change.type))
        return refused(QStringLiteral("collections are made by their owner"));
    const auto collection = m_collections.find(change.path);
    const quint16 own = collection == m_collections.end() ? quint16(0) : collection->second;
    if (own != channel.GetChannel())
        return refused(QStringLiteral("belongs to another channel"));
    if (BytesOf(change.content).size() > Limits::valueBytes)
        return refused(QStringLiteral("too large to be shared"));
    const bool compare = change.base != 0;
    const bool ownItem = m_leases.Holds(writer.session, change.path);
    const IWritePolicy::Request request{writer,  change.path, change.operation,
                                        compare, ownItem,     BytesOf(change.content)};
    if (!m_policy->Allows(request))
        return refused(m_policy->WhyNot(request));
    const ItemTable::Item* const item = channel.Items().Find(change.path);
    if (compare && item && item->changedAt > change.base && item->changedBy != writer.session)
        return {0, WishResult::Conflict,
                change.path + QStringLiteral(": changed by somebody else meanwhile")};
    return {0, WishResult::Executed, QString()};
}

IOwnedTree::Executed WishDesk::Execute(const Review& review, IOwnedTree& tree) const
{
    IOwnedTree::Executed executed;
    if (!review.changes.empty())
        m_policy->Execute(review.writer, [&] { executed = tree.Execute(review.writer, review.changes); });
    Failures failures = review.failures;
    for (const Failure& failure : executed.failures) {
        if (failure.index < review.indices.size())
            failures.push_back({review.indices[failure.index], failure.result, failure.reason});
    }
    executed.failures = std::move(failures);
    return executed;
}

void WishDesk::NoteAuthor(OwnerChannel& channel, const Review& review, qint64 nowMs)
{
    const QUuid& session = review.writer.session;
    for (const Change& change : review.changes) {
        ItemTable& items = channel.Items();
        ItemTable::Item* const item = items.Find(items.IdOf(change.path));
        if (!item)
            continue;
        if (change.operation == Operation::Add)
            m_leases.Add(session, change.path, nowMs);
        if (change.content && item->changedAt == channel.GetNewest() &&
            BytesOf(item->content) == *change.content)
            item->changedBy = session;
    }
}

void WishDesk::TellAll(const Review& review, const WishMessage& wish, const Failures& failures,
                       const Tell& tell)
{
    if (!tell)
        return;
    for (std::size_t i = 0; i < wish.changes.size(); ++i) {
        const auto failure = std::find_if(failures.begin(), failures.end(),
                                          [i](const Failure& candidate) { return candidate.index == i; });
        tell(review.writer, wish.changes[i],
             failure != failures.end() ? *failure : Failure{0, WishResult::Executed, QString()});
    }
}

} // namespace distribution
