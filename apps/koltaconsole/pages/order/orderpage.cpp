#include "orderpage.h"

#include "candidatestable.h"
#include "orderform.h"

#include <common/actionlines.h>
#include <koltaconsole/actions/actions.h>
#include <koltaconsole/session/orderdraft.h>
#include <koltaconsole/session/ordersunderway.h>
#include <koltaconsole/session/runningprocessors.h>
#include <koltaconsole/session/session.h>
#include <koltaconsole/widgets/columnfit.h>
#include <koltaconsole/widgets/columns.h>
#include <koltaconsole/widgets/elidedlabel.h>
#include <koltaconsole/widgets/filterbar.h>
#include <koltaconsole/widgets/filterwords.h>
#include <koltaconsole/widgets/looklabel.h>
#include <koltaconsole/widgets/rowtexts.h>
#include <koltaconsole/widgets/stateitemdelegate.h>

#include <koltacommon/actionrights.h>
#include <koltacommon/guidtext.h>
#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/processormodel.h>
#include <koltacommon/productionjob.h>
#include <koltacommon/viewroles.h>

#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSplitter>
#include <QTimer>
#include <QTreeView>
#include <QVBoxLayout>

#include <algorithm>
#include <utility>

namespace KoltaConsole {

namespace {

constexpr int kMostNames = 3;    ///< of servers in one line
constexpr int kStateWidth = 112; ///< of an order in the cart, at least

} // namespace

namespace Roles = Kolta::ViewRoles;
using Kolta::Operation;
using Kolta::ProductionJob;
using Kolta::ProductionOrder;

OrderPage::OrderPage(Session& session, ActionTable& actions, QWidget* parent)
    : Page(session, actions, parent)
    , m_form(new OrderForm(session, this))
    , m_candidates(new CandidatesTable(session, this))
    , m_filter(new FilterBar(tr("Filter: S3, 118-137 MHz, >20 MHz"), tr("Filter of candidates"), this, 280))
    , m_heading(new ElidedLabel(this))
    , m_state(new LookLabel(this))
    , m_cart(session, this)
    , m_cartHeading(new ElidedLabel(this))
    , m_cartTable(new QTreeView(this))
{
    for (QLabel* const heading : {m_heading, m_cartHeading})
        heading->setProperty("heading", true);
    m_state->setContentsMargins(8, 0, 8, 0);
    m_state->setAccessibleName(tr("How the order is"));
    if (session.draft().isKept())
        m_cart.restore();
    makeActions();
    makeCartActions();
    auto* const layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(makeLeft());
    layout->addWidget(makeRight(), 1);
    connectAll();
    setFocusProxy(m_form);
    refresh();
    refreshCart();
}

void OrderPage::connectAll()
{
    connect(m_candidates, &CandidatesTable::si_Changed, this, &OrderPage::refreshLater);
    connect(m_candidates, &CandidatesTable::si_WishedChosen, m_filter->line(), &QLineEdit::clear);
    connect(m_filter->line(), &QLineEdit::textChanged, this, &OrderPage::refreshLater);
    connect(&m_cart, &Cart::si_Changed, this, &OrderPage::refreshCart);
    connect(&session(), &Session::si_FactsChanged, this, [this] {
        if (isVisible())
            m_form->readChoices();
        refreshLater();
    });
    // The line of what was done stays until somebody goes on writing.
    connect(&actions(), &ActionTable::si_Ran, this, [this](const QString& id, const QString& line) {
        if (!line.isEmpty() &&
            (id.startsWith(QLatin1String("order-")) || id.startsWith(QLatin1String("cart-"))))
            m_isLineOfDone = true;
    });
    const auto goOn = [this] {
        if (std::exchange(m_isLineOfDone, false))
            tellCommandLine();
    };
    connect(&session().draft(), &OrderDraft::si_Changed, this, goOn);
    connect(&session().draft(), &OrderDraft::si_Changed, this, [this] {
        if (!m_job) // what became of the one before
            m_state->clear();
    });
    connect(m_candidates->selectionModel(), &QItemSelectionModel::selectionChanged, this, goOn);
}

QWidget* OrderPage::makeLeft()
{
    auto* const left = new QWidget(this);
    auto* const heading = new QLabel(tr("Order"), left);
    heading->setProperty("heading", true);
    heading->setContentsMargins(8, 8, 0, 0);
    auto* const buttons = new QHBoxLayout;
    buttons->setContentsMargins(8, 8, 8, 12);
    buttons->setSpacing(6);
    for (const char* const id : {"order-start", "order-plan", "order-add", "order-cancel"}) {
        QPushButton* const button = actions().makeButton(QLatin1String(id), left);
        button->setDefault(qstrcmp(id, "order-start") == 0);
        buttons->addWidget(button);
    }
    buttons->addStretch(1);
    auto* const layout = new QVBoxLayout(left);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(heading);
    layout->addWidget(m_form);
    layout->addStretch(1);
    layout->addWidget(m_state);
    layout->addLayout(buttons);
    left->setFixedWidth(m_form->width());
    return left;
}

QWidget* OrderPage::makeRight()
{
    auto* const upper = new QWidget(this);
    auto* const layout = new QVBoxLayout(upper);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(4);
    m_heading->setContentsMargins(8, 8, 8, 2);
    m_filter->setContentsMargins(8, 0, 8, 2);
    layout->addWidget(m_heading);
    layout->addWidget(m_filter);
    layout->addWidget(m_candidates, 1);
    auto* const right = new QSplitter(Qt::Vertical, this);
    right->addWidget(upper);
    right->addWidget(makeCart());
    right->setSizes({400, 180});
    right->setStretchFactor(0, 1);
    right->setHandleWidth(1);
    return right;
}

QWidget* OrderPage::makeCart()
{
    auto* const lower = new QWidget(this);
    auto* const top = new QHBoxLayout;
    top->setContentsMargins(8, 5, 8, 5);
    top->setSpacing(6);
    top->addWidget(m_cartHeading, 1);
    for (const char* const id : {"cart-share", "cart-start", "cart-clear"})
        top->addWidget(actions().makeButton(QLatin1String(id), lower));
    m_cartTable->setModel(&m_cart);
    m_cartTable->setItemDelegate(new StateItemDelegate(m_cartTable, [this](const QModelIndex& index) {
        return index.column() == Cart::eStateColumn ? std::optional<Look>(m_cart.lookOf(index.row()))
                                                    : std::nullopt;
    }));
    dressTable(*m_cartTable);
    m_cartTable->setAccessibleName(tr("Cart"));
    m_cartTable->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setColumnWidths(*m_cartTable, {32, 138, 84, 84, 124, 46});
    new ColumnFit(*m_cartTable,
                  {{Cart::eBandwidthColumn, 60},
                   {Cart::eFrequencyColumn, 76},
                   {Cart::eOrderColumn, 70},
                   {Cart::eGetsColumn, 90}},
                  kStateWidth);
    connect(m_cartTable->selectionModel(), &QItemSelectionModel::currentChanged, &actions(),
            &ActionTable::refresh);
    auto* const layout = new QVBoxLayout(lower);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addLayout(top);
    layout->addWidget(m_cartTable, 1);
    return lower;
}

/// `object` names whom the actions hit. What only changes what is written here needs no link and no leave.
OrderPage::Adder OrderPage::adder(const std::function<QString()>& object, Effect effect)
{
    return [this, object, effect](const char* id, const QString& text, const QKeySequence& keys,
                                  const std::function<void()>& run, const std::function<QString()>& why,
                                  const std::function<QString()>& line) {
        ActionTable::Entry entry;
        entry.id = QLatin1String(id);
        entry.text = text;
        entry.shortcut = keys;
        entry.run = run;
        entry.problem = why;
        entry.line = line;
        entry.changes = effect == Effect::Installation;
        entry.needsLink = entry.changes;
        entry.object = object;
        actions().add(entry, this);
    };
}

void OrderPage::makeActions()
{
    const auto object = [this] { return objectOfOrder(); };
    const auto add = adder(object, Effect::Installation), write = adder(object, Effect::Here);
    add(
        "order-start", tr("Start"), QKeySequence(Qt::CTRL + Qt::Key_Return), [this] { start(); },
        [this] { return whyNotStart(); }, [this] { return commandLine(); });
    add(
        "order-plan", tr("Plan"), QKeySequence(), [this] { addToCart(true); },
        [this] {
            return isVisible() && m_candidates->offer().isNone() ? tr("There is no tuner to plan.")
                                                                 : whyNotPlan();
        },
        [this] { return KoltaApps::ActionLines(serverOf(wanted())).plan(wanted()); });
    write(
        "order-add", tr("To cart"), QKeySequence(Qt::CTRL + Qt::SHIFT + Qt::Key_Return),
        [this] { addToCart(false); }, [this] { return whyNotPlan(); }, {});
    write(
        "order-cancel", tr("Cancel"), QKeySequence(),
        [this] {
            if (m_job)
                m_job->cancel();
        },
        [this] { return m_job ? QString() : tr("No order is under way."); }, {});
}

void OrderPage::makeCartActions()
{
    const auto object = [this] { return m_cart.summary(); };
    const auto add = adder(object, Effect::Installation), write = adder(object, Effect::Here);
    const auto isEmpty = [this] { return m_cart.rowCount() == 0 ? tr("The cart is empty.") : QString(); };
    add(
        "cart-share", tr("Share out at least cost"), QKeySequence(), [this] { m_cart.share(); },
        [this, isEmpty] {
            const QVector<ServerFacts>& all = session().facts();
            const bool isAnyThere = std::any_of(all.begin(), all.end(), [this](const ServerFacts& each) {
                return session().isThere(each.address);
            });
            return isAnyThere || m_cart.rowCount() == 0 ? isEmpty() : tr("No server is there to ask.");
        },
        [this] { return m_cart.planLines(); });
    actions().tellAfterwards(QStringLiteral("cart-share"));
    add(
        "cart-start", tr("Start the cart"), QKeySequence(), [this] { m_cart.start(); },
        [this] {
            if (m_cart.readyCount() == 0)
                return tr("Nothing in the cart has a tuner; share out first.");
            return session().areUsersKnown() ? Kolta::objectionTo(m_cart.actionsToStart()) : QString();
        },
        [this] { return m_cart.startLines(); });
    write("cart-clear", tr("Empty"), QKeySequence(), [this] { m_cart.clear(); }, isEmpty, {});
    write(
        "cart-remove", tr("Take the line out of the cart"), QKeySequence(Qt::Key_Delete),
        [this] { m_cart.remove(m_cartTable->currentIndex().row()); },
        [this] {
            const QModelIndex current = m_cartTable->currentIndex();
            return !current.isValid()              ? tr("No line of the cart is selected.")
                   : m_cart.isAsked(current.row()) ? tr("It is being asked for.")
                                                   : QString();
        },
        {});
}

void OrderPage::showEvent(QShowEvent* event)
{
    Page::showEvent(event);
    m_form->readChoices();
    refresh();
}

/// Once for all that changes in one turn.
void OrderPage::refreshLater()
{
    if (m_isDue || !isVisible())
        return;
    m_isDue = true;
    QTimer::singleShot(0, this, [this] {
        m_isDue = false;
        refresh();
    });
}

void OrderPage::refresh()
{
    applyFilter();
    m_heading->setText(headingText());
    const int all = m_candidates->acceptedCount() + m_candidates->refusedCount();
    const QString reach = m_candidates->reach();
    const int narrow = m_candidates->tooNarrowCount();
    m_form->setHints(
        reach.isEmpty() ? QString() : tr("reaches %1").arg(reach),
        narrow == 0 ? QString() : tr("%1 of %2 are too narrow").arg(countText(narrow), countText(all)), true);
    actions().refresh();
    if (!m_isLineOfDone)
        tellOtherCommandLine();
}

void OrderPage::applyFilter()
{
    const FilterWords words(m_filter->text());
    const int shown = m_candidates->applyFilter(words), all = m_candidates->rows().rowCount();
    m_filter->tellCount(shown, all, tr("%1 of %2 candidates"), tr("No candidate matches \"%1\""));
}

/// How many can take the order. What would start without being seen, or was wished for and is not there, is
/// told, too.
QString OrderPage::headingText() const
{
    const int accepted = m_candidates->acceptedCount(), refused = m_candidates->refusedCount();
    const QString why = problem();
    QString text = tr("Candidates: %1 can take it, %2 refused").arg(countText(accepted), countText(refused));
    if (accepted + refused == 0)
        text = tr("No candidates: %1").arg(why.isEmpty() ? m_candidates->problem() : why);
    else if (session().isOutOfSight())
        text = tr("Candidates, last known: %1, %2 refused").arg(countText(accepted), countText(refused));
    const QStringList away = session().isOutOfSight() ? QStringList() : m_candidates->awayServers();
    if (accepted + refused > 0 && !away.isEmpty())
        text += tr("; away: %1")
                    .arg(away.mid(0, kMostNames).join(QStringLiteral(", ")) +
                         (away.size() > kMostNames ? QStringLiteral(" …") : QString()));
    if (m_candidates->isWishedMissing())
        text += tr("; the tuner that was chosen is not among them");
    return m_candidates->isOfferHidden() ? text + tr("; the filter hides the first") : text;
}

void OrderPage::refreshCart()
{
    m_cartHeading->setText(m_cart.summary());
    refreshLater();
}

/// Why the order cannot even be written down.
QString OrderPage::problem() const
{
    if (!m_form->problem().isEmpty())
        return m_form->problem();
    if (session().areUsersKnown()) {
        const QString objection =
            Kolta::objectionTo(Kolta::actionToRun(kindName(session().draft().order().kind)));
        if (!objection.isEmpty())
            return objection;
    }
    return Kolta::problemOfOrder(session().draft().order());
}

/// What is written down is not started yet.
QString OrderPage::whyNotPlan() const
{
    const QString objection =
        session().areUsersKnown() ? Kolta::objectionTo(Kolta::UserAction::PlanTuner) : QString();
    if (!m_form->problem().isEmpty() || !objection.isEmpty())
        return m_form->problem().isEmpty() ? objection : m_form->problem();
    return Kolta::problemOfOrder(session().draft().order());
}

QString OrderPage::whyNotStart() const
{
    if (m_job)
        return tr("An order is under way: %1").arg(m_job->progressText());
    const QString text = problem();
    if (!text.isEmpty())
        return text;
    const ProductionOrder& order = session().draft().order();
    // Nobody looks for tuners of a page that is hidden; it is asked again once it is shown.
    if (!order.tunerClass.isEmpty() && !isVisible())
        return QString();
    if (const QString refusal = m_candidates->refusal(); !refusal.isEmpty())
        return tr("The chosen tuner cannot take it: %1").arg(refusal);
    if (!order.tunerClass.isEmpty() && m_candidates->offer().isNone())
        return m_candidates->refusedCount() > 0 ? tr("No tuner can take it; the reasons stand beside them.")
                                                : m_candidates->problem();
    return serverOf(wanted()).isEmpty() ? tr("No server is there to ask.") : QString();
}

/// The draft, with the tuner where somebody chose another than the first.
ProductionOrder OrderPage::wanted() const
{
    ProductionOrder order = session().draft().order();
    if (m_candidates->isOwnChoice())
        order.tunerGuid = m_candidates->offer().guid;
    return order;
}

/// For somebody who does not see the page.
QString OrderPage::objectOfOrder() const
{
    const Offer offer = m_candidates->offer();
    const QString kind = kindName(session().draft().order().kind);
    return offer.isNone() ? kind : tr("%1 on %2 of %3").arg(kind, offer.name, offer.server);
}

/// That of the tuner; of an FFP without one, that of its MCP.
QString OrderPage::serverOf(const ProductionOrder& order) const
{
    const Offer offer = m_candidates->offer();
    if (!offer.isNone())
        return offer.server;
    const QString host = serverOfProcessor(session(), order.mcp);
    return host.isEmpty() ? session().draft().server() : host;
}

void OrderPage::start()
{
    const ProductionOrder order = wanted();
    Kolta::KoltaServerInterface* const server = session().server(serverOf(order));
    if (!server)
        return;
    m_job = new ProductionJob(*server, order, this);
    m_job->deleteWhenFinished();
    session().ordersUnderWay().follow(*m_job, server->getAddress(),
                                      tr("order of %1").arg(kindName(order.kind)));
    const auto tell = [this](const QString& text) {
        m_state->setLook({Mark::Half, Role::InUse, text, false});
    };
    tell(tr("asked %1").arg(server->getAddress()));
    connect(m_job, &Operation::progressed, m_state, tell);
    m_job->then(this, [this](const Operation& operation) { takeEnd(operation); });
    actions().refresh();
}

void OrderPage::takeEnd(const Operation& operation)
{
    const auto& job = static_cast<const ProductionJob&>(operation);
    m_job.clear();
    const QString name = job.order().displayName, tuner = job.tuner().GetTavikResource().GetDisplayName();
    if (operation.state() == Operation::State::Done)
        m_state->setLook({Mark::Square, Role::InUse,
                          tuner.isEmpty() ? tr("%1 runs").arg(name) : tr("%1 runs on %2").arg(name, tuner),
                          false});
    else
        m_state->setLook({Mark::Triangle, Role::Attention, operation.text(), true});
    refreshLater();
}

void OrderPage::addToCart(bool isPlanned)
{
    const Offer offer = m_candidates->offer();
    const ProductionOrder order = wanted();
    const bool isOfOneServer = order.tunerClass.isEmpty() || m_candidates->isOwnChoice();
    m_cart.add(order, isOfOneServer ? serverOf(order) : session().draft().server());
    if (isPlanned)
        m_cart.plan(m_cart.rowCount() - 1, offer);
}

bool OrderPage::isFilled() const
{
    return m_candidates->rows().rowCount() > 0 || session().isSettled();
}

/// None of what has no tuner to be chosen from.
QString OrderPage::commandLine() const
{
    const ProductionOrder order = wanted();
    if (order.tunerClass.isEmpty() && order.tunerGuid.isEmpty() && order.mcp.isNull())
        return QString();
    return KoltaApps::ActionLines(serverOf(order)).produce(order);
}

QLineEdit* OrderPage::filterLine() const
{
    return m_filter->line();
}

void OrderPage::followServer()
{
    m_candidates->showServer(server());
}

} // namespace KoltaConsole
