#pragma once

#include <support/patience.h>
#include <support/program.h>

#include <cstdlib>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

/// One run of the command line at a terminal of its own.
class Terminal : public Program
{
public:
    explicit Terminal(const QStringList& arguments)
        : m_master(::posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC))
    {
        ::grantpt(m_master);
        ::unlockpt(m_master);
        begin(QStringLiteral(KOLTA_PROGRAM), arguments, {{"TERM", QStringLiteral("dumb")}});
    }
    ~Terminal() override { ::close(m_master); }

    bool type(const QByteArray& keys)
    {
        return ::write(m_master, keys.constData(), std::size_t(keys.size())) == keys.size();
    }
    /// Waits until the screen shows `text` behind what was asked for before.
    bool shows(const char* text)
    {
        const bool seen = waitFor([&] { return screen().contains(text) || state() == NotRunning; }) &&
                          screen().contains(text);
        if (!seen)
            qWarning("the screen shows no \"%s\" but: %s", text, m_screen.constData());
        m_screen.remove(0, m_screen.indexOf(text) + int(qstrlen(text)));
        return seen;
    }
    bool ends()
    {
        return waitFor([&] { return screen(), state() == NotRunning; });
    }

protected:
    void setupChildProcess() override
    {
        ::setsid();
        const int terminal = ::open(::ptsname(m_master), O_RDWR);
        ::ioctl(terminal, TIOCSCTTY, 0);
        for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
            ::dup2(terminal, stream);
    }

private:
    const QByteArray& screen()
    {
        char piece[4096];
        for (ssize_t count; (count = ::read(m_master, piece, sizeof piece)) > 0;)
            m_screen.append(piece, int(count));
        return m_screen;
    }

    int m_master;
    QByteArray m_screen;
};
