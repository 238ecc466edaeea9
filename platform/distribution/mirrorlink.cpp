#include <distribution/mirrorlink.h>

#include <distribution/branchpublisher.h>
#include <distribution/branchtap.h>
#include <distribution/treecontent.h>

#include <startup/clock.h>
#include <startup/onelinetext.h>
#include <startup/tracesource.h>

#include <algorithm>
#include <iterator>
#include <utility>

namespace distribution {

namespace {

enum eTracePoint : int { eRefused = 1, ePlaceTaken = 2, eTooMany = 3, eNameUnfit = 4 };
constexpr Startup::TraceSource kTrace("platform/distribution/mirrorlink", Startup::eTraceError);

/// Of branches that are heard of: each costs memory, and their names come from outside.
constexpr std::size_t kMostBranches = 10000;
/// Of a name that no branch can have.
constexpr int kShownLetters = 64;

} // namespace

struct MirrorLink::Branch
{
    Branch(MirrorLink& link, const QString& name, const MirrorSettings& settings)
        : tree(link.m_collector, eventsFor(link, name))
        , mirror(settings, link.m_topics, tree)
        , driver(*link.m_carrier, link.m_packer, [this](qint64 nowMs) { return mirror.OnTime(nowMs); })
    {
    }

    MirrorEvents eventsFor(MirrorLink& link, const QString& name)
    {
        MirrorEvents events;
        events.treeChanged = [this] { driver.Wake(); };
        events.stateChanged = [&link, name](BranchState state) { link.m_events.branchChanged(name, state); };
        events.wishFailed = link.m_events.wishFailed;
        return events;
    }
    void onMessage(const Topic& topic, const Bytes& payload, qint64 receivedMs)
    {
        received.Count(payload);
        if (isRead())
            tap->OnReceived(topic, payload, receivedMs);
        driver.DoMessage(
            [this](const Topic& parsed, const Bytes& bytes, qint64 nowMs) {
                Output output = mirror.OnMessage(parsed, bytes, nowMs);
                tree.SetRoots(mirror.GetRoots());
                return output;
            },
            topic, payload);
    }
    void onUp(std::size_t maximumPayload)
    {
        driver.Do([this, maximumPayload](qint64 nowMs) { return mirror.OnUp(maximumPayload, nowMs); });
    }

    void read(const QUuid& session, QObject* context, BranchReader reader)
    {
        if (!tap)
            tap = std::make_unique<BranchTap>(mirror, session);
        tap->Add(context, std::move(reader));
        driver.Watch([this](const Bytes& payload, qint64 nowMs) {
            if (tap)
                tap->OnSent(payload, nowMs);
        });
    }
    /// Nothing is done for readers who have gone.
    bool isRead()
    {
        if (tap && tap->IsIdle()) {
            driver.Watch({});
            tap.reset();
        }
        return tap != nullptr;
    }

