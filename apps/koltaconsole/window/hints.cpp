#include "hints.h"

#include <koltaconsole/session/keptsettings.h>

#include <QCoreApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>

namespace KoltaConsole {

namespace {

constexpr char kClosed[] = "hintsClosed";

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(Hints)
};

} // namespace

void addHints(QBoxLayout& layout)
{
    if (QSettings().value(QLatin1String(kClosed)).toBool())
        return;
    auto* const hints = new QWidget;
    auto* const lines =
        new QLabel(Texts::tr("Ctrl+K finds every action and completes lines of kolta.\n"
                             "/ filters the page by words that must all fit, such as HF free.\n"
                             "F1 shows the keys of the page."),
                   hints);
    auto* const close = new QPushButton(Texts::tr("Close"), hints);
    close->setAccessibleDescription(Texts::tr("The hints do not come back"));
    auto* const row = new QHBoxLayout(hints);
    row->setContentsMargins(12, 4, 12, 4);
    row->addWidget(lines, 1);
    row->addWidget(close, 0, Qt::AlignTop);
    layout.addWidget(hints);
    QObject::connect(close, &QPushButton::clicked, hints, [hints] {
        KeptSettings().setValue(QLatin1String(kClosed), true);
        hints->hide();
    });
}

} // namespace KoltaConsole
