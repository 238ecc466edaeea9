#pragma once

#include "modelworld.h"

#include <support/test.h>

Q_DECLARE_METATYPE(distribution::Bytes)

namespace distribution {

inline const QString root = QStringLiteral("/r");
inline const QString sentinel = QStringLiteral("/r/state");
inline const QString first = QStringLiteral("/r/a");
inline const QString second = QStringLiteral("/r/b");
inline const QString map = QStringLiteral("/r/map");

inline QUuid idOf(uint number)
{
    return QUuid(number, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10);
}

inline Change set(const QString& path, const Bytes& content, bool compare = false)
{
    return SetChange(path, MakeContent(content), compare);
}

inline Change add(const QString& path, const Bytes& content)
{
    return AddChange(path, ModelTree::text, MakeContent(content));
}

/// Lets everybody but one write, and on the shelf only what is one's own.
class ModelPolicy final : public IWritePolicy
{
public:
    bool Allows(const Request& request) const override
    {
        const bool isShelf = request.path.startsWith(root + QStringLiteral("/shelf/"));
        return request.writer.user != "guest" &&
               (!isShelf || request.ownItem || request.operation == Operation::Add);
    }
};

/// An owner and two mirrors of its branch.
struct Installation
{
    explicit Installation(std::size_t maximumPayload = 1U << 20U, qint64 delayMs = 0)
        : payload(maximumPayload)
    {
        world.broker.SetWeather({delayMs, 0, 0, false});
        StartOwner(1);
        for (uint i = 0; i < 2; ++i)
            StartMirror(i == 0 ? "operator" : "guest");
        world.Run(3000);
    }
    void StartOwner(uint epoch)
    {
        OwnerSettings settings;
        settings.epoch = idOf(epoch);
        settings.branch = QStringLiteral("S1");
        settings.host = QStringLiteral("host");
        settings.roots = QStringList{root};
        settings.sentinel = sentinel;
        settings.logBytes = logBytes;
        owner = std::make_unique<OwnerPeer>(
            world.broker, world.now, settings,
            [this](ModelTree& tree) {
                tree.items[first].content = "a";
                tree.items[second].content = "b";
                tree.items[sentinel].content = "ready";
                tree.items[map].type = ModelTree::collection;
                if (fill)
                    fill(tree);
            },
            std::make_unique<ModelPolicy>(), payload);
        world.Add(owner.get());
    }
    MirrorPeer& StartMirror(const Bytes& user)
    {
        MirrorSettings settings;
        settings.branch = QStringLiteral("S1");
        settings.user = user;
        settings.session = idOf(100 + uint(mirrors.size()));
        mirrors.push_back(std::make_unique<MirrorPeer>(world.broker, world.now, settings, payload));
        world.Add(mirrors.back().get());
        return *mirrors.back();
    }
    /// Without will: as when the host loses power. The broker notices it late.
    void KillOwner(bool noticed)
    {
        world.Remove(owner.get());
        if (!noticed)
            world.broker.Cut(owner->carrier, 1000000, 1000000);
        owner.reset();
    }
    /// Publishes what no owner has said.
    void Intrude(const Bytes& topic, const Bytes& message, bool retained = false)
    {
        if (!intruder) {
            intruder = std::make_unique<MemoryCarrier>(world.broker);
            intruder->Open({}, Bytes());
            world.Run(50);
        }
        intruder->Publish({topic, message, Delivery::AtLeastOnce, retained, 0});
    }
    MirrorPeer& A() { return *mirrors[0]; }
    MirrorPeer& B() { return *mirrors[1]; }
    BranchState StateOfA() { return A().mirror->GetState(); }
    bool Same() { return A().tree.Dump() == owner->tree.Dump() && B().tree.Dump() == owner->tree.Dump(); }

    World world;
    std::size_t payload;
    std::size_t logBytes = Defaults::kLogBytes;
    std::function<void(ModelTree&)> fill;
    std::unique_ptr<OwnerPeer> owner;
    std::vector<std::unique_ptr<MirrorPeer>> mirrors;
    std::unique_ptr<MemoryCarrier> intruder;
};

/// What has been heard since, one word each.
inline Bytes heardSince(const ModelTree& tree, std::size_t start)
{
    Bytes words;
    for (std::size_t i = start; i < tree.heard.size(); ++i) {
        const Change& change = tree.heard[i];
        words += (words.empty() ? "" : " ") + change.path.mid(3).toStdString();
        if (change.operation == Operation::Announce)
            words += '!' + std::to_string(change.code);
        else
            words += change.operation == Operation::Remove ? "-" : '=' + BytesOf(change.content);
    }
    return words;
}

} // namespace distribution