    MirroredTree tree;
    BranchMirror mirror;
    BranchDriver driver;
    Traffic received;
    std::unique_ptr<BranchTap> tap; ///< null while nobody reads along
};

MirrorLink::MirrorLink(ChangeCollector& collector, StatePacker& packer, std::unique_ptr<ICarrier> carrier,
                       const LinkOptions& options, MirrorLinkEvents events)
    : m_collector(collector)
    , m_packer(packer)
    , m_options(options)
    , m_events(std::move(events))
    , m_topics(options.mqtt.address.prefix.toStdString())
    , m_carrier(std::move(carrier))
{
    m_carrier->onUp = [this](std::size_t maximumPayload) { onUp(maximumPayload); };
    m_carrier->onDown = [this](DownReason reason, const QString& text) { onDown(reason, text); };
    m_carrier->onMessage = [this](const Bytes& topic, const Bytes& payload) { onMessage(topic, payload); };
    m_carrier->onRefused = [this](const Bytes& topic, const QString& text) { onRefused(topic, text); };
    m_deleteFormer.setSingleShot(true);
    m_deleteFormer.setInterval(100);
    QObject::connect(&m_deleteFormer, &QTimer::timeout, [this] { deleteFormer(); });
    m_carrier->Open({m_topics.Presence(m_options.User(), m_options.session), {}}, {});
}

MirrorLink::~MirrorLink()
{
    // Who is told of a change that has failed may ask for branches.
    const auto branches = std::exchange(m_branches, {});
    for (const auto& [name, branch] : branches) {
        // What was changed in this turn of the event loop has not been sent yet.
        BranchMirror& mirror = branch->mirror;
        if (m_isUp && !branch->driver.IsBusy())
            branch->driver.Do([&mirror](qint64 nowMs) { return mirror.OnTime(nowMs); });
        branch->driver.Stop();
        mirror.Abandon();
    }
    if (m_isUp)
        m_carrier->Publish(
            {m_topics.Presence(m_options.User(), m_options.session), {}, Delivery::AtLeastOnce, true, 0});
    m_carrier->Close();
}

void MirrorLink::Exclude(const PublishedBranch& own)
{
    m_excluded.append(own.name);
    m_ended.erase(own.name);
    for (const QString& root : own.roots)
        m_holders[root] = own.name;
    const auto found = m_branches.find(own.name);
    if (found == m_branches.end())
        return;
    m_former.push_back(std::move(found->second));
    m_branches.erase(found);
    m_deleteFormer.start();
    Branch& former = *m_former.back();
    former.driver.Stop();
    former.mirror.HandOver();
    former.tree.SetRoots({});
}

/// Later, for who publishes instead of a lost owner does so when that one's mirror says that it is lost.
void MirrorLink::deleteFormer()
{
    m_former.erase(std::remove_if(m_former.begin(), m_former.end(),
                                  [](const auto& branch) { return !branch->driver.IsBusy(); }),
                   m_former.end());
    if (!m_former.empty())
        m_deleteFormer.start();
}

void MirrorLink::Readmit(const PublishedBranch& own, const QUuid& ended)
{
    m_excluded.removeAll(own.name);
    m_ended[own.name] = ended;
    release(own.name);
    if (!m_isUp)
        return;
    // Another one's claim may stand already, and is told only to those who ask.
    m_carrier->Subscribe(m_topics.Live(own.name));
    askForRefused();
}

void MirrorLink::Mirror(const QStringList& branches)
{
    m_wanted = branches;
    if (m_isUp)
        subscribe();
}

const BranchMirror* MirrorLink::Find(const QString& name) const
{
    const auto found = m_branches.find(name);
    return found == m_branches.end() ? nullptr : &found->second->mirror;
}

bool MirrorLink::Read(const QString& name, QObject* context, BranchReader reader)
{
    const auto found = m_branches.find(name);
    if (found == m_branches.end())
        return false;
    found->second->read(m_options.session, context, std::move(reader));
    return true;
}

Traffic MirrorLink::GetSent(const QString& name) const
{
    const auto found = m_branches.find(name);
    return found == m_branches.end() ? Traffic() : found->second->driver.GetSent();
}

Traffic MirrorLink::GetReceived(const QString& name) const
{
    const auto found = m_branches.find(name);
    return found == m_branches.end() ? Traffic() : found->second->received;
}

QStringList MirrorLink::GetBranches() const
{
    QStringList names;
    for (const auto& [name, branch] : m_branches)
        names.append(name);
    return names;
}

qint64 MirrorLink::GetNowMs() const
{
    return m_carrier->GetClock().now();
}

std::vector<TimedMessage> MirrorLink::GetJoin() const
{
    std::vector<TimedMessage> all;
    const auto contentOf = [this](const QString& path) {
        values::TreeItem* const item = m_collector.GetTree().Find(path);
        return item && !item->IsDeleted() ? ContentOf(*item) : nullptr;
    };
    for (const auto& [name, branch] : m_branches) {
        auto messages = branch->mirror.GetJoin(contentOf);
        std::move(messages.begin(), messages.end(), std::back_inserter(all));
    }
    std::stable_sort(all.begin(), all.end(),
                     [](const auto& one, const auto& other) { return one.timeMs < other.timeMs; });
    return all;
}

bool MirrorLink::IsSettled() const
{
    return std::all_of(m_branches.begin(), m_branches.end(),
                       [](const auto& branch) { return branch.second->mirror.IsSettled(); });
}

/// Null for one that is not to be mirrored.
MirrorLink::Branch* MirrorLink::branch(const QString& name)
{
    const auto found = m_branches.find(name);
    if (found != m_branches.end())
        return found->second.get();
    const bool isWanted = m_wanted.contains(QStringLiteral("*")) || m_wanted.contains(name);
    if (!isWanted || m_excluded.contains(name))
        return nullptr;
    const QString objection = WhyNoBranchName(name);
    if (!objection.isEmpty()) {
        m_complaints(kTrace, eNameUnfit,
                     QStringLiteral("Branch \"%1\" is not mirrored: %2")
                         .arg(Startup::oneLineText(name.left(kShownLetters)), objection),
                     GetNowMs());
        return nullptr;
    }
    if (m_branches.size() >= kMostBranches) {
        m_complaints(kTrace, eTooMany,
                     QStringLiteral("Branch \"%1\" is not mirrored: there are too many").arg(name),
                     GetNowMs());
        return nullptr;
    }
    MirrorSettings settings;
    settings.branch = name;
    settings.user = m_options.User();
    settings.session = m_options.session;
    settings.collections = m_options.collections;
    settings.graceMs = m_options.graceMs;
    settings.deathGraceMs = m_options.deathGraceMs;
    settings.wishTimeoutMs = m_options.wishTimeoutMs;
    settings.stateBytes = m_options.maxStateBytes;
    settings.refusal = m_options.refusal;
    Branch& made = *m_branches.emplace(name, std::make_unique<Branch>(*this, name, settings)).first->second;
    if (m_isUp)
        made.onUp(m_maximumPayload);
    return &made;
}

void MirrorLink::subscribe()
{
    const bool all = m_wanted.contains(QStringLiteral("*"));
    for (const QString& name : all ? QStringList(QString()) : m_wanted) {
        for (const Bytes& filter : m_topics.MirrorFilters(name, m_options.collections))
            m_carrier->Subscribe(filter);
    }
}

void MirrorLink::onUp(std::size_t maximumPayload)
{
    m_isUp = true;
    m_isRefused = false;
    m_maximumPayload = maximumPayload;
    PresenceMessage presence;
    presence.host = m_options.host;
    presence.program = m_options.program;
    m_carrier->Publish({m_topics.Presence(m_options.User(), m_options.session), Encode(presence),
                        Delivery::AtLeastOnce, true, 0});
    m_forbidden.clear();
    subscribe();
    const bool isThere = forEachBranch([maximumPayload](Branch& branch) { branch.onUp(maximumPayload); });
    if (isThere)
        m_events.linkChanged(true, QString());
}

void MirrorLink::onDown(DownReason reason, const QString& text)
{
    m_isUp = false;
    m_isRefused = reason == DownReason::Refused;
    const bool isThere = forEachBranch([](Branch& branch) {
        BranchMirror* const mirror = &branch.mirror;
        branch.driver.Do([mirror](qint64 nowMs) { return mirror->OnDown(nowMs); });
    });
    if (isThere)
        m_events.linkChanged(false, text);
}

/// Who is told of one branch may publish another or end the link; false when it has ended.
bool MirrorLink::forEachBranch(const std::function<void(Branch& branch)>& call)
{
    const values::Weak<MirrorLink> self(this);
    for (const QString& name : GetBranches()) {
        const auto found = m_branches.find(name);
        if (found != m_branches.end())
            call(*found->second);
        if (!self)
            return false;
    }
    return true;
}

void MirrorLink::onMessage(const Bytes& bytes, const Bytes& payload)
{
    const auto topic = m_topics.Parse(bytes);
    if (!topic || topic->kind == TopicKind::Presence || !hasBegunAnew(*topic, payload))
        return;
    Branch* const to = branch(topic->branch);
    if (to && topic->kind == TopicKind::Live && !admit(topic->branch, payload))
        return;
    if (to && m_refused.count(topic->branch) == 0)
        to->onMessage(*topic, payload, GetNowMs());
}

/// Only the claim of another owner ends the silence around a branch that this process has given up.
bool MirrorLink::hasBegunAnew(const Topic& topic, const Bytes& payload)
{
    const auto ended = m_ended.find(topic.branch);
    if (ended == m_ended.end())
        return true;
    const auto said = topic.kind == TopicKind::Live && !payload.empty() ? DecodeLive(payload) : std::nullopt;
    if (!said || said->epoch == ended->second)
        return false;
    m_ended.erase(ended);
    return true;
}

/// Two branches in one place would overwrite each other without end. The first one keeps it until it leaves
/// by itself; of the other nothing is taken.
bool MirrorLink::admit(const QString& name, const Bytes& live)
{
    const auto said = live.empty() ? std::nullopt : DecodeLive(live);
    if (!said || (said->roots.isEmpty() && said->state != LiveState::Withdrawn))
        return true;
    const QStringList roots = said->state == LiveState::Withdrawn ? QStringList() : said->roots;
    for (const QString& root : roots) {
        const QString holder = holderOf(root, name);
        if (holder.isEmpty())
            continue;
        if (m_refused.insert(name).second)
            kTrace(ePlaceTaken,
                   QStringLiteral("Branch \"%1\" is not mirrored: its place %2 belongs to \"%3\"")
                       .arg(name, root, holder));
        return false;
    }
    release(name);
    for (const QString& root : roots)
        m_holders[root] = name;
    m_refused.erase(name);
    if (roots.isEmpty())
        askForRefused();
    return true;
}

void MirrorLink::release(const QString& name)
{
    for (auto held = m_holders.begin(); held != m_holders.end();)
        held = held->second == name ? m_holders.erase(held) : std::next(held);
}

/// A place that has become free may be theirs now; the broker keeps what they claim.
void MirrorLink::askForRefused()
{
    for (const QString& refused : m_refused)
        m_carrier->Subscribe(m_topics.Live(refused));
}

/// Of the place itself, of one around it or of one in it; empty for none but `but`.
QString MirrorLink::holderOf(const QString& root, const QString& but) const
{
    for (QString above = root;; above.truncate(std::max(1, above.lastIndexOf(QLatin1Char('/'))))) {
        const auto held = m_holders.find(above);
        if (held != m_holders.end() && held->second != but)
            return held->second;
        if (above.size() <= 1)
            break;
    }
    const QString below = root + QLatin1Char('/');
    for (auto held = m_holders.lower_bound(below); held != m_holders.end() && held->first.startsWith(below);
         ++held) {
        if (held->second != but)
            return held->second;
    }
    return QString();
}

void MirrorLink::onRefused(const Bytes& bytes, const QString& text)
{
    const QString line =
        QStringLiteral("the broker refuses \"%1\" to the user \"%2\": %3")
            .arg(QString::fromStdString(bytes), QString::fromStdString(m_options.User()), text);
    // Who may not read all branches sees none: whoever waits for them has to know why.
    const auto filters = m_topics.MirrorFilters(QString(), m_options.collections);
    if (std::find(filters.begin(), filters.end(), bytes) != filters.end()) {
        m_isRefused = true;
        m_events.linkChanged(m_isUp, line);
        return;
    }
    // Once on each line: wishes are sent again and again.
    if (m_forbidden.insert(bytes).second)
        kTrace(eRefused, line);
    const auto topic = m_topics.Parse(bytes);
    if (topic && topic->kind == TopicKind::Up) {
        Branch* const closed = branch(topic->branch);
        if (closed)
            closed->driver.Do([closed, line](qint64 nowMs) { return closed->mirror.OnRefused(line, nowMs); });
        return;
    }
    QStringList names = m_wanted + GetBranches();
    names.removeAll(QStringLiteral("*"));
    names.removeDuplicates();
    for (const QString& name : qAsConst(names)) {
        Branch* const forbidden = m_topics.IsReadOf(name, bytes) ? branch(name) : nullptr;
        if (forbidden)
            forbidden->driver.Do([forbidden](qint64 nowMs) { return forbidden->mirror.OnForbidden(nowMs); });
    }
}

} // namespace distribution
