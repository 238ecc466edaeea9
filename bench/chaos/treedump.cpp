#include "treedump.h"

#include <values/command.h>
#include <values/value.h>

#include <algorithm>
#include <vector>

namespace Chaos {

namespace {

using values::TreeItem;
using values::ValueBase;

/// Collections have no order.
std::vector<QByteArray> contentOf(ValueBase& value)
{
    std::string content;
    if (value.AppendContent(content))
        return {QByteArray::fromStdString(content).replace('\\', "\\\\").replace('\n', "\\n")};
    value.AddObjectStateStringForTransmission(content, values::eTransmitPlain);
    values::ByteReader in(content.data(), content.size());
    values::ValueHeader state;
    ReadValueHeader(in, state);
    std::vector<QByteArray> commands;
    for (values::CommandHeader header; !in.AtEnd();) {
        const char* const start = in.Position();
        if (!ReadCommandHeader(in, header) || !in.Skip(header.payload))
            break;
        commands.push_back(QByteArray(start, static_cast<int>(in.Position() - start)).toHex());
    }
    std::sort(commands.begin(), commands.end());
    return commands;
}

} // namespace

QByteArray dumpOf(const values::Tree& tree, const QString& path)
{
    std::vector<TreeItem*> items, waiting;
    TreeItem* const top = tree.Find(path);
    if (top && !top->IsDeleted())
        waiting.push_back(top);
    while (!waiting.empty()) {
        TreeItem* const item = waiting.back();
        waiting.pop_back();
        items.push_back(item);
        const auto children = item->GetChildren();
        waiting.insert(waiting.end(), children.begin(), children.end());
    }
    std::sort(items.begin(), items.end(),
              [](const auto* a, const auto* b) { return a->GetPath() < b->GetPath(); });
    QByteArray dump;
    for (TreeItem* const item : items) {
        auto* const value = dynamic_cast<ValueBase*>(item);
        dump += item->GetPath().toUtf8() + ' ' + (value ? value->GetTypeName().toUtf8() : "Node") + '\n';
        if (!value)
            continue;
        for (const QByteArray& part : contentOf(*value))
            dump += "  " + part + '\n';
    }
    return dump;
}

} // namespace Chaos
