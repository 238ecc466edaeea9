#include <distribution/mirroredtree.h>

#include <distribution/guard.h>
#include <distribution/treecontent.h>

#include <startup/tracesource.h>

#include <values/value.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>

namespace distribution {

namespace {

using values::ByteReader;
using values::IWishAuthor;
using values::ValueBase;
using values::Weak;
using values::WishFailure;

enum eTracePoint : int { eUnusable = 1 };
constexpr Startup::TraceSource kTrace("platform/distribution/mirroredtree", Startup::eTraceError);

WishFailure failureOf(WishResult result)
{
    switch (result) {
    case WishResult::Conflict:
        return WishFailure::Conflict;
    case WishResult::Unknown:
        return WishFailure::TooOld;
    case WishResult::Restarted:
        return WishFailure::EpochEnded;
    default:
        return WishFailure::Refused;
    }
}

/// Of a string value's content.
QString textOf(const Content& content)
{
    const Bytes& bytes = BytesOf(content);
    ByteReader in(bytes.data(), bytes.size());
    QString text;
    values::ReadUtf8(in, text);
    return text;
}

/// For who waits for the answer to a request; empty where nobody knows what became of it.
QString errorFor(const FailedWish& wish)
{
    const bool isUnknown = wish.result == WishResult::Unknown || wish.result == WishResult::Restarted;
    return isUnknown ? QString() : QStringLiteral("The request was not made: %1").arg(wish.reason);
}

/// The requests that the pieces hold; the names belong to the pieces.
std::unordered_set<std::string_view> requestsOf(const std::vector<CommandPiece>& pieces)
{
    std::unordered_set<std::string_view> requests;
    for (const CommandPiece& piece : pieces)
        requests.insert(piece.scope.requests.begin(), piece.scope.requests.end());
    return requests;
}

} // namespace

MirroredTree::MirroredTree(ChangeCollector& collector, MirrorEvents events)
    : m_collector(collector)
    , m_events(std::move(events))
    , m_region(collector.MakeRegion(m_events.treeChanged))
{
    m_region->MakeWishes();
}

void MirroredTree::Apply(const Change& change)
{
    Guarded([&] {
        values::Tree& tree = m_collector.GetTree();
        ValueBase* const value = livingValue(change.path);
        const Bytes& content = BytesOf(change.content);
        ByteReader in(content.data(), content.size());
        switch (change.operation) {
        case Operation::Add:
            add(change);
            break;
        case Operation::Remove:
            m_passedOver.erase(change.path);
            tree.Remove(change.path, m_collector.GetLink());
            break;
        case Operation::Set:
            if (value && !value->ReadContent(in, m_collector.GetLink()))
                traceUnusable(change.path, QStringLiteral("the content does not fit"));
            break;
        case Operation::Announce:
            if (value)
                value->Announce(static_cast<TChangeCode>(change.code), m_collector.GetLink());
            break;
        case Operation::Delta:
        case Operation::Commands:
        case Operation::Order:
            break;
        }
    });
}

bool MirroredTree::ApplySplice(const QString& path, const values::TextSplice& splice)
{
    ValueBase* const value = livingValue(path);
    bool fits = true; // also when an observer throws
    Guarded([&] { fits = !value || value->SpliceContent(splice, m_collector.GetLink()); });
    return fits;
}

ValueBase* MirroredTree::livingValue(const QString& path) const
{
    auto* const value = m_collector.GetTree().FindAs<ValueBase>(path);
    return value && !value->IsDeleted() ? value : nullptr;
}

void MirroredTree::add(const Change& change)
{
    if (change.type == 0)
        m_collector.GetTree().EnsureNode(change.path, m_collector.GetLink());
    else
        addValue(change.path, change.type, BytesOf(change.content));
}

/// What stands in its place and is of another type makes room.
void MirroredTree::addValue(const QString& path, qint32 type, const Bytes& content)
{
    values::Tree& tree = m_collector.GetTree();
    values::TreeItem* const there = tree.Find(path);
    const bool lives = there && !there->IsDeleted();
    if (lives && TypeOf(*there) == type && !IsCollection(type)) {
        ByteReader in(content.data(), content.size());
        if (!livingValue(path)->ReadContent(in, m_collector.GetLink()))
            traceUnusable(path, QStringLiteral("the content does not fit"));
        return;
    }
    bool isUnknown = false;
    auto value = MakeValue(type, content, isUnknown);
    if (!value) {
        if (!isUnknown)
            traceUnusable(path, QStringLiteral("the content does not fit"));
        else if (!m_unknownTypes.contains(type))
            traceUnusable(path, QStringLiteral("values of type %1 are not known here").arg(type));
        m_unknownTypes.insert(type);
        return;
    }
    if (lives)
        tree.Remove(path, m_collector.GetLink());
    ValueBase* const added = tree.Add(path, std::move(value), m_collector.GetLink());
    if (added && IsCollection(type) && !added->IsDeleted())
        m_region->Record(*added);
}

bool MirroredTree::ApplyCommands(const QString& path, const Bytes& commands,
                                 const values::PendingChanges& own)
{
    ValueBase* const target = livingValue(path);
    std::vector<CommandPiece> pieces;
    if (!target)
        return true;
    if (!ReadPieces(*target, commands, m_collector.GetLink(), pieces)) {
        traceUnusable(path, QStringLiteral("its commands do not fit"));
        return false;
    }
    const Weak<ValueBase> alive(target);
    for (const CommandPiece& piece : pieces) {
        const auto& [everyKey, keys, requests] = piece.scope;
        if (!alive)
            return true;
        if (everyKey) {
            clear(*target, path, piece, own);
        } else if (keys.size() == 1 && isOwnKey(path, keys.front(), own)) {
            if (piece.id == values::eCommandMapSetAt)
                m_passedOver[path][keys.front()] = Bytes(piece.bytes, piece.size);
            else
                m_passedOver[path].erase(keys.front());
        } else if (std::none_of(requests.begin(), requests.end(), [&](const auto& request) {
                       return own.ContainsRequest(request) ||
                              m_region->Untaken(path).ContainsRequest(request) ||
                              m_region->TakeOwnRequest(path, request, {piece.bytes, piece.size});
                   })) {
            executeSet(*target, path, piece);
        }
    }
    if (alive)
        catchUp(*target, path, own);
    return true;
}

/// Whether a change of the program is on its way, or was made by an observer of what is being applied: the
/// owner has it later than that.
bool MirroredTree::isOwnKey(const QString& path, const std::string& key,
                            const values::PendingChanges& own) const
{
    return own.ContainsKey(key) || m_region->Untaken(path).ContainsKey(key);
}

/// One by one where own changes are on their way; what they write stays, and of what was passed over there
/// the owner has nothing now.
void MirroredTree::clear(ValueBase& value, const QString& path, const CommandPiece& piece,
                         const values::PendingChanges& own)
{
    m_passedOver.erase(path);
    if (own.IsEmpty() && m_region->Untaken(path).IsEmpty())
        execute(piece);
    else
        Guarded([&] {
            value.EraseKeys([&](const std::string& key) { return !isOwnKey(path, key, own); },
                            m_collector.GetLink());
        });
}

/// An item that the program has written, and that counts as equal to the owner's, gives way to that one. With
/// `mayBeOwn` also one of which nobody knows any more who wrote it.
void MirroredTree::executeSet(ValueBase& value, const QString& path, const CommandPiece& piece, bool mayBeOwn)
{
    const Weak<ValueBase> alive(&value);
    const bool hasChanged = execute(piece);
    if (piece.scope.keys.size() != 1)
        return;
    const std::string& key = piece.scope.keys.front();
    const Bytes* const mine = m_region->FindOwnSet(path, key);
    const bool differs = mine ? mine->compare(0, Bytes::npos, piece.bytes, piece.size) != 0 : mayBeOwn;
    m_region->ForgetOwnSet(path, key);
    const auto passedOver = m_passedOver.find(path);
    if (passedOver != m_passedOver.end())
        passedOver->second.erase(key);
    if (!hasChanged && differs && alive)
        executeExactly(value, piece);
}

/// What was passed over is what the owner has, where its log has said nothing since.
void MirroredTree::catchUp(ValueBase& value, const QString& path, const values::PendingChanges& own)
{
    const auto passedOver = m_passedOver.find(path);
    if (passedOver == m_passedOver.end())
        return;
    std::vector<Bytes> due;
    for (const auto& [key, command] : passedOver->second) {
        if (!isOwnKey(path, key, own))
            due.push_back(command);
    }
    const Weak<ValueBase> alive(&value);
    for (const Bytes& command : due) {
        std::vector<CommandPiece> pieces;
        if (alive && ReadPieces(value, command, m_collector.GetLink(), pieces))
            executeSet(value, path, pieces.front(), true);
    }
    if (passedOver->second.empty())
        m_passedOver.erase(path);
}

/// Whether it changed anything.
bool MirroredTree::execute(const CommandPiece& piece)
{
    const quint64 before = m_region->GetCommandCount();
    Guarded([&] { piece.command->Execute(); });
    return m_region->GetCommandCount() != before;
}

/// Without this, setting an item that counts as equal to the stored one changes nothing.
void MirroredTree::executeExactly(ValueBase& value, const CommandPiece& piece)
{
    value.ReplaceNextEqual();
    execute(piece);
}

void MirroredTree::ApplyState(const QString& path, qint32 type, const Bytes& state,
                              const std::vector<Content>& own)
{
    Guarded([&] {
        bool isUnknown = false;
        auto wanted = MakeValue(type, state, isUnknown);
        if (!wanted) {
            addValue(path, type, state); // which says why not
            return;
        }
        passOver(*wanted, path, state, own);
        for (const Content& commands : own) {
            std::vector<CommandPiece> pieces;
            ReadPieces(*wanted, BytesOf(commands), nullptr, pieces);
            for (const CommandPiece& piece : pieces) {
                wanted->ReplaceNextEqual(); // what the program wrote is there as it wrote it
                piece.command->Execute();
            }
        }
        ValueBase* const value = livingValue(path);
        if (value && value->GetType() == type)
            applyDifference(*value, *wanted);
        else
            addValue(path, type, BytesOf(ContentOf(*wanted)));
    });
}

/// What a state has where own changes are on their way is what the owner has until its log says something.
void MirroredTree::passOver(ValueBase& value, const QString& path, const Bytes& state,
                            const std::vector<Content>& own)
{
    m_passedOver.erase(path);
    values::PendingChanges pending;
    std::vector<CommandPiece> pieces, items;
    for (const Content& commands : own)
        ReadPieces(value, BytesOf(commands), nullptr, pieces);
    for (CommandPiece& piece : pieces)
        pending.Add(1, std::move(piece.scope));
    m_region->ForgetOwn(path, pending);
    if (own.empty())
        return;
    ReadPieces(value, state, nullptr, items);
    for (const CommandPiece& item : items) {
        if (item.scope.keys.size() == 1 && pending.ContainsKey(item.scope.keys.front()))
            m_passedOver[path][item.scope.keys.front()] = Bytes(item.bytes, item.size);
    }
}

/// Both are compared by their bytes, so that in the end these are the same.
void MirroredTree::applyDifference(ValueBase& value, ValueBase& wanted)
{
    const Content wantedBytes = ContentOf(wanted);
    const Content presentBytes = ContentOf(value);
    std::vector<CommandPiece> target, present;
    if (!ReadPieces(value, BytesOf(wantedBytes), m_collector.GetLink(), target) ||
        !ReadPieces(value, BytesOf(presentBytes), m_collector.GetLink(), present))
        return;
    Pieces items, open;
    const auto staying = requestsOf(target);
    for (const CommandPiece& piece : present) {
        if (piece.scope.keys.size() == 1)
            items.emplace(piece.scope.keys.front(), &piece);
        else if (!piece.scope.requests.empty())
            open.emplace(piece.scope.requests.front(), &piece);
    }

    const Weak<ValueBase> alive(&value);
    Guarded([&] {
        value.EndRequests([&](const std::string& request) { return staying.count(request) == 0; },
                          m_collector.GetLink());
    });
    for (const CommandPiece& piece : target) {
        if (!alive)
            return;
        applyPiece(value, piece, items, open);
    }
    if (alive)
        eraseRest(value, present, items);
}

/// One of what is wanted, which is taken out of `items` and `open`, what is present of that kind.
void MirroredTree::applyPiece(ValueBase& value, const CommandPiece& piece, Pieces& items, Pieces& open)
{
    const bool isItem = piece.scope.keys.size() == 1;
    if (!isItem && piece.scope.requests.empty())
        return;
    const QString path = value.GetPath();
    const std::string& name = isItem ? piece.scope.keys.front() : piece.scope.requests.front();
    Pieces& kind = isItem ? items : open;
    const auto there = kind.find(name);
    const bool isSame = there != kind.end() && there->second->HasBytesOf(piece);
    if (there != kind.end())
        kind.erase(there);
    const values::PendingChanges& untaken = m_region->Untaken(path);
    if (isItem && untaken.ContainsKey(name)) {
        m_passedOver[path][name] = Bytes(piece.bytes, piece.size);
    } else if (!isSame && (isItem || !untaken.ContainsRequest(name))) {
        const Weak<ValueBase> alive(&value);
        if (!execute(piece) && isItem && alive)
            executeExactly(value, piece);
    }
}

/// What is present and was in `items` to the end.
void MirroredTree::eraseRest(ValueBase& value, const std::vector<CommandPiece>& present, const Pieces& items)
{
    const QString path = value.GetPath();
    const Weak<ValueBase> alive(&value);
    for (const CommandPiece& piece : present) {
        if (!alive)
            return;
        if (piece.scope.keys.size() != 1)
            continue;
        const std::string& key = piece.scope.keys.front();
        if (items.count(key) > 0 && !m_region->Untaken(path).ContainsKey(key))
            Guarded([&] { EraseKey(value, key, m_collector.GetLink()); });
    }
}

void MirroredTree::OnAuthorsWish(const Change& change, WishResult result)
{
    const bool isDone = result == WishResult::Executed;
    tellAuthor(change, isDone ? IWishAuthor::WishEnd::Done : IWishAuthor::WishEnd::Failed, change.content);
}

/// Whether the author sees to it itself.
bool MirroredTree::tellAuthor(const Change& change, IWishAuthor::WishEnd end, const Content& valid)
{
    bool isCaredFor = false;
    if (auto* const author = dynamic_cast<IWishAuthor*>(change.author.Get())) {
        Guarded([&] {
            isCaredFor =
                author->OnWishEnded(livingValue(change.path), end, textOf(change.content), textOf(valid));
        });
    }
    return isCaredFor;
}

void MirroredTree::OnWishFailed(const FailedWish& wish)
{
    const Change& change = wish.change;
    const bool isConflict = wish.result == WishResult::Conflict;
    if (tellAuthor(change, isConflict ? IWishAuthor::WishEnd::Conflict : IWishAuthor::WishEnd::Failed,
                   wish.valid))
        return;
    ValueBase* const value = livingValue(change.path);
    if (value && !change.scope.requests.empty()) {
        const auto& requests = change.scope.requests;
        Guarded([&] {
            value->EndRequests(
                [&](const std::string& request) {
                    return std::find(requests.begin(), requests.end(), request) != requests.end();
                },
                m_collector.GetLink(), errorFor(wish));
        });
    }
    Guarded([&] { m_collector.GetTree().TellWishFailed(change.path, failureOf(wish.result), wish.reason); });
    m_events.wishFailed(change.path, wish.reason);
}

void MirroredTree::traceUnusable(const QString& path, const QString& why)
{
    kTrace(eUnusable, QStringLiteral("%1 cannot be mirrored: %2").arg(path, why));
}

} // namespace distribution
