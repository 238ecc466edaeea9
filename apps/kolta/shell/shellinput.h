#pragma once

#include "inputbytes.h"

#include <QByteArray>
#include <QString>

#include <memory>

namespace KoltaCli {

class CommandTable;

/// Where a shell gets its lines from. Waiting for one runs the event loop.
class ShellInput
{
public:
    using Result = InputBytes::Result;

    virtual ~ShellInput() = default;
    /// The next line, without its end.
    virtual Result nextLine(QString& line) = 0;
    /// Ends the wait for a line; what was typed of it is forgotten.
    virtual void interrupt() = 0;
    /// Whether somebody sits at it, who sees what happens and decides what comes next.
    virtual bool isTerminal() const = 0;
};

/// Lines as they stand in a file or come through a pipe, in UTF-8.
class ScriptInput : public ShellInput
{
public:
    /// Takes the descriptor over.
    explicit ScriptInput(int descriptor) : m_descriptor(descriptor), m_bytes(descriptor) {}
    ~ScriptInput() override;

    Result nextLine(QString& line) override;
    void interrupt() override { m_bytes.interrupt(); }
    bool isTerminal() const override { return false; }

private:
    int m_descriptor;
    InputBytes m_bytes;
    QByteArray m_read; ///< and not yet given out
};

/// Standard input: a terminal with editing, if standard output is one as well, else a script. From then on
/// standard input is empty for everybody else, so that no command eats the lines of its successors.
/// A terminal completes to the commands of the table, which must outlive the result.
std::unique_ptr<ShellInput> takeStandardInput(const CommandTable& table);

} // namespace KoltaCli
