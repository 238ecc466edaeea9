#pragma once

#include <values/tree.h>

#include <QHash>
#include <QString>

#include <functional>

namespace KoltaSimulation {

class Installation;

/// The nodes that clients write their wishes into.
enum class RequestNode { ChangedTuners, ChangedProcessingUnits, ChangedStorageUnits, UnitPowerControl };

/// A server's administrative nodes in a value tree: publishes what the server says and hears what clients
/// ask. Lives on the tree's thread.
class AdminNodes : private IObserver
{
public:
    /// Called with the text that a client wrote, or announced again; never with an empty one.
    using RequestHandler = std::function<void(RequestNode node, const QString& text)>;

    AdminNodes(const Installation& installation, values::Tree& tree, RequestHandler handler);
    /// Withdraws.
    ~AdminNodes() override;

    /// What the nodes hold that changes in a server's life.
    struct Content
    {
        QString resources; ///< XML text of the resource overview
        int workingState = 0;
        QString status;
    };
    /// Makes all nodes. The working state comes last, so that who hears of it finds everything else in place.
    void publish(const Content& content);
    /// Deletes all nodes. The working state goes first.
    void withdraw();
    bool isPublished() const noexcept { return m_published; }

    void setResources(const QString& xml);
    void setWorkingState(int state);
    void setStatus(const QString& text);

    /// Path of an administrative node: "<base path>/ADMINISTRATION/<name>".
    static QString path(const Installation& installation, const QString& name);

private:
    void Update(Observable* source, TChangeCode code) override;
    QString path(const QString& name) const { return path(m_installation, name); }
    void setText(const QString& name, const QString& text);
    void listen(const QString& name, RequestNode node);

    const Installation& m_installation;
    values::Tree& m_tree;
    RequestHandler m_handler;
    QHash<Observable*, RequestNode> m_requestNodes;
    bool m_published = false;
};

} // namespace KoltaSimulation
