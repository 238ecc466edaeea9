#include "addressdialog.h"

#include <koltaconsole/session/options.h>

#include <QCoreApplication>
#include <QDialog>
#include <QDialogButtonBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace KoltaConsole {

namespace {

constexpr int kServers = 5;

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(AddressDialog)
};

} // namespace

bool askForInstallation(Options& options)
{
    QDialog dialog;
    dialog.setWindowTitle(QStringLiteral("Kolta"));
    auto* const text =
        new QLabel(Texts::tr("Which installation? Servers that publish themselves are found at "
                             "the address of their broker."),
                   &dialog);
    text->setWordWrap(true);
    auto* const address = new QLineEdit(&dialog);
    address->setPlaceholderText(QStringLiteral("mqtt://broker.example/site"));
    address->setAccessibleName(Texts::tr("Address"));
    auto* const buttons = new QDialogButtonBox(QDialogButtonBox::Cancel, &dialog);
    QPushButton* const show = buttons->addButton(Texts::tr("Show it"), QDialogButtonBox::AcceptRole);
    QPushButton* const simulate = buttons->addButton(Texts::tr("Simulate one"), QDialogButtonBox::ActionRole);
    show->setEnabled(false);
    auto* const layout = new QVBoxLayout(&dialog);
    for (QWidget* const part :
         {static_cast<QWidget*>(text), static_cast<QWidget*>(address), static_cast<QWidget*>(buttons)})
        layout->addWidget(part);
    QObject::connect(address, &QLineEdit::textChanged, show,
                     [show](const QString& typed) { show->setEnabled(!typed.trimmed().isEmpty()); });
    QObject::connect(buttons, &QDialogButtonBox::accepted, &dialog, &QDialog::accept);
    QObject::connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    QObject::connect(simulate, &QPushButton::clicked, &dialog, [&] {
        options.servers = kServers;
        dialog.accept();
    });
    if (dialog.exec() != QDialog::Accepted)
        return false;
    if (options.servers == 0)
        options.url = address->text().trimmed();
    return true;
}

} // namespace KoltaConsole
