#include "application.h"

#include <startup/tracesource.h>

#include <cstdio>

namespace KoltaConsole {

bool Application::notify(QObject* receiver, QEvent* event)
{
    try {
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

} // namespace KoltaConsole
