#include "addressdialog.h"

#include <koltaconsole/session/options.h>
#include <koltaconsole/session/session.h>
#include <koltaconsole/widgets/looklabel.h>

#include <QDialogButtonBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QStyle>
#include <QVBoxLayout>

namespace KoltaConsole {

namespace {

constexpr int kServers = 5;
constexpr int kJudgeMs = 200; ///< behind the last key
constexpr int kWidth = 480;

} // namespace

AddressDialog::AddressDialog(const Options& options, const QString& problem)
    : m_address(new QLineEdit(options.url, this)), m_hint(new LookLabel(this))
{
    setWindowTitle(QStringLiteral("Kolta"));
    auto* const text = new QLabel(tr("Which installation? Servers that publish themselves are found at "
                                     "the address of their broker."),
                                  this);
    text->setWordWrap(true);
    m_address->setPlaceholderText(QStringLiteral("mqtt://broker.example/site"));
    m_address->setAccessibleName(tr("Address"));
    m_address->setMinimumWidth(kWidth);
    m_hint->setMinimumHeight(2 * fontMetrics().lineSpacing()); // the window keeps its size
    auto* const buttons = new QDialogButtonBox(QDialogButtonBox::Cancel, this);
    m_show = buttons->addButton(tr("Show it"), QDialogButtonBox::AcceptRole);
    m_show->setDefault(true);
    QPushButton* const simulate = buttons->addButton(tr("Simulate one"), QDialogButtonBox::ActionRole);
    auto* const layout = new QVBoxLayout(this);
    for (QWidget* const part : std::initializer_list<QWidget*>{text, m_address, m_hint, buttons})
        layout->addWidget(part);
    m_judging.setSingleShot(true);
    m_judging.setInterval(kJudgeMs);
    connect(&m_judging, &QTimer::timeout, this, &AddressDialog::judge);
    connect(m_address, &QLineEdit::textChanged, &m_judging, qOverload<>(&QTimer::start));
    connect(m_address, &QLineEdit::returnPressed, this, &AddressDialog::judge); // the button is next
    connect(buttons, &QDialogButtonBox::accepted, this, &AddressDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &AddressDialog::reject);
    connect(simulate, &QPushButton::clicked, this, [this] {
        m_isSimulated = true;
        accept();
    });
    judge();
    if (!problem.isEmpty())
        m_hint->setLook({Mark::Triangle, Role::Attention, problem, true});
}

void AddressDialog::judge()
{
    const QString url = m_address->text().trimmed();
    if (!url.isEmpty())
        return tell(Session::problemOfTree(url));
    tell(QString());
    const QString missing = tr("An address is missing.");
    m_hint->setNote(missing);
    m_show->setEnabled(false);
    m_show->setToolTip(missing);
}

void AddressDialog::tell(const QString& problem)
{
    m_hint->setLook({Mark::Triangle, Role::Attention, problem, true});
    m_address->setProperty("wrong", !problem.isEmpty());
    m_address->style()->unpolish(m_address);
    m_address->style()->polish(m_address);
    m_show->setEnabled(problem.isEmpty());
    m_show->setToolTip(problem);
}

void AddressDialog::choose(Options& options) const
{
    options.servers = m_isSimulated ? kServers : 0;
    options.url = m_address->text().trimmed();
    options.urlSource.clear();
}

std::unique_ptr<Session> startSession(Options& options, QString& error)
{
    for (;;) {
        const bool isNamed = options.servers > 0 || !options.url.isEmpty();
        auto session = isNamed || !options.isAsking ? Session::start(options, error) : nullptr;
        if (session || !options.isAsking)
            return session;
        AddressDialog dialog(options, error);
        if (dialog.exec() != QDialog::Accepted)
            return nullptr;
        dialog.choose(options);
    }
}

} // namespace KoltaConsole
