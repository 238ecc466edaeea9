#pragma once

#include <koltacommon/operation.h>

#include <values/observable.h>

#include <QCoreApplication>
#include <QUuid>

namespace Kolta {

/// An operation on a collection in the value tree: begins only while that exists, looks at it after each
/// change, and ends as Lost when it is deleted. The collection may die at any time. Lives on the value tree's
/// thread.
template<class Map>
class MapOperation : public Operation, protected IObserver
{
protected:
    MapOperation(Map& map, QObject* parent) : Operation(parent), m_map(&map) { m_map->Attach(this); }
    ~MapOperation() override
    {
        if (Map* const attached = map())
            attached->Detach(this);
    }

    /// The begin of a derived class, with the collection there.
    virtual void ask(Map& map) = 0;
    /// After each change.
    virtual void look(const Map& map) = 0;
    /// From here on what is asked for may be done.
    void setAsked() noexcept { m_asked = true; }

    void begin() final
    {
        if (!map())
            settleLost();
        else if (map()->IsDeleted())
            refuse(Reason::NotConnected,
                   QCoreApplication::translate("Kolta::MapOperation", "the collection does not exist"));
        else
            ask(*map());
    }
    void cancelBegun() override { settleGivenUp(Effect::Unknown, QString()); }
    void timeIsOver() override { settleGivenUp(Effect::Unknown, QString()); }
    void settleLost()
    {
        settle(State::Lost, m_asked ? Effect::Unknown : Effect::None, Reason::ServerGone,
               QCoreApplication::translate("Kolta::MapOperation", "the collection was deleted"));
    }

private:
    /// Null when it has died.
    Map* map() const { return IsAttachedTo(m_map) ? m_map : nullptr; }

    void Update(Observable* source, TChangeCode code) override
    {
        Q_UNUSED(source)
        Q_UNUSED(code)
        if (!m_asked || isFinished())
            return;
        if (!map() || map()->IsDeleted())
            settleLost();
        else
            look(*map());
    }

    Map* const m_map;
    bool m_asked = false;
};

/// One request to the owner of a collection, and its answer: done without an error, else refused. A request
/// that nobody will answer any more ends as Lost. It cannot be taken back.
template<class Map>
class MapRequestOperation : public MapOperation<Map>
{
public:
    /// Known from the beginning.
    const QUuid& id() const noexcept { return m_id; }

protected:
    using MapOperation<Map>::MapOperation;

    /// Makes the request under id().
    virtual void open(Map& map) = 0;

private:
    void ask(Map& map) final
    {
        this->setAsked();
        this->setProgress(QCoreApplication::translate("Kolta::MapOperation", "waiting for the answer"));
        open(map); // which may be answered at once, and end this
    }
    void look(const Map& map) final
    {
        const QString* const error = map.FindReply(m_id);
        if (!error)
            return;
        if (error->isEmpty())
            this->settleDone();
        else if (map.WasEnded(m_id))
            this->settle(Operation::State::Lost, Operation::Effect::Unknown, Operation::Reason::ServerGone,
                         *error);
        else
            this->refuse(Operation::Reason::RefusedByServer, *error);
    }

    const QUuid m_id = QUuid::createUuid();
};

} // namespace Kolta
