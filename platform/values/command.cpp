#include <values/command.h>

#include <limits>

namespace values {

namespace {

constexpr std::size_t kSmallestCommand = sizeof(quint32) + sizeof(quint16) + sizeof(quint32);
constexpr quint8 kHeaderVersion = 1;

QString addressOf(const ValueBase& value)
{
    return value.GetTree() ? value.GetPath() : value.GetName();
}

} // namespace

ValueBase::CommandOnValue::CommandOnValue(int id, ValueBase& target, IObserver* originator)
    : m_target(&target), m_originator(originator), m_id(id)
{
}

void ValueBase::CommandOnValue::AddScope(CommandScope& /*scope*/) const {}

void ValueBase::CommandOnValue::AddCommandString(std::string& out, int flags) const
{
    const CommandFrame frame(out, m_id, GetTarget(), flags);
}

bool ValueBase::CommandOnValue::EatSemicolon(const char** stream, int available)
{
    if (available < 1 || **stream != ';')
        return false;
    ++*stream;
    return true;
}

CommandFrame::CommandFrame(std::string& out, int id, const ValueBase* target, int flags)
    : m_out(out), m_start(out.size())
{
    AppendInteger(out, quint32(0));
    AppendInteger(out, static_cast<quint16>(id));
    if (target && (flags & eTransmitTargetPath))
        AppendText(out, addressOf(*target));
    else
        AppendInteger(out, quint32(0));
    m_payload = out.size();
}

CommandFrame::~CommandFrame()
{
    PatchUInt32(m_out, m_start, static_cast<quint32>(m_out.size() - m_payload));
}

CommandTransaction::CommandTransaction(ValueBase& target, Commands commands, IObserver* originator)
    : CommandOnValue(eCommandTransaction, target, originator), m_commands(std::move(commands))
{
}

CommandTransaction::CommandTransaction(const CommandTransaction& other) : CommandOnValue(other)
{
    m_commands.reserve(other.m_commands.size());
    for (const auto& command : other.m_commands)
        m_commands.push_back(command->Clone());
}

std::unique_ptr<CommandTransaction> CommandTransaction::Read(ValueBase& target, ByteReader& in,
                                                             IObserver* originator)
{
    ByteReader at = in;
    quint32 count = 0;
    if (!at.ReadInteger(count) || count > at.Remaining() / kSmallestCommand)
        return nullptr;
    Commands commands;
    commands.reserve(count);
    for (quint32 i = 0; i < count; ++i) {
        // Looked at ahead, so that hostile bytes cannot nest without end.
        ByteReader ahead = at;
        quint16 id = 0;
        if (!ahead.Skip(sizeof(quint32)) || !ahead.ReadInteger(id) || id == eCommandTransaction)
            return nullptr;
        auto command = ReadCommand(target, at, originator);
        if (!command)
            return nullptr;
        commands.push_back(std::move(command));
    }
    in = at;
    return std::make_unique<CommandTransaction>(target, std::move(commands), originator);
}

void CommandTransaction::Execute()
{
    ValueBase* const target = GetTarget();
    if (!target)
        return;
    const auto transaction = target->CreateTransaction();
    for (const auto& command : m_commands)
        command->Execute();
}

void CommandTransaction::AddScope(CommandScope& scope) const
{
    for (const auto& command : m_commands)
        command->AddScope(scope);
}

void CommandTransaction::AddCommandString(std::string& out, int flags) const
{
    const CommandFrame frame(out, GetCommandId(), GetTarget(), flags);
    AppendInteger(out, static_cast<quint32>(m_commands.size()));
    for (const auto& command : m_commands)
        command->AddCommandString(out, flags);
}

std::unique_ptr<Command> CommandTransaction::Clone() const
{
    return std::make_unique<CommandTransaction>(*this);
}

bool ReadCommandHeader(ByteReader& in, CommandHeader& header)
{
    ByteReader at = in;
    CommandHeader read;
    quint16 id = 0;
    if (!at.ReadInteger(read.payload) || !at.ReadInteger(id) || !at.ReadText(read.path))
        return false;
    read.id = id;
    header = read;
    in = at;
    return true;
}

std::unique_ptr<Command> ReadCommand(ValueBase& target, ByteReader& in, IObserver* originator)
{
    ByteReader at = in;
    CommandHeader header;
    if (!ReadCommandHeader(at, header) || header.payload > at.Remaining() ||
        header.payload > static_cast<quint32>(std::numeric_limits<int>::max()))
        return nullptr;
    const char* position = at.Position();
    std::unique_ptr<Command> command(
        target.CreateNextCommand(header.id, &position, originator, static_cast<int>(header.payload)));
    if (!command || position != at.Position() + header.payload)
        return nullptr;
    at.Skip(header.payload);
    in = at;
    return command;
}

void AppendValueHeader(std::string& out, const ValueBase& value)
{
    const std::size_t start = out.size();
    AppendInteger(out, quint32(0));
    AppendInteger(out, kHeaderVersion);
    AppendInteger(out, static_cast<qint32>(value.GetType()));
    AppendInteger(out, static_cast<quint8>(value.GetState()));
    AppendText(out, addressOf(value));
    PatchUInt32(out, start, static_cast<quint32>(out.size() - start - sizeof(quint32)));
}

bool ReadValueHeader(ByteReader& in, ValueHeader& header)
{
    ByteReader at = in, part = in;
    quint32 size = 0;
    quint8 version = 0, state = 0;
    qint32 type = 0;
    QString path;
    if (!at.ReadInteger(size) || !at.Split(size, part) || !part.ReadInteger(version) ||
        version != kHeaderVersion || !part.ReadInteger(type) || !part.ReadInteger(state) ||
        state > eValueDeleted || !part.ReadText(path))
        return false;
    header = {type, static_cast<TValueState>(state), path};
    in = at;
    return true;
}

} // namespace values
