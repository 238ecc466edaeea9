#include <distribution/mirrorchannel.h>

#include <distribution/texts.h>

#include <startup/tracesource.h>

#include <QHash>

#include <algorithm>
#include <utility>

namespace distribution {

namespace {

constexpr qint64 kRetainedMs = 200;  ///< within which a retained state comes without an ask
constexpr qint64 kFirstAskMs = 1000; ///< pause between asks for the state, doubled
constexpr qint64 kLongestAskMs = 10000;
constexpr qint64 kTooLargeMs = 60000; ///< until a state that was too large is asked for again
constexpr qint64 kGapMs = 100;        ///< for which an entry that came too early waits for those before
constexpr qint64 kTailMs = 1000;      ///< for which the log may be slower than the beat
constexpr qint64 kAskAgainMs = 500;
constexpr int kMaximumReplayAsks = 3;
constexpr std::size_t kMaximumHeldBytes = 16U << 20U;

enum eTracePoint : int { eUnfitEntry = 11, eFallingNumbers = 12, eUnfitState = 13, eTooLarge = 14 };
constexpr Startup::TraceSource kTrace("platform/distribution/mirrorchannel", Startup::eTraceWarning);

/// The last of each value's sets. Of an own wish the program has seen those before: they would only come
/// back.
QHash<QString, const Change*> lastSets(const Changes& changes)
{
    QHash<QString, const Change*> last;
    for (const Change& change : changes) {
        if (change.operation == Operation::Set)
            last.insert(change.path, &change);
    }
    return last;
}

} // namespace

MirrorChannel::MirrorChannel(BranchMirror& mirror, quint16 channel)
    : m_mirror(mirror), m_channel(channel), m_assembler(mirror.m_settings.stateBytes)
{
}

FormerChannel MirrorChannel::Restart(const QString& reason, FormerChannel next)
{
    const quint64 told = std::max(std::exchange(m_toldBefore, next.told), m_number);
    m_number = m_target = m_beatNumber = m_neededNumber = 0;
    m_joined = m_isTooLarge = false;
    m_stateNeeded = true;
    m_askStateMs = m_askPauseMs = 0;
    m_askReplayMs = kNever;
    m_replayAsks = 0;
    dropHeld();
    m_assembler.Clear();
    Paths ended;
    const auto wishes = m_own.Exchange(next.wishes, ended);
    for (const OpenWish& wish : wishes)
        reportAll(wish, wish.sent ? WishResult::Restarted : WishResult::TooLate,
                  wish.sent ? reason + Texts::tr(", the outcome is unknown") : reason);
    for (const QString& path : ended)
        showTruth(path);
    return {std::move(next.wishes), told};
}

void MirrorChannel::RemoveAll()
{
    const auto items = m_items.All();
    m_items.Clear();
    for (auto item = items.rbegin(); item != items.rend(); ++item)
        m_mirror.apply(RemoveChange(item->second.path));
}

void MirrorChannel::Abandon()
{
    Paths ended;
    WishQueue none;
    for (const OpenWish& wish : m_own.Exchange(none, ended)) {
        if (wish.sent)
            reportAll(wish, WishResult::Unknown, Texts::tr("the link has ended, the outcome is unknown"));
        else
            reportAll(wish, WishResult::TooLate, Texts::tr("the link has ended before it was sent"));
    }
}

void MirrorChannel::HandOver()
{
    Paths ended;
    WishQueue none;
    for (const OpenWish& wish : m_own.Exchange(none, ended)) {
        for (const Change& change : wish.changes)
            m_mirror.tellAuthor(change, WishResult::Unknown);
    }
}

void MirrorChannel::OnUp()
{
    m_subscribed = false;
    m_askStateMs = m_askPauseMs = 0;
    m_own.Wishes().SendAnew();
}

void MirrorChannel::OnDown()
{
    m_assembler.Clear();
}

/// The owner is known to have this entry. When it is not here by `askAtMs`, it is asked for.
void MirrorChannel::noteTarget(quint64 number, qint64 askAtMs)
{
    m_target = std::max(m_target, number);
    if (m_number < m_target)
        m_askReplayMs = m_replayAsks > 0 ? m_askReplayMs : std::min(m_askReplayMs, askAtMs);
}

void MirrorChannel::TakeLog(const LogMessage& message, const Bytes& bytes, qint64 nowMs)
{
    const quint64 end = message.first + std::max<quint32>(message.count, 1);
    if (end <= m_number + 1)
        return;
    Bytes& held = m_held[message.first];
    if (held.size() < bytes.size()) {
        m_heldBytes += bytes.size() - held.size();
        held = bytes;
    }
    noteTarget(end - 1, nowMs + kGapMs);
    if (m_heldBytes > kMaximumHeldBytes)
        dropHeld();
    play(nowMs);
}

void MirrorChannel::dropHeld()
{
    m_held.clear();
    m_heldBytes = 0;
}

/// Plays what is held and in its turn.
void MirrorChannel::play(qint64 nowMs)
{
    const quint64 former = m_number;
    while (!m_stateNeeded && !m_held.empty() && m_held.begin()->first <= m_number + 1) {
        const Bytes bytes = std::move(m_held.begin()->second);
        m_held.erase(m_held.begin());
        m_heldBytes -= bytes.size();
        if (!playMessage(*DecodeLog(bytes)))
            m_mirror.m_complaints(kTrace, eUnfitEntry,
                                  QStringLiteral("%1: an entry behind number %2 does not fit what is here")
                                      .arg(m_mirror.m_settings.branch)
                                      .arg(m_number),
                                  nowMs);
    }
    if (m_number >= m_target) {
        m_askReplayMs = kNever;
        m_replayAsks = 0;
    } else if (m_askReplayMs == kNever) {
        m_askReplayMs = nowMs + kGapMs;
    } else if (m_replayAsks > 0 && m_number > former) {
        m_askReplayMs = nowMs + kAskAgainMs; // what was asked for comes, in many messages
        m_replayAsks = 1;
    }
}

/// False when an entry could not be applied; the state is asked for then.
bool MirrorChannel::playMessage(const LogMessage& message)
{
    if (message.count == 0 && message.first > m_number) {
        NeedState(message.first);
        return true;
    }
    values::ByteReader entries = message.entries;
    for (quint64 number = message.first; number < message.first + message.count; ++number) {
        const auto entry = DecodeEntry(entries);
        if (number <= m_number)
            continue;
        const auto changes =
            entry ? Resolve(entry->changes, m_items, m_mirror.m_settings.stateBytes) : std::nullopt;
        if (!changes) {
            NeedState(number);
            return false;
        }
        apply({entry->session, entry->wish, entry->failures, *changes}, number);
        m_number = number;
    }
    return true;
}

/// With the entry of an own wish its shadows end, and what the entry says counts. Where it says nothing of
/// such a value the owner's content is shown: the wish was refused, or it changed nothing there.
void MirrorChannel::apply(const Entry& entry, quint64 number)
{
    m_mirror.takeLocal();
    const bool own = entry.session == m_mirror.m_settings.session;
    Paths settled;
    if (own) {
        for (const OpenWish& wish : m_own.TakeUpTo(entry.wish, settled)) {
            if (wish.number == entry.wish && wish.sent)
                m_mirror.noteRoundTrip(wish.sentMs);
            report(wish, wish.number == entry.wish ? entry.failures : Failures());
        }
        if (m_channel != 0 && !entry.failures.empty())
            NeedState(number);
    }
    for (const Change& change : entry.changes)
        settled.remove(change.operation == Operation::Announce ? QString() : change.path);
    const auto last = own ? lastSets(entry.changes) : QHash<QString, const Change*>();
    for (const Change& change : entry.changes) {
        const bool isOvertaken =
            change.operation == Operation::Set && last.value(change.path, &change) != &change;
        const bool wasTold = change.operation == Operation::Announce && number <= m_toldBefore;
        if (!isOvertaken && !wasTold)
            commit(change, own);
    }
    for (const QString& path : settled)
        showTruth(path);
    if (own && m_channel != 0) {
        for (const auto& [id, item] : m_items.All())
            m_mirror.applyCommands(item.path, Bytes(), m_own.Pending());
    }
}

/// One change of the owner: into the items, and into the tree where no own change stands before it.
void MirrorChannel::commit(const Change& change, bool own)
{
    const auto& path = change.path;
    switch (change.operation) {
    case Operation::Add: {
        const bool plain = !IsCollection(change.type);
        m_items.Insert(change.id, {path, change.type, plain ? change.content : nullptr, 0, {}});
        if (!plain)
            m_mirror.applyState(path, change.type, BytesOf(change.content), ownCommands());
        else if (!isShadowed(path))
            m_mirror.apply(change);
        return;
    }
    case Operation::Remove:
        m_items.Erase(change.id);
        if (!isShadowed(path))
            remove(path);
        return;
    case Operation::Set:
        m_items.SetContent(change.id, change.content);
        break;
    case Operation::Announce:
        if (own && change.byWish)
            return;
        m_mirror.apply(change);
        return;
    case Operation::Order: // the log says what it has become
        return;
    case Operation::Commands:
        if (!m_mirror.applyCommands(path, BytesOf(change.content), m_own.Pending()))
            NeedState(m_number + 1);
        return;
    case Operation::Delta:
        m_items.Apply(change.id, *change.edit);
        // With an own wish the tree may have something else than the owner had before.
        if (!isShadowed(path) && (own || !m_mirror.applySplice(path, change.edit->splice)))
            m_mirror.apply(SetChange(path, m_items.Find(change.id)->Whole()));
        return;
    }
    if (!isShadowed(path))
        m_mirror.apply(change);
}

/// Asked right before the tree is changed: an observer may have written since.
bool MirrorChannel::isShadowed(const QString& path)
{
    m_mirror.takeLocal();
    return m_own.Hide(path);
}

/// The tree is to have what the owner has, unless an own change is on its way again.
void MirrorChannel::showTruth(const QString& path)
{
    if (isShadowed(path))
        return;
    const ItemTable::Item* const item = m_items.Find(path);
    if (item && !IsCollection(item->type))
        m_mirror.apply(AddChange(path, item->type, item->Whole()));
    else if (!item)
        remove(path);
}

/// Unless it has become another channel's, which says nothing of the order in which both are told.
void MirrorChannel::remove(const QString& path)
{
    if (!m_mirror.isElsewhere(path, *this))
        m_mirror.apply(RemoveChange(path));
}

void MirrorChannel::TakeBeat(quint64 number, qint64 nowMs)
{
    // A single beat may be late.
    if (number >= m_beatNumber) {
        m_beatNumber = number;
        m_beatMs = nowMs;
    } else if (nowMs - m_beatMs > 2 * qint64(m_mirror.m_live.beatMs)) {
        m_beatNumber = number;
        m_beatMs = nowMs;
        kTrace(eFallingNumbers,
               QStringLiteral("%1: the owner's numbers fall").arg(m_mirror.m_settings.branch));
        m_number = m_target = m_neededNumber = 0;
        dropHeld();
        NeedState(0);
    }
    noteTarget(number, nowMs + kTailMs);
}

void MirrorChannel::NeedState(quint64 number)
{
    if (!m_stateNeeded || number > m_neededNumber)
        m_askStateMs = m_askPauseMs = 0;
    m_neededNumber = std::max(m_neededNumber, number);
    m_stateNeeded = true;
}

void MirrorChannel::TakeStatePart(const StatePart& part, qint64 nowMs)
{
    if (!m_stateNeeded || part.number < std::max(m_number, m_neededNumber))
        return;
    m_isTooLarge = part.wholeBytes > m_mirror.m_settings.stateBytes;
    if (m_isTooLarge) {
        m_askStateMs = nowMs + kTooLargeMs;
        m_mirror.m_complaints(kTrace, eTooLarge,
                              QStringLiteral("%1: a state of %2 bytes is too large for MaxStateBytes")
                                  .arg(m_mirror.m_settings.branch)
                                  .arg(part.wholeBytes),
                              nowMs);
        return;
    }
    StateAssembler::State state;
    const auto progress = m_assembler.Take(part, state);
    if (progress == StateAssembler::Progress::Broken)
        m_mirror.m_complaints(kTrace, eUnfitState,
                              QStringLiteral("%1: a state that does not fit").arg(m_mirror.m_settings.branch),
                              nowMs);
    if (progress == StateAssembler::Progress::Complete)
        applyState(std::move(state), nowMs);
}

void MirrorChannel::applyState(StateAssembler::State state, qint64 nowMs)
{
    m_mirror.takeLocal();
    m_stateNeeded = false;
    m_neededNumber = 0;
    m_joined = true;
    settleByTable(state.snapshot, state.number);
    m_number = state.number;
    m_target = std::max(m_target, m_number);
    m_askReplayMs = kNever; // what was asked for in vain lies before
    m_replayAsks = 0;
    play(nowMs);
}

/// The owner says how far it has dealt with own wishes and which of them failed.
void MirrorChannel::settleByTable(const Snapshot& snapshot, quint64 stateNumber)
{
    const auto table =
        std::find_if(snapshot.sessions.begin(), snapshot.sessions.end(),
                     [this](const auto& session) { return session.session == m_mirror.m_settings.session; });
    Paths settled;
    if (table != snapshot.sessions.end()) {
        for (const OpenWish& wish : m_own.TakeUpTo(table->wish, settled)) {
            Failures failures;
            for (const auto& [number, failure] : table->failures) {
                if (number == wish.number || (number > wish.number && failure.index == Failure::kEveryChange))
                    failures.push_back(failure);
            }
            report(wish, failures);
        }
    } else if (m_own.Wishes().WasHeard() && stateNumber >= m_toldBefore) {
        // One that is older than what was heard of this owner before knows of nobody yet.
        startAnew(settled);
    }
    replaceItems(snapshot, settled);
}

void MirrorChannel::replaceItems(const Snapshot& snapshot, const Paths& settled)
{
    const ItemTable former = std::exchange(m_items, ItemTable());
    for (const SnapshotItem& item : snapshot.items)
        m_items.Insert(item.id,
                       {item.path, item.type, IsCollection(item.type) ? nullptr : item.content, 0, {}});
    const auto& old = former.All();
    for (auto item = old.rbegin(); item != old.rend(); ++item) {
        const ItemTable::Item* const now = m_items.Find(item->second.path);
        if ((!now || now->type != item->second.type) && !isShadowed(item->second.path))
            remove(item->second.path);
    }
    for (const SnapshotItem& item : snapshot.items) {
        const ItemTable::Item* const before = former.Find(item.path);
        if (IsCollection(item.type))
            m_mirror.applyState(item.path, item.type, BytesOf(item.content), ownCommands());
        else if (!before || before->type != item.type || settled.contains(item.path) ||
                 BytesOf(before->Whole()) != BytesOf(item.content))
            showTruth(item.path);
    }
    for (const QString& path : settled) {
        if (!m_items.Contains(path))
            showTruth(path);
    }
}

std::vector<Content> MirrorChannel::ownCommands()
{
    m_mirror.takeLocal();
    return m_own.Commands();
}

void MirrorChannel::Speak(Output& out, bool maySend, qint64 nowMs)
{
    const auto ask = [&](quint64 from) {
        out.publish.push_back({m_mirror.upTopic(), Encode(AskMessage{m_mirror.m_epoch, m_channel, from}),
                               Delivery::AtLeastOnce, false,
                               static_cast<quint32>(m_mirror.m_settings.wishTimeoutMs)});
    };
    // Decided first: a filter is either subscribed to or unsubscribed from in one output.
    if (!m_stateNeeded && nowMs >= m_askReplayMs && m_replayAsks == kMaximumReplayAsks) {
        m_replayAsks = 0;
        m_askReplayMs = nowMs + kAskAgainMs;
        NeedState(m_number);
    }
    if (m_stateNeeded != m_subscribed) {
        (m_stateNeeded ? out.subscribe : out.unsubscribe)
            .push_back(m_mirror.m_topics.StateFilter(m_mirror.m_settings.branch, m_channel));
        m_subscribed = m_stateNeeded;
        // What is needed after a certain entry was hardly made before.
        m_askStateMs = m_neededNumber > 0 ? nowMs : nowMs + kRetainedMs;
    }
    if (m_stateNeeded && nowMs >= m_askStateMs) {
        m_askPauseMs = std::min(kLongestAskMs, m_askPauseMs == 0 ? kFirstAskMs : 2 * m_askPauseMs);
        m_askStateMs = nowMs + m_askPauseMs;
        ask(0);
    }
    if (!m_stateNeeded && nowMs >= m_askReplayMs) {
        m_askReplayMs = nowMs + kAskAgainMs;
        ++m_replayAsks;
        ask(m_number + 1);
        dropHeld(); // it is among what is said again, and is dealt with in its turn
    }
    if (!maySend || !m_joined)
        return;
    const qint64 timeoutMs = m_mirror.m_settings.wishTimeoutMs;
    for (const DueWish& due : m_own.Wishes().TakeDue(m_mirror.m_epoch, m_channel, timeoutMs, nowMs)) {
        out.publish.push_back(
            {m_mirror.upTopic(), Encode(due.message), Delivery::AtLeastOnce, false, due.expiryMs});
    }
}

qint64 MirrorChannel::NextMs(bool maySpeak, bool maySend) const
{
    qint64 next = m_own.Wishes().NextTimeoutMs(m_mirror.m_settings.wishTimeoutMs);
    if (!maySpeak)
        return next;
    next = std::min(next, m_stateNeeded ? (m_subscribed ? m_askStateMs : 0) : m_askReplayMs);
    return maySend && m_joined ? std::min(next, m_own.Wishes().NextSendMs()) : next;
}

} // namespace distribution
