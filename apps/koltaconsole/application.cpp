#include "application.h"

#include <koltaconsole/widgets/theme.h>
#include <startup/tracesource.h>

#include <QLabel>

#include <cstdio>
#include <malloc.h>

namespace KoltaConsole {

namespace {

/// Tool tips and questions are labels, too.
void showsAsWritten(QLabel* label)
{
    if (label && label->textFormat() == Qt::AutoText)
        label->setTextFormat(Qt::PlainText);
}

} // namespace

bool Application::notify(QObject* receiver, QEvent* event)
{
    try {
        if (event->type() == QEvent::ThemeChange && receiver->isWindowType())
            Theme::askDesktop();
        else if (event->type() == QEvent::Polish)
            showsAsWritten(qobject_cast<QLabel*>(receiver));
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
