#pragma once

#include <koltacommon/servernodes.h>
#include <values/tree.h>

#include <QHash>
#include <QString>
#include <QVector>

#include <functional>

namespace KoltaSimulation {

namespace ServerNodes = Kolta::ServerNodes;

class Installation;

/// A text to be shown in the node of that name.
struct NodeText
{
    QString node;
    QString text;
};

/// What a client wrote.
struct Wish
{
    ServerNodes::eNode node; ///< eRequestsNode: a value that appeared below it, and is removed as it is read
    QString name;            ///< of the value
    QString text;
};

/// A server's administrative nodes in a value tree: publishes what the server says and hears what clients
/// ask. Lives on the tree's thread. Everything may be called while a client is told of a change, but this
/// must not be destroyed then.
class AdminNodes : private IObserver
{
public:
    /// Called with what a client wrote, or announced again; never with an empty text, except for a
    /// production.
    using WishHandler = std::function<void(const Wish& wish)>;

    AdminNodes(const Installation& installation, WishHandler handler);
    /// Withdraws.
    ~AdminNodes() override;

    /// Makes all nodes; the tree must outlive them. `texts` are those that are not always the same. The
    /// working state comes last, so that who hears of it finds everything else in place. Does nothing while
    /// they are published.
    void publish(values::Tree& tree, const QVector<NodeText>& texts, int workingState);
    /// Deletes all nodes. The working state goes first.
    void withdraw();
    bool isPublished() const noexcept { return m_published; }

    // The rest does nothing while nothing is published. Names are paths below "<base path>/ADMINISTRATION".

    /// Sets the text of a value, which is made if there is none.
    void setText(const QString& name, const QString& text);
    /// The same, and says it again where it stands already.
    void sayText(const QString& name, const QString& text);
    QString text(const QString& name) const;
    void remove(const QString& name);
    void setWorkingState(int state);

    /// Path of an administrative node: "<base path>/ADMINISTRATION/<name>".
    static QString path(const Installation& installation, const QString& name);

private:
    void Update(Observable* source, TChangeCode code) override;
    QString path(const QString& name) const { return path(m_installation, name); }
    bool writeAll(const QVector<NodeText>& texts);
    bool listen();
    void readRequests(values::TreeItem& node);

    const Installation& m_installation;
    WishHandler m_handler;
    values::Tree* m_tree = nullptr;
    QHash<Observable*, ServerNodes::eNode> m_requestNodes;
    /// Counts publications and withdrawals: who has told somebody something and finds another number
    /// afterwards has been overtaken and stops.
    int m_life = 0;
    bool m_published = false;
};

} // namespace KoltaSimulation
