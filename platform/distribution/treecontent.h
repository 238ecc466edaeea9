#pragma once

#include <distribution/messages.h>

#include <values/tree.h>
#include <values/value.h>

#include <QStringList>

#include <memory>
#include <vector>

/// \file
/// Items of a value tree in the form in which they travel.

namespace distribution {

/// 0 for a node without a value.
qint32 TypeOf(const values::TreeItem& item);
/// Null for a node. Of a collection the commands that fill an empty one.
Content ContentOf(values::TreeItem& item);
/// Everything at and below the roots as Add changes, parents first and siblings in their order. Roots that
/// are missing or deleted have none.
Changes ContentBelow(const values::Tree& tree, const QStringList& roots);

/// A value in no tree with that content. Null for a type that nobody has registered, or a content that does
/// not fit; `isUnknown` says which.
std::unique_ptr<values::ValueBase> MakeValue(qint32 type, const Bytes& content, bool& isUnknown);

/// One command among several in a row, still encoded.
struct CommandPiece
{
    const char* bytes = nullptr; ///< header and payload, in the bytes that were given
    std::size_t size = 0;
    std::unique_ptr<values::Command> command; ///< a transaction comes as its parts
    values::CommandScope scope;
    int id = 0;

    bool HasBytesOf(const CommandPiece& other) const;
};
/// Commands on `value` one by one, which name `originator` when they are executed; false, and `pieces` of no
/// use, when one does not fit.
bool ReadPieces(values::ValueBase& value, const Bytes& commands, IObserver* originator,
                std::vector<CommandPiece>& pieces);
/// Erases the item under a key field of a command's scope.
void EraseKey(values::ValueBase& value, const std::string& key, IObserver* originator);

} // namespace distribution
