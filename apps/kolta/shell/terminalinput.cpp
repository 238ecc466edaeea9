#include "terminalinput.h"

#include "completion.h"

#include <kolta/cli/output.h>

#include <cerrno>
#include <cwchar>

#include <histedit.h>

namespace KoltaCli {

namespace {
constexpr int kHistoryLines = 500;
}

TerminalInput::TerminalInput(int descriptor, const CommandTable& table)
    : m_table(table)
    , m_bytes(descriptor)
    , m_input(::fdopen(descriptor, "r"))
    , m_editor(::el_init("kolta", m_input, stdout, stderr))
    , m_history(::history_init())
{
    HistEvent event;
    ::history(m_history, &event, H_SETSIZE, kHistoryLines);
    ::history(m_history, &event, H_SETUNIQUE, 1);
    ::el_set(m_editor, EL_CLIENTDATA, this);
    ::el_set(m_editor, EL_PROMPT, &TerminalInput::prompt);
    ::el_set(m_editor, EL_EDITOR, "emacs");
    ::el_set(m_editor, EL_HIST, ::history, m_history);
    ::el_set(m_editor, EL_GETCFN, &TerminalInput::readCharacter);
    ::el_set(m_editor, EL_ADDFN, "kolta-complete", "Complete a command or an option",
             &TerminalInput::complete);
    ::el_set(m_editor, EL_BIND, "^I", "kolta-complete", nullptr);
    ::el_source(m_editor, nullptr);
}

TerminalInput::~TerminalInput()
{
    ::el_end(m_editor);
    ::history_end(m_history);
    std::fclose(m_input);
}

ShellInput::Result TerminalInput::nextLine(QString& line)
{
    m_last = Result::End; // what the editor's own key for the end leaves behind
    ::el_resize(m_editor);
    int count = 0;
    const char* const text = ::el_gets(m_editor, &count);
    if (!text || count <= 0) {
        printLine(m_last == Result::Interrupted ? QStringLiteral("^C") : QString());
        return m_last == Result::Interrupted ? m_last : Result::End;
    }
    line = QString::fromLocal8Bit(text, count).trimmed();
    HistEvent event;
    if (!line.isEmpty())
        ::history(m_history, &event, H_ENTER, line.toLocal8Bit().constData());
    return Result::Data;
}

TerminalInput& TerminalInput::of(editline* editor)
{
    void* self = nullptr;
    ::el_get(editor, EL_CLIENTDATA, &self);
    return *static_cast<TerminalInput*>(self);
}

char* TerminalInput::prompt(editline*)
{
    static char text[] = "kolta> ";
    return text;
}

/// Instead of the editor's own function, which blocks.
int TerminalInput::readCharacter(editline* editor, wchar_t* character)
{
    TerminalInput& self = of(editor);
    std::mbstate_t state = {};
    for (;;) {
        char byte = 0;
        int count = 0;
        self.m_last = self.m_bytes.read(&byte, 1, count);
        if (self.m_last == Result::Interrupted)
            errno = EINTR;
        if (self.m_last != Result::Data)
            return self.m_last == Result::End ? 0 : -1;
        const std::size_t used = std::mbrtowc(character, &byte, 1, &state);
        if (used <= 1)
            return 1;
        if (used == static_cast<std::size_t>(-1))
            state = {}; // no character in this locale; passed over
    }
}

unsigned char TerminalInput::complete(editline* editor, int)
{
    const LineInfo* const line = ::el_line(editor);
    const QString text = QString::fromLocal8Bit(line->buffer, static_cast<int>(line->cursor - line->buffer));
    const Completion completion = completeLine(text, of(editor).m_table);
    if (!text.endsWith(completion.text)) {
        ::el_deletestr(editor, text.right(completion.typed).toUcs4().size());
        return ::el_insertstr(editor, completion.text.toLocal8Bit().constData()) == 0 ? CC_REFRESH : CC_ERROR;
    }
    if (completion.candidates.size() < 2)
        return CC_ERROR;
    printLine(QLatin1Char('\n') + completion.candidates.join(QStringLiteral("  ")));
    return CC_REDISPLAY;
}

} // namespace KoltaCli
