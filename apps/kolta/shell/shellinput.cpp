#include "shellinput.h"

#include "terminalinput.h"

#include <fcntl.h>
#include <unistd.h>

namespace KoltaCli {

ScriptInput::~ScriptInput()
{
    ::close(m_descriptor);
}

ShellInput::Result ScriptInput::nextLine(QString& line)
{
    int end = m_read.indexOf('\n');
    while (end < 0) {
        char piece[4096];
        int count = 0;
        const Result result = m_bytes.read(piece, sizeof piece, count);
        // The last line may lack its end.
        if (result != Result::Data && (result != Result::End || m_read.isEmpty()))
            return result;
        const int before = m_read.size();
        m_read.append(result == Result::End ? "\n" : piece, qMax(count, 1));
        end = m_read.indexOf('\n', before);
    }
    line = QString::fromUtf8(m_read.constData(), end);
    m_read.remove(0, end + 1);
    return Result::Data;
}

std::unique_ptr<ShellInput> takeStandardInput(const CommandTable& table)
{
    const bool isTerminal = ::isatty(STDIN_FILENO) != 0 && ::isatty(STDOUT_FILENO) != 0;
    const int descriptor = ::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    const int nothing = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    ::dup2(nothing, STDIN_FILENO);
    ::close(nothing);
    if (isTerminal)
        return std::make_unique<TerminalInput>(descriptor, table);
    return std::make_unique<ScriptInput>(descriptor);
}

} // namespace KoltaCli
