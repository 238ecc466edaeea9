#pragma once

#include <values/tree.h>

#include <QObject>
#include <QString>

#include <memory>

namespace KoltaSimulation {

class Installation;

/// A server's short-time data in a value tree: publishes the collections and owns what clients can only ask
/// for, the types of profiles and the assignments of FFPs. Requests are executed in the next turn of the
/// event loop, in the order in which they came, and answered one by one. Lives on the tree's thread.
/// Everything may be called while a client is told of a change, but this must not be destroyed then.
class ShortTimeOwner : private IObserver
{
public:
    explicit ShortTimeOwner(const Installation& installation);
    /// Withdraws.
    ~ShortTimeOwner() override;

    /// Makes the collections, the profiles as the installation has them and the others empty; what was
    /// published before goes. The tree must outlive them.
    void publish(values::Tree& tree);
    /// Deletes the collections; open requests get no answer.
    void withdraw();

private:
    void Update(Observable* source, TChangeCode code) override;
    template<class Map>
    Map* find() const;
    template<class Map>
    bool publishOne(std::unique_ptr<Map> map);
    template<class Map>
    void withdrawOne();
    void answerAll();
    template<class Protocol, class Map, class Execute, class Reply>
    bool answer(const Execute& execute, const Reply& reply);

    const Installation& m_installation;
    values::Tree* m_tree = nullptr;
    QObject m_context;     ///< whose death withdraws the posted call
    int m_life = 0;        ///< counts publications and withdrawals
    bool m_posted = false; ///< answers are due
};

} // namespace KoltaSimulation
