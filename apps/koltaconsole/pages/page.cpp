#include "page.h"

#include <common/actionlines.h>

namespace KoltaConsole {

void Page::showServer(const QString& address)
{
    m_server = address;
    followServer();
    tellCommandLine();
}

void Page::tellCommandLine()
{
    m_toldLine = commandLine();
    Q_EMIT si_CommandLineChanged();
}

void Page::tellOtherCommandLine()
{
    if (commandLine() != m_toldLine)
        tellCommandLine();
}

QString Page::lineOf(const char* command) const
{
    return KoltaApps::ActionLines(m_server).look({QLatin1String(command)});
}

} // namespace KoltaConsole
