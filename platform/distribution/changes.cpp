#include <distribution/messages.h>

#include <utility>

namespace distribution {

namespace {

Change changeOf(Operation operation, const QString& path, Content content)
{
    Change change;
    change.operation = operation;
    change.path = path;
    change.content = std::move(content);
    return change;
}

} // namespace

Change AddChange(const QString& path, qint32 type, Content content)
{
    Change change = changeOf(Operation::Add, path, std::move(content));
    change.type = type;
    return change;
}

Change RemoveChange(const QString& path)
{
    return changeOf(Operation::Remove, path, nullptr);
}

Change SetChange(const QString& path, Content content, bool compare)
{
    Change change = changeOf(Operation::Set, path, std::move(content));
    change.compare = compare;
    return change;
}

Change OrderChange(const QString& path, Content content)
{
    return changeOf(Operation::Order, path, std::move(content));
}

Change AnnounceChange(const QString& path, qint32 code, bool byWish)
{
    Change change = changeOf(Operation::Announce, path, nullptr);
    change.code = code;
    change.byWish = byWish;
    return change;
}

Change CommandsChange(const QString& path, Content commands, values::CommandScope scope)
{
    Change change = changeOf(Operation::Commands, path, std::move(commands));
    change.scope = std::move(scope);
    return change;
}

} // namespace distribution
