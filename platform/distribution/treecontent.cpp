#include <distribution/treecontent.h>

#include <values/command.h>
#include <values/defaultvaluecreator.h>

#include <algorithm>
#include <cstring>

namespace distribution {

namespace {

using values::ByteReader;
using values::TreeItem;
using values::ValueBase;

Bytes stateCommands(ValueBase& value)
{
    Bytes state;
    value.AddObjectStateStringForTransmission(state, values::eTransmitPlain);
    ByteReader in(state.data(), state.size());
    values::ValueHeader header;
    ReadValueHeader(in, header);
    state.erase(0, state.size() - in.Remaining());
    return state;
}

/// Filling a large collection waits for memory more than it computes.
void makeRoom(ValueBase& collection, ByteReader commands)
{
    std::size_t count = 0;
    values::CommandHeader header;
    while (!commands.AtEnd() && ReadCommandHeader(commands, header) && commands.Skip(header.payload))
        ++count;
    collection.ExpectItems(count);
}

/// Without recursion: paths may be deep.
void appendBelow(TreeItem& top, Changes& changes)
{
    std::vector<TreeItem*> waiting{&top};
    while (!waiting.empty()) {
        TreeItem* const item = waiting.back();
        waiting.pop_back();
        changes.push_back(AddChange(item->GetPath(), TypeOf(*item), ContentOf(*item)));
        const QVector<TreeItem*> children = item->GetChildren();
        waiting.insert(waiting.end(), children.rbegin(), children.rend());
    }
}

} // namespace

qint32 TypeOf(const TreeItem& item)
{
    const auto* const value = dynamic_cast<const ValueBase*>(&item);
    return value ? value->GetType() : 0;
}

Content ContentOf(TreeItem& item)
{
    auto* const value = dynamic_cast<ValueBase*>(&item);
    if (!value)
        return nullptr;
    Bytes content;
    if (!value->AppendContent(content))
        content = stateCommands(*value);
    return MakeContent(std::move(content));
}

Changes ContentBelow(const values::Tree& tree, const QStringList& roots)
{
    Changes changes;
    for (const QString& root : roots) {
        TreeItem* const item = tree.Find(root);
        if (item && !item->IsDeleted())
            appendBelow(*item, changes);
    }
    return changes;
}

std::unique_ptr<ValueBase> MakeValue(qint32 type, const Bytes& content, bool& isUnknown)
{
    auto value = values::CreateDefaultValue(type);
    isUnknown = value == nullptr;
    if (!value)
        return nullptr;
    ByteReader in(content.data(), content.size());
    if (!IsCollection(type))
        return value->ReadContent(in, nullptr) ? std::move(value) : nullptr;
    makeRoom(*value, in);
    const bool fits =
        ForEachCommand(*value, in, nullptr, [](values::Command& command) { command.Execute(); });
    return fits ? std::move(value) : nullptr;
}

bool CommandPiece::HasBytesOf(const CommandPiece& other) const
{
    return size == other.size && std::memcmp(bytes, other.bytes, size) == 0;
}

bool ReadPieces(ValueBase& value, const Bytes& commands, IObserver* originator,
                std::vector<CommandPiece>& pieces)
{
    ByteReader in(commands.data(), commands.size());
    while (!in.AtEnd()) {
        CommandPiece piece;
        piece.bytes = in.Position();
        ByteReader at = in;
        values::CommandHeader header;
        if (!ReadCommandHeader(at, header))
            return false;
        if (header.id == values::eCommandTransaction) {
            // Its parts follow their number, as commands of their own; it was checked whole before.
            if (!ReadCommand(value, in, originator))
                return false;
            at.Skip(sizeof(quint32));
            const Bytes parts(at.Position(), in.Position());
            std::vector<CommandPiece> inner;
            ReadPieces(value, parts, originator, inner);
            for (CommandPiece& part : inner) {
                part.bytes = at.Position() + (part.bytes - parts.data());
                pieces.push_back(std::move(part));
            }
            continue;
        }
        piece.command = ReadCommand(value, in, originator);
        if (!piece.command)
            return false;
        piece.size = static_cast<std::size_t>(in.Position() - piece.bytes);
        piece.id = header.id;
        piece.command->AddScope(piece.scope);
        pieces.push_back(std::move(piece));
    }
    return true;
}

void EraseKey(ValueBase& value, const std::string& key, IObserver* originator)
{
    Bytes erase;
    {
        const values::CommandFrame frame(erase, values::eCommandMapEraseAt, nullptr, values::eTransmitPlain);
        erase += key;
        erase += ';';
    }
    ByteReader in(erase.data(), erase.size());
    const auto command = ReadCommand(value, in, originator);
    if (command)
        command->Execute();
}

} // namespace distribution
