#pragma once

#include "shellinput.h"

#include <cstdio>

struct editline;
struct history;

namespace KoltaCli {

class CommandTable;

/// Lines that somebody types at a terminal, with editing, history and completion. The history lasts as long
/// as this; the user's key bindings (~/.editrc) count.
class TerminalInput : public ShellInput
{
public:
    /// Takes the descriptor of the terminal over. Completes to the commands of the table, which must outlive
    /// this.
    TerminalInput(int descriptor, const CommandTable& table);
    ~TerminalInput() override;

    Result nextLine(QString& line) override;
    void interrupt() override { m_bytes.interrupt(); }
    bool isTerminal() const override { return true; }

private:
    static TerminalInput& of(editline* editor);
    static char* prompt(editline* editor);
    static int readCharacter(editline* editor, wchar_t* character);
    static unsigned char complete(editline* editor, int key);

    const CommandTable& m_table;
    InputBytes m_bytes;
    FILE* m_input;
    editline* m_editor;
    history* m_history;
    Result m_last = Result::Data; ///< of reading a character
};

} // namespace KoltaCli
