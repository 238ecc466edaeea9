#include <values/replication.h>

#include <startup/tracesource.h>

#include <algorithm>
#include <exception>
#include <utility>

namespace values {

namespace {

/// First byte of each message.
enum MessageKind : quint8 {
    eRequestMessage = 1,
    eStateMessage = 2,
    eGroupMessage = 3,
    eAcknowledgeMessage = 4
};

constexpr quint8 kProtocolVersion = 1;
/// A peer that makes up origins must not cost memory for each.
constexpr std::size_t kMaximumOrigins = 1000;
/// Larger buffers are given back after use.
constexpr std::size_t kKeptBody = 65536;

enum eTracePoint : int {
    eRecorderGone = 1,
    eUnfitMessage = 2,
    eMessageException = 3,
    eGroupsMissing = 4,
    eObserverException = 5
};
constexpr Startup::TraceSource kTrace("platform/values/replication", Startup::eTraceError);

/// What observers throw must not keep the rest of a message from being executed.
template<class Call>
void traceExceptions(const Call& call)
{
    try {
        call();
    } catch (...) {
        kTrace(eObserverException, Startup::CurrentExceptionText());
    }
}

/// The commands of a transaction one by one, any other command as it is. Nested ones do not exist.
template<class AnyCommand, class Call>
void forEachPart(AnyCommand& command, const Call& call)
{
    const auto* const all = dynamic_cast<const CommandTransaction*>(&command);
    if (!all) {
        call(command);
        return;
    }
    for (const auto& part : all->GetCommands())
        call(*part);
}

/// A message that was cut between two commands must not pass for a shorter one.
bool readRestSize(ByteReader& in)
{
    quint32 size = 0;
    return in.ReadInteger(size) && size == in.Remaining();
}

std::string messageOf(MessageKind kind, std::size_t size)
{
    std::string message;
    message.reserve(1 + size);
    AppendInteger(message, kind);
    return message;
}

} // namespace

/// Stands for a remote replica as the originator of what a link brings from there. Nobody attaches it.
class Replica::Origin final : public IObserver
{
public:
    Origin(const ReplicaLink& bringer, const QUuid& replica) : link(&bringer), id(replica) {}
    void Update(Observable* /*source*/, TChangeCode /*code*/) override {}

