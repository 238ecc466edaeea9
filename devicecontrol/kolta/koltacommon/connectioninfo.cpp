#include <koltacommon/connectioninfo.h>

#include <koltacommon/guidtext.h>

#include <values/value.h>

#include <QHash>
#include <QSet>

#include <algorithm>
#include <set>
#include <utility>

namespace Kolta {

using values::Tree;
using values::TreeItem;

namespace {

constexpr QChar kSeparator = QLatin1Char('/');

QString guidName()
{
    return QStringLiteral("Kolta_GUID");
}

QString taskName()
{
    return QStringLiteral("taskID");
}

QString textOf(const TreeItem* item)
{
    const auto* const value = dynamic_cast<const values::ValueBase*>(item);
    return value && !value->IsDeleted() ? value->GetStringValue() : QString();
}

/// The form in which GUIDs are compared; empty for what is none.
QString guidKey(const QUuid& guid)
{
    return guid.isNull() ? QString() : guid.toString();
}

bool isMcp(const QString& child)
{
    return ConnectionInfo::text(child, QStringLiteral("Processor_Type")) == QLatin1String("MCP");
}

QStringList childrenOf(const QString& path)
{
    QStringList children;
    const TreeItem* const node = path.isEmpty() ? nullptr : Tree::Instance().Find(path);
    if (node) {
        const QVector<TreeItem*> items = node->GetChildren();
        children.reserve(items.size());
        for (const TreeItem* item : items)
            children.append(item->GetPath());
    }
    return children;
}

/// Children by the text of one of their values; an empty text is no key.
class KeyTable
{
public:
    void set(const QString& child, const QString& key)
    {
        const QString old = m_keyOfChild.value(child);
        if (old == key)
            return;
        if (!old.isEmpty()) {
            m_children.erase({old, child});
            m_keyOfChild.remove(child);
        }
        if (!key.isEmpty()) {
            m_children.emplace(key, child);
            m_keyOfChild.insert(child, key);
        }
    }
    /// In no order.
    QStringList children(const QString& key) const
    {
        QStringList children;
        for (auto it = m_children.lower_bound({key, QString()}); it != m_children.end() && it->first == key;
             ++it)
            children.append(it->second);
        return children;
    }

private:
    QHash<QString, QString> m_keyOfChild;
    std::set<std::pair<QString, QString>> m_children; ///< key and child: a key may have thousands of them
};

} // namespace

/// The children by GUID and by task. It hears of every change of the tree before the observers do, so it is
/// never behind.
class ConnectionInfo::Index final : private values::ITreeListener
{
public:
    explicit Index(const QString& path) : m_path(path), m_prefix(path + kSeparator)
    {
        for (const QString& child : childrenOf(path)) {
            m_guids.set(child, guidKey(guidFromText(text(child, guidName()))));
            m_tasks.set(child, text(child, taskName()));
        }
        Tree::Instance().AddListener(this);
    }
    ~Index() override { Tree::Instance().RemoveListener(this); }
    Index(const Index&) = delete;
    Index& operator=(const Index&) = delete;

    QString childOfProcessor(const QUuid& guid) const { return first(m_guids.children(guidKey(guid))); }
    QString mcpChildOfTask(const QString& taskId) const
    {
        QStringList children = m_tasks.children(taskId);
        children.erase(std::remove_if(children.begin(), children.end(),
                                      [](const QString& child) { return !isMcp(child); }),
                       children.end());
        return first(children);
    }

private:
    void OnItemAdded(TreeItem& item) override { read(item); }
    void OnItemRemoved(TreeItem& item) override { read(item); }
    void OnItemChanged(TreeItem& item, TChangeCode, IObserver*) override { read(item); }

    /// Takes the item as it is now: what happened to it may be over already.
    void read(const TreeItem& item)
    {
        const QString& path = item.GetPath();
        const int end = path.startsWith(m_prefix) ? path.indexOf(kSeparator, m_prefix.size()) : -1;
        if (end < 0)
            return;
        const QStringRef name = path.midRef(end + 1);
        if (name == guidName())
            m_guids.set(path.left(end), guidKey(guidFromText(textOf(&item))));
        else if (name == taskName())
            m_tasks.set(path.left(end), textOf(&item));
    }

    /// Several children with one key are rare, so only then is their order worth a look at the tree.
    QString first(const QStringList& children) const
    {
        if (children.size() <= 1)
            return children.value(0);
        const QSet<QString> wanted(children.begin(), children.end());
        const QStringList all = childrenOf(m_path);
        const auto it = std::find_if(all.begin(), all.end(),
                                     [&wanted](const QString& child) { return wanted.contains(child); });
        return it == all.end() ? QString() : *it;
    }

    QString m_path;
    QString m_prefix;
    KeyTable m_guids;
    KeyTable m_tasks;
};

ConnectionInfo::ConnectionInfo()
{
    // The tree is made before this and so outlives it, also when this lives as long as the process.
    Tree::Instance();
}

ConnectionInfo::~ConnectionInfo() = default;

void ConnectionInfo::setPath(const QString& path)
{
    m_index.reset();
    m_path = values::NormalisedPath(path);
}

QString ConnectionInfo::childOfProcessor(const QUuid& guid) const
{
    return guid.isNull() || m_path.isEmpty() ? QString() : index().childOfProcessor(guid);
}

QString ConnectionInfo::mcpChildOfTask(const QString& taskId) const
{
    return taskId.isEmpty() || m_path.isEmpty() ? QString() : index().mcpChildOfTask(taskId);
}

QStringList ConnectionInfo::mcpChildren() const
{
    QStringList children = childrenOf(m_path);
    children.erase(
        std::remove_if(children.begin(), children.end(), [](const QString& child) { return !isMcp(child); }),
        children.end());
    return children;
}

QString ConnectionInfo::text(const QString& child, const QString& name)
{
    if (child.isEmpty())
        return QString();
    const QString path = child + kSeparator + name;
    return textOf(Tree::Instance().Find(path));
}

const ConnectionInfo::Index& ConnectionInfo::index() const
{
    if (!m_index)
        m_index = std::make_unique<Index>(m_path);
    return *m_index;
}

} // namespace Kolta
