#pragma once

#include <resourcemodel/resources.h>
#include <resourcemodel/tunerclasses.h>

#include <QStringList>

#include <algorithm>
#include <deque>
#include <memory>
#include <vector>

/// The tuner class tree done naively: one step after the other, everything searched, nothing kept.
class Model
{
public:
    struct Node
    {
        QString id;
        bool isClass = false;
        Node* parent = nullptr;
        std::vector<Node*> children;
        Node* defaultChild = nullptr;
    };

    Model(const RESOURCEMANAGEMENT::TunerClassOverview& tunerClasses,
          const RESOURCEMANAGEMENT::ResourceOverview& resources)
    {
        m_nodes.push_back({QStringLiteral("root"), true, nullptr, {}, nullptr});
        std::vector<Node*> table;
        const auto find = [&table](const QString& id) {
            const auto match =
                std::find_if(table.begin(), table.end(), [&id](const Node* node) { return node->id == id; });
            return id.isEmpty() || match == table.end() ? nullptr : *match;
        };
        for (const auto& tuner : resources.GetTuner()) {
            const QString id = tuner.GetTavikResource().GetAddress();
            if (!id.isEmpty())
                table.push_back(&add(id, false, m_nodes.front()));
        }
        const std::size_t firstClass = table.size();
        for (const auto& tunerClass : tunerClasses.GetTunerClass()) {
            Node& node = add(tunerClass.GetGUID(), true, m_nodes.front());
            table.push_back(&node);
            for (const QString& id : tunerClass.GetTunerID()) {
                if (Node* const member = find(id))
                    setParent(*member, &node);
            }
        }
        std::size_t place = firstClass;
        for (const auto& tunerClass : tunerClasses.GetTunerClass())
            setParent(*table[place++], find(tunerClass.GetSuperclassGUID()));
        place = firstClass;
        for (const auto& tunerClass : tunerClasses.GetTunerClass()) {
            Node* const child = find(tunerClass.GetDefaultChild());
            if (child && child->parent == table[place])
                child->parent->defaultChild = child;
            ++place;
        }
    }

    Node& add(const QString& id, bool isClass, Node& parent)
    {
        m_nodes.push_back({id, isClass, nullptr, {}, nullptr});
        setParent(m_nodes.back(), &parent);
        return m_nodes.back();
    }

    bool setParent(Node& node, Node* parent)
    {
        if (!parent || !parent->isClass || parent == node.parent || &node == &m_nodes.front())
            return false;
        for (const Node* above = parent; above; above = above->parent) {
            if (above == &node)
                return false;
        }
        Node* const old = node.parent;
        parent->children.insert(node.isClass ? parent->children.end() : parent->children.begin(), &node);
        node.parent = parent;
        if (parent->children.size() == 1 && parent->id != QLatin1String("root"))
            parent->defaultChild = &node;
        if (old)
            deleteChild(*old, indexOf(*old, node), true);
        return true;
    }

    bool deleteChild(Node& node, int index, bool keep)
    {
        if (!node.isClass || index < 0 || index >= static_cast<int>(node.children.size()))
            return false;
        Node& child = *node.children[static_cast<std::size_t>(index)];
        if (node.children.size() >= 2 && node.defaultChild == &child)
            node.defaultChild = node.children[index == 0 ? 1 : 0];
        if (!keep) {
            for (const auto& nested : std::vector<Node*>(child.children)) {
                if (nested->isClass)
                    deleteChild(child, indexOf(child, *nested), false);
            }
            for (const auto& tuner : std::vector<Node*>(child.children))
                setParent(*tuner, &node);
            child.parent = nullptr;
        }
        node.children.erase(std::find(node.children.begin(), node.children.end(), &child));
        if (node.defaultChild == &child)
            node.defaultChild = node.children.empty() ? nullptr : node.children.front();
        return true;
    }

    void makeDefault(Node& node)
    {
        if (node.parent)
            node.parent->defaultChild = &node;
    }

    /// Depth-first, the root ahead.
    std::vector<Node*> nodes() { return below(m_nodes.front()); }
    /// "id(child *default ...)" for classes, "id" for tuners.
    QString text() const { return textOf(m_nodes.front()); }

private:
    static int indexOf(const Node& node, const Node& child)
    {
        const auto position = std::find(node.children.begin(), node.children.end(), &child);
        return static_cast<int>(position - node.children.begin());
    }
    static std::vector<Node*> below(Node& node)
    {
        std::vector<Node*> result{&node};
        for (Node* const child : node.children) {
            const auto more = below(*child);
            result.insert(result.end(), more.begin(), more.end());
        }
        return result;
    }
    static QString textOf(const Node& node)
    {
        QStringList children;
        for (const Node* const child : node.children)
            children.append(QLatin1String(child == node.defaultChild ? "*" : "") + textOf(*child));
        return node.isClass ? QStringLiteral("%1(%2)").arg(node.id, children.join(QLatin1Char(' ')))
                            : node.id;
    }

    std::deque<Node> m_nodes; ///< the root, and all that ever were
};
