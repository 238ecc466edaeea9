#include "terminal.h"

#include <QByteArray>

#include <sys/ioctl.h>
#include <unistd.h>

namespace KoltaCli {

namespace {
constexpr int kUsualWidth = 80;
}

int outputWidth()
{
    const int wanted = qEnvironmentVariableIntValue("COLUMNS");
    if (wanted > 0)
        return wanted;
    winsize size = {};
    if (::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0)
        return size.ws_col;
    return kUsualWidth;
}

bool hasColour(int descriptor)
{
    const QByteArray terminal = qgetenv("TERM");
    return ::isatty(descriptor) != 0 && qEnvironmentVariableIsEmpty("NO_COLOR") && !terminal.isEmpty() &&
           terminal != "dumb";
}

} // namespace KoltaCli
