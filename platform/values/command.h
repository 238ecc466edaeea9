#pragma once

#include <values/bytestream.h>
#include <values/export.h>
#include <values/value.h>

#include <QString>

#include <memory>
#include <string>
#include <vector>

namespace values {

/// Identifiers of commands; they travel, so they never change. Values may add their own from 23 up.
enum eCommandId : int {
    eCommandTransaction = 1, ///< several commands as one
    eCommandMapSetAt = 20,
    eCommandMapEraseAt = 21,
    eCommandMapClear = 22
};

/// How commands and states are written; a sum of bits.
enum eTransmissionFlag : int {
    eTransmitPlain = 0,
    eTransmitTargetPath = 1 ///< each command names its target; otherwise the channel is bound to one value
};

/// What of their value commands write.
struct CommandScope
{
    bool everyKey = false;
    std::vector<std::string> keys;     ///< of items: key fields as they are transmitted
    std::vector<std::string> requests; ///< identifiers of requests, in the form of their author
};

/// A change that can be repeated: kept, transmitted, and executed on an equal value elsewhere.
class KOLTA_VALUES_EXPORT Command
{
public:
    virtual ~Command() = default;
    /// Makes the change. Observers are called and may do anything but delete the command.
    virtual void Execute() = 0;
    /// Adds the keys of the items that it writes, and the requests that it opens or ends.
    virtual void AddScope(CommandScope& scope) const = 0;
    /// Appends header and payload. `flags`: eTransmissionFlag.
    virtual void AddCommandString(std::string& out, int flags) const = 0;
    virtual std::unique_ptr<Command> Clone() const = 0;

    Command& operator=(const Command&) = delete;

protected:
    Command() = default;
    Command(const Command&) = default;
};

/// A command on one value. Target and originator may die before it is executed: without target it does
/// nothing, without originator it names nobody, so that everybody is told.
class KOLTA_VALUES_EXPORT ValueBase::CommandOnValue : public Command
{
public:
    int GetCommandId() const noexcept { return m_id; }
    /// Null once it has died.
    ValueBase* GetTarget() const noexcept { return m_target.Get(); }
    /// Who made or brings the change; null for nobody, and once it has died.
    IObserver* GetOriginator() const noexcept { return m_originator.Get(); }

    void AddScope(CommandScope& scope) const override;
    /// Appends the header of a command without payload. Those that have one use CommandFrame instead.
    void AddCommandString(std::string& out, int flags) const override;
    /// Skips one ";" of at most `available` bytes; false, and nothing is skipped, when something else stands
    /// there.
    static bool EatSemicolon(const char** stream, int available);

protected:
    CommandOnValue(int id, ValueBase& target, IObserver* originator);

private:
    Weak<ValueBase> m_target;
    Weak<IObserver> m_originator;
    int m_id;
};

/// Writes a command's header and, when it goes, the length of what was appended since: the payload.
class KOLTA_VALUES_EXPORT CommandFrame
{
public:
    /// `target` may be null.
    CommandFrame(std::string& out, int id, const ValueBase* target, int flags);
    ~CommandFrame();
    CommandFrame(const CommandFrame&) = delete;
    CommandFrame& operator=(const CommandFrame&) = delete;

private:
    std::string& m_out;
    std::size_t m_start;
    std::size_t m_payload;
};

/// Several commands on one value as one: executed, recorded and transmitted together.
class KOLTA_VALUES_EXPORT CommandTransaction : public ValueBase::CommandOnValue
{
public:
    using Commands = std::vector<std::unique_ptr<Command>>;
    CommandTransaction(ValueBase& target, Commands commands, IObserver* originator = nullptr);
    CommandTransaction(const CommandTransaction& other);
    /// Reads the payload; null when it does not fit or holds another transaction.
    static std::unique_ptr<CommandTransaction> Read(ValueBase& target, ByteReader& in, IObserver* originator);

    const Commands& GetCommands() const noexcept { return m_commands; }

    /// Executes all, within a transaction of the target.
    void Execute() override;
    void AddScope(CommandScope& scope) const override;
    void AddCommandString(std::string& out, int flags) const override;
    std::unique_ptr<Command> Clone() const override;

private:
    Commands m_commands;
};

/// Gets the commands of the values that it is installed in. Called in the middle of a change, on the thread
/// of the values: it writes down what it needs and returns, it changes no value and calls nobody who might.
class KOLTA_VALUES_EXPORT ICommandRecorder
{
public:
    virtual ~ICommandRecorder() = default;
    /// A change was made: one command, or a CommandTransaction.
    virtual void OnCommand(ValueBase& value, std::unique_ptr<Command> command) = 0;
    /// See ValueBase::AnnounceBulkUpdate(); what changes follows as commands all the same.
    virtual void OnBulkUpdate(ValueBase& /*value*/, IObserver* /*originator*/, bool /*replace*/,
                              bool /*difference*/)
    {
    }
    /// The content was replaced without commands: what has been recorded so far no longer leads to it.
    virtual void OnContentReplaced(ValueBase& /*value*/) {}
};

/// The header before each command's payload.
struct CommandHeader
{
    quint32 payload = 0; ///< bytes that follow
    int id = 0;
    QString path; ///< of the target; empty when the sender left it out
};
KOLTA_VALUES_EXPORT bool ReadCommandHeader(ByteReader& in, CommandHeader& header);
/// Reads header and payload of a command on `target`; null when anything does not fit, the payload's length
/// included. `originator` is whom the command names when it is executed.
KOLTA_VALUES_EXPORT std::unique_ptr<Command> ReadCommand(ValueBase& target, ByteReader& in,
                                                         IObserver* originator);

/// The header of a value's transmitted state.
struct ValueHeader
{
    int type = 0;
    TValueState state = eValueValid;
    QString path; ///< full path, or the name of a value that is in no tree
};
KOLTA_VALUES_EXPORT void AppendValueHeader(std::string& out, const ValueBase& value);
/// False when it does not fit or is of a newer, incompatible form.
KOLTA_VALUES_EXPORT bool ReadValueHeader(ByteReader& in, ValueHeader& header);
/// Decodes the commands up to the end of `in` one by one and calls `call(Command&)` with each, which keeps
/// none of them. False, without a call, at the first that does not fit; true when the target dies meanwhile.
/// Who may not do half of them calls it twice, first to see whether all fit: keeping a large state decoded
/// costs more.
template<class Call>
bool ForEachCommand(ValueBase& target, ByteReader in, IObserver* originator, const Call& call)
{
    const Weak<ValueBase> alive(&target);
    const Weak<IObserver> origin(originator);
    while (alive && !in.AtEnd()) {
        const std::unique_ptr<Command> command = ReadCommand(target, in, origin.Get());
        if (!command)
            return false;
        call(*command);
    }
    return true;
}

} // namespace values
