#include <distribution/wishdesk.h>

#include <startup/tracesource.h>

#include <algorithm>
#include <utility>

namespace distribution {

namespace {

/// Of present ones: each costs memory.
constexpr std::size_t kMostPresent = 10000;
/// After a loss nobody is present until he has said so again.
constexpr qint64 kSilenceMs = 20000;

enum eTracePoint : int { eForeignSession = 1, eTooManyWriters = 2, eMalformedPresence = 3 };
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
    if (!payload.empty() && m_present.size() >= kMostPresent &&
        m_present.count({topic.session, topic.user}) == 0) {
        m_complaints(kTrace, eTooManyWriters, QStringLiteral("too many clients"), nowMs);
        return;
    }
    const auto presence = payload.empty() ? std::nullopt : DecodePresence(payload);
    if (!payload.empty() && !presence) {
        m_complaints(kTrace, eMalformedPresence,
                     QStringLiteral("user %1 says with malformed bytes that it is there")
                         .arg(QString::fromStdString(topic.user)),
                     nowMs);
        return;
    }
    m_leases.SetPresent(topic.session, presence.has_value(), nowMs);
    if (presence)
        m_present[{topic.session, topic.user}] = *presence;
    else
        m_present.erase({topic.session, topic.user});
}

/// A session belongs to the user who has made wishes under it, and before the first one, as after a restart
/// of the owner, to who says that it is there.
bool WishDesk::isForeign(const Topic& topic) const
{
    const auto known = m_known.find(topic.session);
    if (known != m_known.end())
        return known->second.user != topic.user;
    const auto present = m_present.lower_bound({topic.session, Bytes()});
    return present != m_present.end() && present->first.first == topic.session &&
           m_present.count({topic.session, topic.user}) == 0;
}

bool WishDesk::isOwnSession(const Topic& topic, qint64 nowMs)
{
    if (!isForeign(topic))
        return true;
    m_complaints(
        kTrace, eForeignSession,
        QStringLiteral("user %1 speaks under the session of another").arg(QString::fromStdString(topic.user)),
        nowMs);
    return false;
}

bool WishDesk::Admits(const OwnerChannel& channel, const Topic& topic, quint64 wish, qint64 nowMs)
{
    const SessionNumber* const session = channel.FindSession(topic.session);
    if (wish != (session ? session->wish : 0) + 1 || !isOwnSession(topic, nowMs))
        return false;
    if (!session && channel.CountSessions() >= Limits::kSessions && !makeRoom(channel, nowMs))
        return false;
    m_known[topic.session] = {topic.user, nowMs};
    return true;
}

bool WishDesk::makeRoom(const OwnerChannel& channel, qint64 nowMs)
{
    auto oldest = m_known.end();
    for (auto known = m_known.begin(); known != m_known.end(); ++known) {
        const bool mayGo = channel.FindSession(known->first) && !m_leases.IsPresent(known->first) &&
                           nowMs - known->second.usedMs >= kSilenceMs;
        if (mayGo && (oldest == m_known.end() || known->second.usedMs < oldest->second.usedMs))
            oldest = known;
    }
    if (oldest == m_known.end()) {
        m_complaints(kTrace, eTooManyWriters, QStringLiteral("too many writers"), nowMs);
        return false;
    }
    for (const auto& other : m_channels)
        other.second->ForgetSession(oldest->first);
    m_known.erase(oldest);
    return true;
}

WishDesk::Review WishDesk::Look(const Topic& topic, const OwnerChannel& channel, const WishMessage& wish)
{
    m_adding.clear();
    Review review;
    review.writer = {topic.user, topic.session, {}, {}};
    const auto present = m_present.find({topic.session, topic.user});
    if (present != m_present.end()) {
        review.writer.host = present->second.host;
        review.writer.program = present->second.program;
    }
    quint32 index = 0;
    for (const Change& change : wish.changes) {
        Failure objection = objectionTo(review.writer, channel, change);
        if (objection.result == WishResult::Executed) {
            if (change.operation == Operation::Add)
                m_adding.insert(change.path);
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
    if (!IsAtOrBelow(change.path, m_roots))
        return refused(QStringLiteral("not part of the branch"));
    if (change.operation == Operation::Add && IsCollection(change.type))
        return refused(QStringLiteral("collections are made by their owner"));
    const auto collection = m_collections.find(change.path);
    const quint16 own = collection == m_collections.end() ? quint16(0) : collection->second;
    if (own != channel.GetChannel())
        return refused(QStringLiteral("belongs to another channel"));
    if (BytesOf(change.content).size() > Limits::kValueBytes)
        return refused(QStringLiteral("too large to be shared"));
    const ItemTable::Item* const item = channel.Items().Find(change.path);
    // To add what is there is to set it.
    const bool isSet = change.operation == Operation::Add && change.type != 0 && item;
    const bool compare = change.base != 0;
    const IWritePolicy::Request request{writer,
                                        change.path,
                                        isSet ? Operation::Set : change.operation,
                                        compare,
                                        isOwnItem(writer, change),
                                        BytesOf(change.content)};
    if (!m_policy->Allows(request))
        return refused(m_policy->WhyNot(request));
    if (change.operation == Operation::Add && !item && channel.Items().Size() >= Limits::kItems)
        return refused(QStringLiteral("there are too many items already"));
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

/// Added by the session, in this wish or earlier. A program that was started anew finds the items of its
/// former life, whose time is not up yet.
bool WishDesk::isOwnItem(const Writer& writer, const Change& change) const
{
    if (m_adding.contains(change.path) || m_leases.Holds(writer.session, change.path))
        return true;
    const auto former = m_known.find(m_leases.HolderOf(change.path));
    return change.operation == Operation::Add && former != m_known.end() &&
           former->second.user == writer.user;
}

void WishDesk::NoteAuthor(OwnerChannel& channel, const Review& review, const QSet<QString>& added,
                          qint64 nowMs)
{
    const QUuid& session = review.writer.session;
    for (const Change& change : review.changes) {
        ItemTable& items = channel.Items();
        ItemTable::Item* const item = items.Find(items.IdOf(change.path));
        if (!item)
            continue;
        const bool isLeased = !m_leases.HolderOf(change.path).isNull();
        if (change.operation == Operation::Add &&
            (added.contains(change.path) || (isLeased && isOwnItem(review.writer, change))))
            m_leases.Add(session, change.path, nowMs);
        if (change.content && item->changedAt == channel.GetNewest() && item->IsEqual(*change.content))
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
