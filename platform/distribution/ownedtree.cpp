#include <distribution/ownedtree.h>

#include <distribution/guard.h>
#include <distribution/treecontent.h>

#include <values/value.h>

#include <iterator>
#include <utility>

namespace distribution {

using values::ValueBase;

OwnedTree::OwnedTree(ChangeCollector& collector, const QStringList& roots, std::function<void()> changed)
    : m_collector(collector), m_region(collector.MakeRegion(std::move(changed)))
{
    m_region->SetRoots(roots);
}

void OwnedTree::LetGo()
{
    m_region->SetRoots({});
    TakeChanges();
}

Changes OwnedTree::TakeChanges()
{
    Changes changes = std::exchange(m_before, {});
    Changes newest = m_region->Take();
    changes.insert(changes.end(), std::make_move_iterator(newest.begin()),
                   std::make_move_iterator(newest.end()));
    return changes;
}

IOwnedTree::Executed OwnedTree::Execute(const Writer& /*writer*/, const Changes& changes)
{
    m_before = TakeChanges();
    Executed executed;
    for (std::size_t i = 0; i < changes.size(); ++i) {
        QString objection;
        Guarded([&] { objection = perform(changes[i]); });
        if (!objection.isEmpty())
            executed.failures.push_back({static_cast<quint32>(i), WishResult::Refused, objection});
    }
    executed.changes = m_region->Take();
    return executed;
}

Content OwnedTree::ReadCollection(const QString& path)
{
    auto* const value = m_collector.GetTree().FindAs<ValueBase>(path);
    return value && !value->IsDeleted() ? ContentOf(*value) : nullptr;
}

/// Why it cannot be done; empty when it was.
QString OwnedTree::perform(const Change& change)
{
    values::Tree& tree = m_collector.GetTree();
    auto* const value = tree.FindAs<ValueBase>(change.path);
    const bool lives = value && !value->IsDeleted();
    switch (change.operation) {
    case Operation::Add:
        return add(change);
    case Operation::Remove:
        tree.Remove(change.path, m_collector.GetWriter());
        return QString();
    case Operation::Set:
        return lives ? set(change) : QStringLiteral("there is no value %1").arg(change.path);
    case Operation::Order:
        return lives ? order(change) : QStringLiteral("there is no value %1").arg(change.path);
    case Operation::Announce:
        if (!lives)
            return QStringLiteral("there is no value %1").arg(change.path);
        value->Announce(static_cast<TChangeCode>(change.code), m_collector.GetWriter());
        return QString();
    case Operation::Commands:
        return lives ? runCommands(change) : QStringLiteral("there is no collection %1").arg(change.path);
    case Operation::Delta:
        break;
    }
    return QStringLiteral("not a change that can be wished for");
}

QString OwnedTree::add(const Change& change)
{
    values::Tree& tree = m_collector.GetTree();
    if (change.type == 0) {
        tree.EnsureNode(change.path, m_collector.GetWriter());
        return QString();
    }
    values::TreeItem* const there = tree.Find(change.path);
    if (there && !there->IsDeleted())
        return TypeOf(*there) == change.type && !IsCollection(change.type)
                   ? set(change)
                   : QStringLiteral("%1 is there already").arg(change.path);
    bool isUnknown = false;
    auto value = MakeValue(change.type, BytesOf(change.content), isUnknown);
    if (!value)
        return isUnknown ? QStringLiteral("values of type %1 are not known").arg(change.type)
                         : QStringLiteral("the content does not fit %1").arg(change.path);
    return tree.Add(change.path, std::move(value), m_collector.GetWriter())
               ? QString()
               : QStringLiteral("%1 cannot be added").arg(change.path);
}

QString OwnedTree::set(const Change& change)
{
    auto* const value = m_collector.GetTree().FindAs<ValueBase>(change.path);
    const Bytes& content = BytesOf(change.content);
    values::ByteReader in(content.data(), content.size());
    return value->ReadContent(in, m_collector.GetWriter())
               ? QString()
               : QStringLiteral("the content does not fit %1").arg(change.path);
}

QString OwnedTree::order(const Change& change)
{
    auto* const value = m_collector.GetTree().FindAs<ValueBase>(change.path);
    const Bytes& content = BytesOf(change.content);
    values::ByteReader in(content.data(), content.size());
    return value->OrderContent(in, m_collector.GetWriter())
               ? QString()
               : QStringLiteral("the content does not fit %1").arg(change.path);
}

QString OwnedTree::runCommands(const Change& change)
{
    auto* const value = m_collector.GetTree().FindAs<ValueBase>(change.path);
    std::vector<CommandPiece> pieces;
    if (!ReadPieces(*value, BytesOf(change.content), m_collector.GetWriter(), pieces))
        return QStringLiteral("the commands do not fit %1").arg(change.path);
    // Together, so that everybody repeats them as one.
    const auto transaction = value->CreateTransaction();
    for (const CommandPiece& piece : pieces)
        Guarded([&piece] { piece.command->Execute(); });
    return QString();
}

} // namespace distribution
