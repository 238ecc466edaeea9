#pragma once

#include <koltacommon/export.h>
#include <values/command.h>
#include <values/valueitemmap.h>

#include <QCoreApplication>
#include <QHash>
#include <QScopeGuard>
#include <QString>
#include <QUuid>

#include <memory>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

/// \file
/// Collections whose clients ask for changes instead of making them: a client opens a request, the owner of
/// the data makes the change and replies. Both travel as commands, so every mirror knows the open requests.
///
/// What distinguishes one such collection is its Protocol, a structure with
///
/// | Map                          | the ValueItemMap below the collection                                   |
/// | Request                      | what is asked for                                                       |
/// | RequestCommand, ReplyCommand | the command classes, derived from the templates here                    |
/// | requestId, replyId           | their identifiers                                                       |
/// | requestKind, replyKind       | kinds of the entries in the change log, whose key is the request's UUID |
/// | AppendRequest, ReadRequest   | write and read a Request as part of a payload                           |

namespace Kolta {

/// Open requests by their UUID.
struct KOLTA_COMMON_EXPORT RequestIdHash
{
    std::size_t operator()(const QUuid& id) const noexcept { return qHash(id); }
};

/// A collection with the protocol. The operations are named by the classes that derive from it.
template<class Protocol>
class ItemMapWithRequests : public Protocol::Map
{
    using Base = typename Protocol::Map;

public:
    using Request = typename Protocol::Request;
    using PendingRequests = std::unordered_map<QUuid, Request, RequestIdHash>;

    /// Nameless and empty, for the tree to fill.
    ItemMapWithRequests() = default;
    explicit ItemMapWithRequests(const QString& name, values::TValueState state = values::eValueValid)
        : Base(name, state)
    {
    }
    /// The copy has the same open requests, less those that are being answered at present.
    ItemMapWithRequests(const ItemMapWithRequests& other)
        : values::ValueBase(other), Base(other), m_pending(other.unanswered())
    {
    }
    ItemMapWithRequests& operator=(const ItemMapWithRequests&) = delete;

    /// The open requests. While observers are told of a reply, its request is still there.
    const PendingRequests& GetPendingRequests() const noexcept { return m_pending; }
    /// The error text of the reply of which observers are being told at present (empty: the request
    /// succeeded); null while none to that request is.
    const QString* FindReply(const QUuid& id) const
    {
        const auto found = m_replies.find(id);
        return found == m_replies.end() ? nullptr : &found->second;
    }

    /// Whether the reply that FindReply() finds is none: nobody will answer the request any more, see
    /// EndRequests().
    bool WasEnded(const QUuid& id) const { return m_ended.count(id) > 0; }

    /// Takes over the open requests too, as a copy does.
    bool Assign(const values::ValueBase& other) override
    {
        const auto* const same = dynamic_cast<const ItemMapWithRequests*>(&other);
        if (same && same != this) {
            m_pending = same->unanswered();
            m_replies.clear();
        }
        return Base::Assign(other);
    }
    /// The items, then the open requests. One that is being answered at present is left out: its reply has
    /// been recorded, so whoever reads this would wait for another one in vain.
    void AddObjectStateStringForTransmission(std::string& out, unsigned int flags) override
    {
        Base::AddObjectStateStringForTransmission(out, flags);
        for (const auto& [id, request] : m_pending) {
            if (!FindReply(id))
                typename Protocol::RequestCommand(*this, id, request, nullptr)
                    .AddCommandString(out, static_cast<int>(flags));
        }
    }
    values::Command* CreateNextCommand(int id, const char** stream, IObserver* observer,
                                       int available) override;
    /// Answers them with an error: their owner was restarted, or has replied while this was out of touch.
    void EndRequests(const values::ValueBase::KeyFilter& isStale, IObserver* observer,
                     const QString& error = QString()) override;

protected:
    /// Opens a request, under a fresh UUID when `id` is null, and returns its UUID; null for a tombstone.
    QUuid OpenRequest(const Request& request, QUuid id, IObserver* observer);
    /// Answers an open request, which stays readable until the observers have been told. False, and nothing
    /// happens, when it is not open or is being answered at present: each has one reply.
    bool Reply(const QUuid& id, const QString& error, IObserver* observer);
    void ClearContent() override
    {
        m_pending.clear();
        m_replies.clear();
        Base::ClearContent();
    }

private:
    template<class>
    friend class RequestCommand;
    template<class>
    friend class ReplyCommand;

    PendingRequests unanswered() const
    {
        PendingRequests requests = m_pending;
        for (const auto& [id, error] : m_replies)
            requests.erase(id);
        return requests;
    }

    PendingRequests m_pending;
    std::unordered_map<QUuid, QString, RequestIdHash> m_replies; ///< being told at present
    std::unordered_set<QUuid, RequestIdHash> m_ended;            ///< of these, those that are none
};

/// Repeats the opening of a request.
template<class Protocol>
class RequestCommand : public values::ValueBase::CommandOnValue
{
public:
    using Map = ItemMapWithRequests<Protocol>;
    using Request = typename Protocol::Request;

    RequestCommand(Map& map, const QUuid& id, Request request, IObserver* originator)
        : CommandOnValue(Protocol::requestId, map, originator)
        , m_map(&map)
        , m_id(id)
        , m_request(std::move(request))
    {
    }

    /// Of the request that is opened.
    const QUuid& GetRequestId() const noexcept { return m_id; }

