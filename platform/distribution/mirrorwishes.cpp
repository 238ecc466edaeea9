#include <distribution/mirrorchannel.h>
#include <distribution/texts.h>

#include <algorithm>
#include <utility>

/// \file
/// The program's own changes of a channel, on their way to the owner and back.

namespace distribution {

namespace {

constexpr std::size_t kWishBytes = 256U << 10U; ///< what is gathered in one wish
constexpr std::size_t kQueuedBytes = 16U << 20U;
constexpr int kShownUnits = 200;   ///< of a path that is too long
constexpr qint64 kDoubtMs = 60000; ///< between two looks at the owner's table

/// What a wish may have of a payload: the owner's entry needs room beside what was wished for. Where it does
/// not fit after all the entry becomes a hole, and everybody asks for the state.
std::size_t largestWish(std::size_t maximumPayload)
{
    constexpr std::size_t kRoomBytes = 64U << 10U;
    return maximumPayload - std::min(kRoomBytes, maximumPayload / 4);
}

} // namespace

void MirrorChannel::Wish(Changes changes, qint64 nowMs)
{
    const std::size_t largest = largestWish(m_mirror.m_maximumPayload);
    const std::size_t maximum = std::min(kWishBytes, largest);
    Changes part;
    std::size_t bytes = 0;
    for (Change& change : changes) {
        const std::size_t size = BoundOf(change);
        // What the program has seen is the content of another epoch.
        if (change.compare && m_number == 0) {
            Fail({change}, WishResult::Restarted,
                 change.path + Texts::tr(": the owner's content is not here yet"));
            continue;
        }
        if (static_cast<std::size_t>(change.path.toUtf8().size()) > Limits::kPathBytes) {
            Fail({change}, WishResult::Refused,
                 change.path.left(kShownUnits) + Texts::tr("…: its path is too long"));
            continue;
        }
        if (BytesOf(change.content).size() > Limits::kValueBytes || size > largest) {
            Fail({change}, WishResult::Refused, change.path + Texts::tr(": too large to be shared"));
            continue;
        }
        if (!part.empty() && (bytes + size > maximum || part.size() == Limits::kWishChanges)) {
            addWish(std::exchange(part, {}), nowMs);
            bytes = 0;
        }
        bytes += size;
        part.push_back(std::move(change));
    }
    if (!part.empty())
        addWish(std::move(part), nowMs);
}

void MirrorChannel::addWish(Changes changes, qint64 nowMs)
{
    if (m_own.Wishes().GetBytes() > kQueuedBytes)
        Fail(changes, WishResult::Overflow, Texts::tr("too many changes wait for the owner"));
    else
        m_own.Add(std::move(changes), m_number, nowMs);
}

void MirrorChannel::report(const OpenWish& wish, const Failures& failures)
{
    for (std::size_t i = 0; i < wish.changes.size(); ++i) {
        const Change& change = wish.changes[i];
        const auto failure = std::find_if(failures.begin(), failures.end(), [i](const Failure& candidate) {
            return candidate.index == i || candidate.index == Failure::kEveryChange;
        });
        if (failure != failures.end())
            m_mirror.failed({failure->result, failure->reason, change, truthOf(change.path)});
        else
            m_mirror.tellAuthor(change, WishResult::Executed);
    }
}

Content MirrorChannel::truthOf(const QString& path) const
{
    const ItemTable::Item* const item = m_items.Find(path);
    return item ? item->Whole() : nullptr;
}

void MirrorChannel::reportAll(const OpenWish& wish, WishResult result, const QString& reason)
{
    for (const Change& change : wish.changes)
        m_mirror.failed({result, change.path + QStringLiteral(": ") + reason, change, nullptr});
}

void MirrorChannel::Fail(const Changes& changes, WishResult result, const QString& reason)
{
    for (const Change& change : changes) {
        m_mirror.failed({result, reason, change, nullptr});
        if (m_channel != 0)
            NeedState(m_number);
        else
            showTruth(change.path);
    }
}

void MirrorChannel::GiveUpOld(qint64 nowMs)
{
    const qint64 timeoutMs = m_mirror.m_settings.wishTimeoutMs;
    giveUp([&](const OpenWish& wish) { return nowMs - wish.madeMs >= timeoutMs; },
           [this](const OpenWish& wish) {
               if (wish.sent)
                   reportAll(wish, WishResult::Unknown,
                             Texts::tr("not answered in time, the outcome is unknown"));
               else
                   reportAll(wish, WishResult::TooLate, Texts::tr("could not be sent in time"));
               m_isInDoubt = m_isInDoubt || (wish.sent && m_own.Wishes().WasHeard());
           });
    // An owner that has forgotten this program answers nothing; its table tells.
    if (!m_isInDoubt || nowMs - m_doubtedMs < kDoubtMs)
        return;
    m_isInDoubt = false;
    m_doubtedMs = nowMs;
    NeedState(m_number);
}

/// The owner has forgotten this program, as it does with those that were silent for long when there are very
/// many: for it their numbers begin with 1.
void MirrorChannel::startAnew(Paths& settled)
{
    WishQueue former;
    former.WaitFor(m_own.Wishes(), m_mirror.m_settings.wishTimeoutMs);
    for (const OpenWish& wish : m_own.Exchange(former, settled))
        reportAll(wish, wish.sent ? WishResult::Unknown : WishResult::TooLate,
                  wish.sent ? Texts::tr("the owner has forgotten this program, the outcome is unknown")
                            : Texts::tr("the owner had forgotten this program, it was not sent"));
}

/// What was sent before may have reached the owner on an earlier line.
void MirrorChannel::Refuse(const QString& reason, qint64 upMs)
{
    giveUp([upMs](const OpenWish& wish) { return wish.sent && wish.sentMs >= upMs; },
           [&](const OpenWish& wish) { reportAll(wish, WishResult::Refused, reason); });
}

void MirrorChannel::giveUp(const std::function<bool(const OpenWish&)>& isOver,
                           const std::function<void(const OpenWish&)>& report)
{
    Paths ended;
    while (const auto wish = m_own.GiveUpNext(isOver, ended)) {
        report(*wish);
        if (m_channel != 0)
            NeedState(m_number);
        for (const QString& path : std::exchange(ended, {}))
            showTruth(path);
    }
}

} // namespace distribution
