#include "confirmation.h"

#include "rowtexts.h"

#include <QCoreApplication>
#include <QMessageBox>
#include <QPushButton>

namespace KoltaConsole {

namespace {

constexpr int kNamesAsked = 12;

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(Confirmation)
};

} // namespace

void askBefore(QWidget& parent, const QString& question, const QStringList& names, const QString& yes,
               const std::function<void()>& then)
{
    auto* const box = new QMessageBox(QMessageBox::NoIcon, parent.window()->windowTitle(), question,
                                      QMessageBox::Cancel, &parent);
    QStringList shown;
    for (const QString& name : names.mid(0, kNamesAsked))
        shown.append(shortName(name));
    if (names.size() > kNamesAsked)
        shown.append(Texts::tr("and %1 more").arg(names.size() - kNamesAsked));
    box->setInformativeText(shown.join(QLatin1Char('\n')));
    QPushButton* const accept = box->addButton(yes, QMessageBox::AcceptRole);
    box->setDefaultButton(QMessageBox::Cancel);
    box->setAttribute(Qt::WA_DeleteOnClose);
    QObject::connect(accept, &QPushButton::clicked, &parent, then);
    box->open();
}

} // namespace KoltaConsole
