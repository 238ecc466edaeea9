#include "commands.h"

#include <common/terminationsignals.h>
#include <kolta/application/embeddedinstallation.h>
#include <kolta/application/itemcontent.h>
#include <kolta/cli/commandline.h>
#include <kolta/cli/eventwait.h>
#include <kolta/cli/output.h>
#include <kolta/cli/table.h>

#include <values/tree.h>
#include <values/value.h>

#include <algorithm>

namespace KoltaCli {

namespace {

using values::TreeItem;

QString typeOf(const TreeItem& item)
{
    const auto* const value = dynamic_cast<const values::ValueBase*>(&item);
    return value ? value->GetTypeName() : QStringLiteral("Node");
}

/// At and below `path`, by path.
QVector<TreeItem*> itemsBelow(const QString& path)
{
    QVector<TreeItem*> items, waiting;
    TreeItem* const top = values::Tree::Instance().Find(path);
    if (top && !top->IsDeleted())
        waiting.append(top);
    while (!waiting.isEmpty()) {
        TreeItem* const item = waiting.takeLast();
        items.append(item);
        waiting += item->GetChildren();
    }
    std::sort(items.begin(), items.end(),
              [](const auto* a, const auto* b) { return a->GetPath() < b->GetPath(); });
    return items;
}

QString pathOf(const CommandLine& line)
{
    return values::NormalisedPath(line.argument(0));
}

/// False, and told, when there is nothing.
bool exists(const QString& path)
{
    const TreeItem* const item = values::Tree::Instance().Find(path);
    if (!item || item->IsDeleted())
        printError(QStringLiteral("there is no item %1").arg(path));
    return item && !item->IsDeleted();
}

int list(const CommandLine& line, const EmbeddedInstallation& /*installation*/)
{
    const QString path = pathOf(line);
    if (!exists(path))
        return eExitFailed;
    Table table({QStringLiteral("NAME"), QStringLiteral("TYPE"), QStringLiteral("CHILDREN")});
    table.alignRight({2});
    for (TreeItem* const child : values::Tree::Instance().Find(path)->GetChildren()) {
        const int children = child->GetChildren().size();
        if (line.json())
            printJson({{QStringLiteral("path"), child->GetPath()},
                       {QStringLiteral("type"), typeOf(*child)},
                       {QStringLiteral("children"), children}});
        table.addRow({child->GetName(), typeOf(*child), QString::number(children)});
    }
    if (!line.json())
        printTable(table, QStringLiteral("nothing is below it"));
    return eExitOk;
}

int dump(const CommandLine& line, const EmbeddedInstallation& /*installation*/)
{
    const QString path = pathOf(line);
    if (!exists(path))
        return eExitFailed;
    for (TreeItem* const item : itemsBelow(path)) {
        const ItemContent content = ItemContent::of(*item);
        if (line.json()) {
            printLine(QStringLiteral("{\"content\":") + content.json + QStringLiteral(",\"path\":") +
                      jsonString(item->GetPath()) + QStringLiteral(",\"type\":") + jsonString(content.type) +
                      QLatin1Char('}'));
            continue;
        }
        printLine(escaped(item->GetPath()) + QLatin1Char(' ') + content.type);
        for (const QString& part : content.lines)
            printLine(QStringLiteral("  ") + part);
    }
    return eExitOk;
}

/// Prints what happens at and below a path.
class TreeWatch : private values::ITreeListener
{
public:
    TreeWatch(const QString& path, bool json, int count)
        : m_path(path), m_json(json), m_left(count), m_endless(count == 0)
    {
        values::Tree::Instance().AddListener(this);
        QObject::connect(&m_termination, &TerminationSignals::terminationRequested,
                         [this] { m_isInterrupted = true; });
    }
    ~TreeWatch() override { values::Tree::Instance().RemoveListener(this); }
    TreeWatch(const TreeWatch&) = delete;
    TreeWatch& operator=(const TreeWatch&) = delete;

    bool hasEnough() const { return m_isInterrupted || outputIsLost() || (!m_endless && m_left <= 0); }

private:
    void OnItemAdded(TreeItem& item) override { tell("added", item); }
    void OnItemRemoved(TreeItem& item) override { tell("removed", item); }
    void OnItemChanged(TreeItem& item, TChangeCode code, IObserver* /*originator*/) override
    {
        tell("changed", item, code);
    }
    void OnItemAnnounced(TreeItem& item, TChangeCode code, IObserver* /*originator*/) override
    {
        tell("announced", item, code);
    }
    void tell(const char* what, const TreeItem& item, int code = 0)
    {
        const QString& path = item.GetPath();
        const bool concerns =
            m_path == QLatin1String("/") || path == m_path || path.startsWith(m_path + QLatin1Char('/'));
        if (!concerns || hasEnough())
            return;
        --m_left;
        const QString event = QLatin1String(what);
        if (m_json)
            printJson({{QStringLiteral("event"), event},
                       {QStringLiteral("path"), path},
                       {QStringLiteral("type"), typeOf(item)},
                       {QStringLiteral("code"), code}});
        else
            printLine(code == 0 ? event + QLatin1Char(' ') + path
                                : QStringLiteral("%1 %2 code %3").arg(event, path).arg(code));
    }

    TerminationSignals m_termination;
    QString m_path;
    bool m_json;
    int m_left;
    bool m_endless;
    bool m_isInterrupted = false;
};

int watch(const CommandLine& line, const EmbeddedInstallation& /*installation*/)
{
    const QString path = pathOf(line);
    const TreeWatch watcher(path, line.json(), line.number("count"));
    printError(QStringLiteral("watching %1, Ctrl-C ends").arg(path));
    waitUntil([&watcher] { return watcher.hasEnough(); },
              line.isSet("timeout") ? line.timeoutMs() : kWaitForever);
    return eExitOk;
}

} // namespace

Command treeCommand()
{
    const QVector<Argument> path{{"PATH", "Path of an item, \"/\" unless given.", Argument::eOptional}};
    return {"tree",
            "show the value tree itself",
            "Shows items of the value tree. What \"dump\" prints is the same for equal trees, so that those "
            "of two processes "
            "can be compared.",
            {},
            EmbeddedInstallation::options(
                {whole("count", "number", "End \"watch\" after so many lines (0: never).", 0, 1000000, 0)}),
            {},
            {{"list", path, "what is directly below an item", with(EmbeddedInstallation::reach, list)},
             {"dump", path, "everything at and below an item: paths, types and contents",
              with(EmbeddedInstallation::reach, dump)},
             {"watch", path, "what happens at and below an item, until Ctrl-C",
              with(EmbeddedInstallation::reach, watch)}}};
}

} // namespace KoltaCli