    const Weak<const ReplicaLink> link; ///< null once it has died, when another may have its address
    const QUuid id;
};

Replica::Replica(ValueBase& value, const QUuid& id) : m_value(&value), m_id(id) {}

Replica::~Replica()
{
    for (ReplicaLink* const link : m_links)
        link->m_replica = nullptr;
    if (ValueBase* const value = GetValue())
        value->RemoveRecorder(this);
}

bool Replica::add(ReplicaLink& link)
{
    ValueBase* const value = GetValue();
    if (!value || !value->InstallRecorder(this))
        return false;
    m_links.push_back(&link);
    return true;
}

void Replica::remove(const ReplicaLink& link)
{
    m_links.erase(std::remove(m_links.begin(), m_links.end(), &link), m_links.end());
    ValueBase* const value = GetValue();
    if (m_links.empty() && value)
        value->RemoveRecorder(this);
}

void Replica::OnCommand(ValueBase& /*value*/, std::unique_ptr<Command> command)
{
    m_group.clear();
    forEachPart(*command, [this](const Command& part) {
        const auto* const onValue = dynamic_cast<const ValueBase::CommandOnValue*>(&part);
        IObserver* const originator = onValue ? onValue->GetOriginator() : nullptr;
        m_group.push_back({&part, originator ? dynamic_cast<const Origin*>(originator) : nullptr});
    });
    std::size_t encoded = m_group.size();
    for (ReplicaLink* const link : m_links) {
        const std::size_t first = firstFor(*link);
        if (!link->isListening() || first == m_group.size())
            continue;
        if (!link->m_stateDue && std::exchange(encoded, first) != first)
            encodeFrom(first);
        link->send(m_group, first, m_body);
    }
    if (m_body.capacity() > kKeptBody)
        std::string().swap(m_body);
}

/// A link is spared what it brought itself, up to the first change from elsewhere: what it brought after that
/// follows that one here, so it must follow it at the peer too.
std::size_t Replica::firstFor(const ReplicaLink& link) const
{
    const auto other = std::find_if(m_group.begin(), m_group.end(), [&link](const Entry& entry) {
        return !entry.origin || entry.origin->link.Get() != &link;
    });
    return static_cast<std::size_t>(other - m_group.begin());
}

/// Consecutive commands of one origin are a section: the origin's ID and one command.
void Replica::encodeFrom(std::size_t first)
{
    const auto originOf = [this](const Entry& entry) -> const QUuid& {
        return entry.origin ? entry.origin->id : m_id;
    };
    m_body.clear();
    while (first < m_group.size()) {
        std::size_t end = first + 1;
        while (end < m_group.size() && originOf(m_group[end]) == originOf(m_group[first]))
            ++end;
        AppendUuid(m_body, originOf(m_group[first]));
        if (end - first == 1) {
            m_group[first++].command->AddCommandString(m_body, eTransmitPlain);
            continue;
        }
        const CommandFrame frame(m_body, eCommandTransaction, nullptr, eTransmitPlain);
        AppendInteger(m_body, static_cast<quint32>(end - first));
        for (; first < end; ++first)
            m_group[first].command->AddCommandString(m_body, eTransmitPlain);
    }
}

void Replica::OnContentReplaced(ValueBase& /*value*/)
{
    for (ReplicaLink* const link : m_links) {
        if (!link->isListening())
            continue;
        if (link->m_role == LinkRole::Primary)
            link->sendStateAnew();
        else
            link->requestState();
    }
}

ReplicaLink::ReplicaLink(Replica& replica, LinkRole role, ConflictPolicy policy)
    : m_replica(&replica), m_role(role), m_policy(std::move(policy))
{
    if (!replica.add(*this))
        fail(eRecorderGone, QStringLiteral("the value is gone or has another recorder"));
    else if (role == LinkRole::Secondary)
        requestState();
}

ReplicaLink::~ReplicaLink()
{
    if (m_replica)
        m_replica->remove(*this);
}

bool ReplicaLink::HasOutgoing() const
{
    const ValueBase* const alive = value();
    if (m_broken || !alive)
        return false;
    return !m_queue.empty() || m_acknowledgeDue || isStateReady();
}

/// Not in the middle of a message of the peer: its changes may have been replaced already while they still
/// count as on their way, and the peer would keep them.
bool ReplicaLink::isStateReady() const
{
    return m_stateDue && !m_receiving && !value()->IsDeleted();
}

std::string ReplicaLink::TakeOutgoing()
{
    if (!HasOutgoing())
        return std::string();
    if (!m_queue.empty()) {
        std::string message = std::move(m_queue.front());
        m_queue.pop_front();
        m_queuedBytes -= message.size();
        return message;
    }
    m_acknowledgeDue = false;
    if (isStateReady()) {
        m_stateDue = false;
        std::string message = messageOf(eStateMessage, 0);
        AppendInteger(message, m_sent);
        AppendInteger(message, m_received);
        AppendUuid(message, m_replica->GetId());
        const std::size_t size = message.size();
        AppendInteger(message, quint32(0));
        value()->AddObjectStateStringForTransmission(message, eTransmitPlain);
        PatchUInt32(message, size, static_cast<quint32>(message.size() - size - sizeof(quint32)));
        return message;
    }
    std::string message = messageOf(eAcknowledgeMessage, sizeof m_received);
    AppendInteger(message, m_received);
    return message;
}

void ReplicaLink::enqueue(std::string message)
{
    m_queuedBytes += message.size();
    m_queue.push_back(std::move(message));
    wakeUp();
}

void ReplicaLink::wakeUp() const
{
    if (m_wakeUp)
        m_wakeUp();
}

/// Sends the group from its entry `first` on, which is encoded in `body` unless the state will contain it.
void ReplicaLink::send(const Replica::Group& group, std::size_t first, const std::string& body)
{
    ++m_sent;
    if (m_role == LinkRole::Secondary || m_policy) {
        CommandScope scope;
        for (std::size_t i = first; i < group.size(); ++i)
            group[i].command->AddScope(scope);
        m_pending.Add(m_sent, std::move(scope));
    }
    if (m_stateDue)
        return;
    std::string message = messageOf(eGroupMessage, 2 * sizeof(quint64) + sizeof(quint32) + body.size());
    AppendInteger(message, m_sent);
    AppendInteger(message, m_received);
    AppendInteger(message, static_cast<quint32>(body.size()));
    message += body;
    m_acknowledgeDue = false;
    enqueue(std::move(message));
}

void ReplicaLink::sendStateAnew()
{
    m_stateDue = true;
    m_queue.clear();
    m_queuedBytes = 0;
    wakeUp();
}

/// Asked in line with the groups, so that the state that comes contains all that were sent before.
void ReplicaLink::requestState()
{
    if (!m_queue.empty() && m_queue.back().front() == eRequestMessage)
        return;
    std::string message = messageOf(eRequestMessage, 1 + sizeof(QUuid));
    AppendInteger(message, kProtocolVersion);
    AppendUuid(message, m_replica->GetId());
    enqueue(std::move(message));
}

bool ReplicaLink::Receive(const char* bytes, std::size_t size)
{
    if (m_broken || !value())
        return false;
    if (m_receiving) {
        m_incoming.emplace_back(bytes, size);
        return true;
    }
    const Weak<ReplicaLink> self(this);
    m_receiving = true;
    bool usable = process(ByteReader(bytes, size));
    while (self && usable && !m_incoming.empty()) {
        const std::string message = std::move(m_incoming.front());
        m_incoming.pop_front();
        usable = process(ByteReader(message.data(), message.size()));
    }
    if (!self)
        return false;
    m_receiving = false;
    if (usable)
        wakeUp();
    return usable;
}

/// False when the link is broken now, or gone.
bool ReplicaLink::process(ByteReader in)
{
    if (!value())
        return false;
    const Weak<ReplicaLink> self(this);
    quint8 kind = 0;
    in.ReadInteger(kind);
    try {
        const bool taken = kind == eRequestMessage       ? takeRequest(in)
                           : kind == eStateMessage       ? takeState(in)
                           : kind == eGroupMessage       ? takeGroup(in)
                           : kind == eAcknowledgeMessage ? takeAcknowledgement(in)
                                                         : false;
        if (self && !taken && !m_broken)
            fail(eUnfitMessage, QStringLiteral("message %1 does not fit").arg(kind));
    } catch (...) {
        if (self)
            fail(eMessageException, Startup::CurrentExceptionText());
    }
    return self && !m_broken;
}

bool ReplicaLink::takeRequest(ByteReader& in)
{
    quint8 version = 0;
    QUuid peer;
    if (m_role != LinkRole::Primary || !in.ReadInteger(version) || version != kProtocolVersion ||
        !in.ReadUuid(peer) || !in.AtEnd())
        return false;
    m_peer = peer;
    m_active = true;
    sendStateAnew();
    return true;
}

bool ReplicaLink::takeState(ByteReader& in)
{
    quint64 number = 0, received = 0;
    QUuid peer;
    ValueHeader header;
    if (m_role != LinkRole::Secondary || !in.ReadInteger(number) || number < m_received ||
        !in.ReadInteger(received) || !isSent(received) || !in.ReadUuid(peer) || !readRestSize(in) ||
        !ReadValueHeader(in, header) || header.type != value()->GetType())
        return false;
    std::size_t commands = 0;
    if (!ForEachCommand(*value(), in, nullptr, [&commands](const Command&) { ++commands; }))
        return false;
    m_peer = peer;
    m_active = true;
    acknowledged(received);
    value()->ExpectItems(commands);
    const std::shared_ptr<Origin> origin = originFor(peer);
    apply(number, [&](const auto& run) {
        ValueBase& target = *value();
        const Weak<ValueBase> alive(&target);
        traceExceptions([&] { EndStaleRequests(target, in, m_pending, origin.get()); });
        if (alive)
            ForEachCommand(target, in, origin.get(), [&](Command& command) { run(command, *origin); });
    });
    return true;
}

bool ReplicaLink::takeGroup(ByteReader& in)
{
    quint64 number = 0, received = 0;
    if (!m_active || !in.ReadInteger(number) || !in.ReadInteger(received) || !isSent(received) ||
        !readRestSize(in) || in.AtEnd())
        return false;
    if (number <= m_received)
        return true; // it was carried twice
    if (number != m_received + 1) {
        fail(eGroupsMissing, QStringLiteral("group %1 came after %2").arg(number).arg(m_received));
        return false;
    }
    Sections sections;
    while (!in.AtEnd()) {
        QUuid origin;
        if (!in.ReadUuid(origin))
            return false;
        Section section{originFor(origin), nullptr};
        section.command = ReadCommand(*value(), in, section.origin.get());
        if (!section.command)
            return false;
        sections.push_back(std::move(section));
    }
    acknowledged(received);
    apply(number, [&sections](const auto& run) {
        for (const Section& section : sections)
            run(*section.command, *section.origin);
    });
    return true;
}

bool ReplicaLink::takeAcknowledgement(ByteReader& in)
{
    quint64 received = 0;
    if (!in.ReadInteger(received) || !in.AtEnd() || !isSent(received))
        return false;
    acknowledged(received);
    return true;
}

void ReplicaLink::acknowledged(quint64 number)
{
    m_acknowledged = std::max(m_acknowledged, number);
    m_pending.Acknowledge(m_acknowledged);
}

std::shared_ptr<Replica::Origin> ReplicaLink::originFor(const QUuid& id)
{
    const auto found = m_origins.find(id);
    if (found != m_origins.end())
        return found->second;
    if (m_origins.size() >= kMaximumOrigins)
        m_origins.clear(); // a message that is being executed keeps its own
    return m_origins.emplace(id, std::make_shared<Origin>(*this, id)).first->second;
}

/// Executes what `forEach` hands on with its origin, as one transaction and to the end even when an observer
/// deletes this. What is recorded meanwhile is sent when the transaction closes, and then says that this
/// group has been received.
template<class ForEach>
void ReplicaLink::apply(quint64 number, const ForEach& forEach)
{
    const Weak<ReplicaLink> self(this);
    const auto transaction = value()->CreateTransaction();
    forEach([&self](Command& command, Origin& origin) {
        // One by one, since the policy is asked for each.
        forEachPart(command, [&](Command& part) {
            traceExceptions([&] {
                if (self)
                    self.Get()->execute(part, origin);
                else
                    part.Execute();
            });
        });
    });
    if (self) {
        m_received = number;
        m_acknowledgeDue = true;
    }
}

/// Executes a remote command but for keys at which the policy drops it. Afterwards this may be gone.
void ReplicaLink::execute(Command& command, Origin& origin)
{
    ValueBase* const target = value();
    if (m_pending.IsEmpty() || !target) {
        command.Execute();
        return;
    }
    const auto isKeyDropped = [&](const std::string& key) {
        return m_pending.ContainsKey(key) && isDropped({m_role, origin.id, command, key});
    };
    const auto isRequestDropped = [&](const std::string& request) {
        return m_pending.ContainsRequest(request) && isDropped({m_role, origin.id, command, request});
    };
    CommandScope scope;
    command.AddScope(scope);
    if (scope.everyKey)
        target->EraseKeys([&](const std::string& key) { return !isKeyDropped(key); }, &origin);
    else if (std::none_of(scope.keys.begin(), scope.keys.end(), isKeyDropped) &&
             std::none_of(scope.requests.begin(), scope.requests.end(), isRequestDropped))
        command.Execute();
}

bool ReplicaLink::isDropped(const Conflict& conflict) const
{
    if (m_policy)
        return m_policy(conflict) == RemoteChange::Drop;
    return m_role == LinkRole::Secondary;
}

void ReplicaLink::fail(int tracePoint, const QString& reason)
{
    m_broken = true;
    m_queue.clear();
    m_queuedBytes = 0;
    m_incoming.clear();
    const ValueBase* const of = value();
    kTrace(
        static_cast<eTracePoint>(tracePoint),
        QStringLiteral("The link of value \"%1\" is broken: %2").arg(of ? of->GetPath() : QString(), reason));
    wakeUp();
}

} // namespace values
