#include "application.h"

#include <koltaconsole/widgets/theme.h>
#include <startup/tracesource.h>

#include <cstdio>
#include <malloc.h>

namespace KoltaConsole {

bool Application::notify(QObject* receiver, QEvent* event)
{
    try {
        if (event->type() == QEvent::ThemeChange && receiver->isWindowType())
            Theme::askDesktop();
        return QApplication::notify(receiver, event);
    } catch (...) {
        const QString text = Startup::CurrentExceptionText();
        if (m_taker)
            m_taker(text);
        else
            std::fprintf(stderr, "koltaconsole: %s\n", qPrintable(text));
    }
    return false;
}

void keepFreedMemory()
{
#ifdef __GLIBC__
    mallopt(M_MMAP_THRESHOLD, 32 << 20); // more is refused
    mallopt(M_TRIM_THRESHOLD, 256 << 20);
#endif
}

} // namespace KoltaConsole
