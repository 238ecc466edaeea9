#pragma once

#include "modeltree.h"

#include <distribution/memorycarrier.h>

#include <algorithm>
#include <memory>

namespace distribution {

/// A process: a tree, which its kind brings, and a carrier. The world calls it when its time has come.
class Peer
{
public:
    explicit Peer(MemoryBroker& broker, std::size_t maximumPayload) : carrier(broker, maximumPayload) {}
    virtual ~Peer() = default;

    virtual void OnTime(qint64 nowMs) = 0;
    /// Whether the program has done something that nobody has taken yet.
    virtual bool HasChanges() const = 0;
    /// When OnTime() is due.
    qint64 NextMs() const { return HasChanges() ? 0 : wakeAtMs; }

    MemoryCarrier carrier;
    Topics topics;
    qint64 wakeAtMs = kNever;
    std::map<TopicKind, int> published;       ///< messages
    std::map<TopicKind, std::size_t> largest; ///< of their payloads
    quint32 expiryMs = 0;                     ///< of the last one

protected:
    void perform(Output out)
    {
        const auto end = out.subscribe.end();
        if (std::find_first_of(out.subscribe.begin(), end, out.unsubscribe.begin(), out.unsubscribe.end()) !=
            end)
            qFatal("one filter is subscribed to and unsubscribed from at once");
        for (const Bytes& filter : out.subscribe)
            carrier.Subscribe(filter);
        for (const Bytes& filter : out.unsubscribe)
            carrier.Unsubscribe(filter);
        for (const StateCut& cut : out.states) {
            for (Publication& part : Pack(cut))
                out.publish.push_back(std::move(part));
        }
        for (Publication& publication : out.publish) {
            const TopicKind kind = topics.Parse(publication.topic)->kind;
            largest[kind] = std::max(largest[kind], publication.payload.size());
            ++published[kind];
            expiryMs = publication.expiryMs;
            carrier.Publish(std::move(publication));
        }
        wakeAtMs = out.wakeAtMs;
    }
};

/// `Tree` is a ModelTree or alike: an IOwnedTree.
template<class Tree>
class OwnerPeerOf final : public Peer
{
public:
    /// `now` is the world's clock. The tree is filled by `fill` before the owner begins.
    template<class Fill>
    OwnerPeerOf(MemoryBroker& broker, const qint64& now, OwnerSettings settings, const Fill& fill,
                std::unique_ptr<IWritePolicy> policy = std::make_unique<OpenPolicy>(),
                std::size_t maximumPayload = kLargestPayload)
        : Peer(broker, maximumPayload)
    {
        fill(tree);
        const QString branch = settings.branch;
        owner = std::make_unique<BranchOwner>(std::move(settings), topics, tree, std::move(policy),
                                              tree.Initial());
        carrier.onUp = [this, &now](std::size_t payload) { perform(owner->OnUp(payload, now)); };
        carrier.onDown = [this, &now](DownReason reason, const QString&) {
            perform(owner->OnDown(reason, now));
        };
        carrier.onMessage = [this, &now](const Bytes& topic, const Bytes& payload) {
            perform(owner->OnMessage(*topics.Parse(topic), payload, now));
        };
        carrier.Open(owner->GetWill(), OwnerClientId(branch));
    }
    void OnTime(qint64 nowMs) override { perform(owner->OnTime(nowMs)); }
    bool HasChanges() const override { return tree.HasChanges(); }
    /// The program changes something.
    bool Do(const Change& change) { return tree.Do(change); }
    void Withdraw(qint64 nowMs)
    {
        perform(owner->Withdraw(nowMs));
        carrier.Close();
    }

    Tree tree;
    std::unique_ptr<BranchOwner> owner;
};
using OwnerPeer = OwnerPeerOf<ModelTree>;

/// `Tree` is a ModelTree or alike: an IMirroredTree.
template<class Tree>
class MirrorPeerOf final : public Peer
{
public:
    MirrorPeerOf(MemoryBroker& broker, const qint64& now, MirrorSettings settings,
                 std::size_t maximumPayload = kLargestPayload)
        : Peer(broker, maximumPayload)
    {
        const Bytes presence = topics.Presence(settings.user, settings.session);
        const auto filters = topics.MirrorFilters(settings.branch, settings.collections);
        mirror = std::make_unique<BranchMirror>(std::move(settings), topics, tree);
        carrier.onUp = [this, presence, filters, &now](std::size_t payload) {
            for (const Bytes& filter : filters)
                carrier.Subscribe(filter);
            carrier.Publish({presence, Encode(PresenceMessage{}), Delivery::AtLeastOnce, true, 0});
            perform(mirror->OnUp(payload, now));
        };
        carrier.onDown = [this, &now](DownReason, const QString&) { perform(mirror->OnDown(now)); };
        carrier.onMessage = [this, &now](const Bytes& topic, const Bytes& payload) {
            perform(mirror->OnMessage(*topics.Parse(topic), payload, now));
        };
        carrier.Open({presence, Bytes()}, Bytes());
    }
    void OnTime(qint64 nowMs) override { perform(mirror->OnTime(nowMs)); }
    bool HasChanges() const override { return tree.HasChanges(); }
    /// The program changes something.
    bool Do(const Change& change) { return tree.Do(change); }

    Tree tree;
    std::unique_ptr<BranchMirror> mirror;
};
using MirrorPeer = MirrorPeerOf<ModelTree>;

/// Of an owner or a mirror, by channel.
template<class Side>
std::map<quint16, quint64> NumbersOf(const Side& side)
{
    std::map<quint16, quint64> numbers;
    for (const ChannelNumber& number : side.GetNumbers())
        numbers[number.channel] = number.number;
    return numbers;
}

/// A broker, a clock and the peers that live by them.
class World
{
public:
    explicit World(quint64 seed = 1) : broker(seed) {}

    void Add(Peer* peer) { m_peers.push_back(peer); }
    void Remove(Peer* peer) { m_peers.erase(std::find(m_peers.begin(), m_peers.end(), peer)); }
    /// Lets everything happen that happens up to that time.
    void RunTo(qint64 endMs)
    {
        for (;;) {
            qint64 next = broker.NextEventMs();
            for (const Peer* peer : m_peers)
                next = std::min(next, peer->NextMs());
            if (next > endMs)
                break;
            now = std::max(now, next);
            broker.Advance(now);
            for (Peer* peer : m_peers) {
                if (peer->NextMs() <= now)
                    peer->OnTime(now);
            }
        }
        now = endMs;
        broker.Advance(now);
    }
    void Run(qint64 ms) { RunTo(now + ms); }

    MemoryBroker broker;
    qint64 now = 0;

private:
    std::vector<Peer*> m_peers;
};

} // namespace distribution