    void Execute() override
    {
        if (GetTarget())
            m_map->OpenRequest(m_request, m_id, GetOriginator());
    }
    void AddScope(values::CommandScope& scope) const override
    {
        values::AppendUuid(scope.requests.emplace_back(), m_id);
    }
    void AddCommandString(std::string& out, int flags) const override
    {
        const values::CommandFrame frame(out, GetCommandId(), GetTarget(), flags);
        values::AppendUuid(out, m_id);
        Protocol::AppendRequest(out, m_request);
    }
    std::unique_ptr<values::Command> Clone() const override
    {
        using Self = typename Protocol::RequestCommand;
        return std::make_unique<Self>(static_cast<const Self&>(*this));
    }

protected:
    const Request& GetRequest() const noexcept { return m_request; }

private:
    Map* m_map; ///< the target
    QUuid m_id;
    Request m_request;
};

/// Repeats a reply.
template<class Protocol>
class ReplyCommand : public values::ValueBase::CommandOnValue
{
public:
    using Map = ItemMapWithRequests<Protocol>;

    ReplyCommand(Map& map, const QUuid& id, QString error, IObserver* originator)
        : CommandOnValue(Protocol::replyId, map, originator), m_map(&map), m_id(id), m_error(std::move(error))
    {
    }

    /// Of the request that is answered.
    const QUuid& GetRequestId() const noexcept { return m_id; }
    /// Why the request failed; empty when it succeeded.
    const QString& GetError() const noexcept { return m_error; }
    bool WasSuccessful() const noexcept { return m_error.isEmpty(); }

    void Execute() override
    {
        if (GetTarget())
            m_map->Reply(m_id, m_error, GetOriginator());
    }
    void AddScope(values::CommandScope& scope) const override
    {
        values::AppendUuid(scope.requests.emplace_back(), m_id);
    }
    void AddCommandString(std::string& out, int flags) const override
    {
        const values::CommandFrame frame(out, GetCommandId(), GetTarget(), flags);
        values::AppendUuid(out, m_id);
        values::AppendText(out, m_error);
    }
    std::unique_ptr<values::Command> Clone() const override
    {
        using Self = typename Protocol::ReplyCommand;
        return std::make_unique<Self>(static_cast<const Self&>(*this));
    }

private:
    Map* m_map; ///< the target
    QUuid m_id;
    QString m_error;
};

template<class Protocol>
values::Command* ItemMapWithRequests<Protocol>::CreateNextCommand(int id, const char** stream,
                                                                  IObserver* observer, int available)
{
    if (id != Protocol::requestId && id != Protocol::replyId)
        return Base::CreateNextCommand(id, stream, observer, available);
    if (available < 0)
        return nullptr;
    values::ByteReader in(*stream, static_cast<std::size_t>(available));
    std::unique_ptr<values::Command> command;
    QUuid request;
    QString error;
    Request wanted;
    // Without a UUID every mirror would open the request under one of its own.
    if (!in.ReadUuid(request) || (id == Protocol::requestId && request.isNull()))
        return nullptr;
    if (id == Protocol::requestId && Protocol::ReadRequest(in, wanted))
        command = std::make_unique<typename Protocol::RequestCommand>(*this, request, wanted, observer);
    else if (id == Protocol::replyId && in.ReadText(error))
        command = std::make_unique<typename Protocol::ReplyCommand>(*this, request, error, observer);
    if (command)
        *stream = in.Position();
    return command.release();
}

template<class Protocol>
QUuid ItemMapWithRequests<Protocol>::OpenRequest(const Request& request, QUuid id, IObserver* observer)
{
    if (this->IsDeleted())
        return QUuid();
    if (id.isNull())
        id = QUuid::createUuid();
    m_pending[id] = request;
    m_replies.erase(id);
    this->AddChange(Protocol::requestKind, id.toString());
    if (this->Record())
        this->RecordCommand(new typename Protocol::RequestCommand(*this, id, request, observer));
    this->Changed(eChangeValue, observer);
    return id;
}

template<class Protocol>
bool ItemMapWithRequests<Protocol>::Reply(const QUuid& id, const QString& error, IObserver* observer)
{
    if (m_pending.count(id) == 0 || !m_replies.emplace(id, error).second)
        return false;
    // The caller's UUID may be the key of the entry that is about to go.
    const QUuid answered = id;
    const values::Weak<values::ValueBase> alive(this);
    // Also when an observer throws. One may have deleted the map, or opened a request under the same UUID
    // again.
    const auto close = qScopeGuard([&] {
        if (alive && m_replies.erase(answered) > 0)
            m_pending.erase(answered);
    });
    this->AddChange(Protocol::replyKind, answered.toString());
    if (this->Record())
        this->RecordCommand(new typename Protocol::ReplyCommand(*this, answered, error, observer));
    this->Changed(eChangeValue, observer);
    return true;
}

template<class Protocol>
void ItemMapWithRequests<Protocol>::EndRequests(const values::ValueBase::KeyFilter& isStale,
                                                IObserver* observer, const QString& error)
{
    std::vector<QUuid> stale;
    for (const auto& [id, request] : m_pending) {
        std::string field;
        values::AppendUuid(field, id);
        if (isStale(field))
            stale.push_back(id);
    }
    const QString text =
        error.isEmpty()
            ? QCoreApplication::translate("Kolta::ItemMapWithRequests",
                                          "The outcome of the request is unknown; it may have been granted.")
            : error;
    this->ForEachWhileAlive(stale, observer, [&](const QUuid& id, IObserver* originator) {
        const values::Weak<values::ValueBase> alive(this);
        if (error.isEmpty())
            m_ended.insert(id);
        const auto forget = qScopeGuard([&] {
            if (alive)
                m_ended.erase(id);
        });
        Reply(id, text, originator);
    });
}

} // namespace Kolta
