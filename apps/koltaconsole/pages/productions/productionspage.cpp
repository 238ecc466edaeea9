#include "productionspage.h"

#include "productionsview.h"
#include "timelinedelegate.h"

#include <koltacommon/journal.h>
#include <koltacommon/processormodel.h>
#include <koltacommon/viewroles.h>
#include <koltaconsole/actions/buttonrow.h>
#include <koltaconsole/session/ordersunderway.h>
#include <koltaconsole/session/runningprocessors.h>
#include <koltaconsole/session/serverfacts.h>
#include <koltaconsole/session/session.h>
#include <koltaconsole/widgets/confirmation.h>
#include <koltaconsole/widgets/elidedlabel.h>
#include <koltaconsole/widgets/filterbar.h>
#include <koltaconsole/widgets/rowtexts.h>

#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QVBoxLayout>

namespace KoltaConsole {

using Kolta::OwnershipJob;

namespace {

constexpr int kGatherMs = 100;
constexpr int kMinuteMs = 60000;
constexpr int kNamesInLine = 3;

/// The first of them, in one line.
QString named(const QStringList& names)
{
    const QString text = names.mid(0, kNamesInLine).join(QStringLiteral("; "));
    return names.size() <= kNamesInLine
               ? text
               : ProductionsPage::tr("%1 and %2 more").arg(text, countText(names.size() - kNamesInLine));
}

constexpr int kFilterWidth = 250;
const char* const kActions[] = {"stop", "move", "own", "own-force", "front-end"};

/// Of an action that changes something, and is called as its command is.
ActionTable::Entry entry(const char* id, const QString& text, const QKeySequence& keys)
{
    ActionTable::Entry made;
    made.id = QLatin1String(id);
    made.text = text;
    made.shortcut = keys;
    made.needsLink = true;
    made.changes = true;
    made.command = made.id;
    return made;
}

} // namespace

ProductionsPage::ProductionsPage(Session& session, ActionTable& actions, QWidget* parent)
    : Page(session, actions, parent)
    , m_rows(session)
    , m_model(this)
    , m_orders(session, m_model, this)
    , m_filter(new FilterBar(tr("Filter: FFP, S1, operator, 121.5 MHz"), tr("Filter of productions"), this,
                             kFilterWidth))
    , m_view(new ProductionsView(m_model, this))
    , m_reasons(new ElidedLabel(this))
    , m_nothing(new QLabel(this))
{
    m_nothing->setProperty("dim", true);
    m_nothing->setContentsMargins(8, 4, 8, 4);
    m_reasons->setProperty("dim", true);
    m_reasons->setContentsMargins(8, 4, 8, 4);
    makeView();
    makeActions();
    QStringList ids;
    for (const char* const id : kActions)
        ids.append(QLatin1String(id));
    auto* const top = new QHBoxLayout;
    top->setContentsMargins(8, 5, 8, 5);
    top->setSpacing(8);
    top->addWidget(m_filter, 3);
    top->addWidget(new ButtonRow(actions, ids, 1, this), 3);
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addLayout(top);
    layout->addWidget(m_nothing);
    layout->addWidget(m_view, 1);
    layout->addWidget(m_reasons);
    follow();
    m_rows.readEnded();
    refresh();
}

void ProductionsPage::makeView()
{
    m_view->setAccessibleName(tr("Productions"));
    connect(m_view, &QWidget::customContextMenuRequested, this, &ProductionsPage::showMenu);
    connect(m_view->selectionModel(), &QItemSelectionModel::selectionChanged, this, [this] {
        m_line.clear();
        actions().refresh();
        showReasons();
        tellCommandLine();
    });
}

void ProductionsPage::makeActions()
{
    const auto nameOfThem = [this](const QStringList& keys) { return nameOf(keys); };
    add(entry("stop", tr("Stop"), QKeySequence::Delete),
        {[this](const QStringList& keys) { return m_orders.objectionToStop(keys); },
         [this](const QStringList& keys) { return named(m_orders.victims(keys)); },
         [this](const QStringList& keys) { return m_orders.stopLine(keys); },
         [this](const QStringList& keys) { askToStop(keys); }});
    ActionTable::Entry move = entry("move", tr("Move to…"), QKeySequence(Qt::Key_M));
    move.problem = [this] { return m_orders.objectionToMove(m_view->selectedKeys()); };
    move.object = [this] { return nameOf(m_view->selectedKeys()); };
    move.run = [this] { offerTargets(); };
    move.asked = [this](const LineWords& words) { return askedMove(words); };
    actions().add(move, m_view);
    ActionTable::Entry frontEnd = entry("front-end", tr("Front end"), QKeySequence(Qt::Key_Return));
    frontEnd.needsLink = false;
    frontEnd.changes = false;
    add(frontEnd, {[this](const QStringList& keys) { return m_orders.objectionToFrontEnd(keys); }, nameOfThem,
                   [this](const QStringList& keys) { return m_orders.frontEndLine(keys.value(0)); },
                   [this](const QStringList& keys) { m_orders.showFrontEnd(keys.value(0)); }});
    const auto addOwn = [&](ActionTable::Entry owning, const char* command, OwnershipJob::Action action) {
        owning.command = QLatin1String(command);
        add(owning,
            {[this, action](const QStringList& keys) { return m_orders.objectionToOwn(keys, action); },
             nameOfThem,
             [this, action](const QStringList& keys) { return m_orders.ownLine(keys.value(0), action); },
             [this, action](const QStringList& keys) { own(keys.value(0), action); }});
    };
    addOwn(entry("own", tr("Ask for ownership"), QKeySequence(Qt::Key_O)), "own", OwnershipJob::Action::Take);
    addOwn(entry("own-force", tr("Take ownership"), QKeySequence()), "own --force",
           OwnershipJob::Action::ForceTake);
    addOwn(entry("own-release", tr("Give ownership back"), QKeySequence(Qt::SHIFT + Qt::Key_O)),
           "own --release", OwnershipJob::Action::Release);
}

void ProductionsPage::add(ActionTable::Entry entry, const Deed& deed)
{
    entry.problem = [this, deed] { return deed.problem(m_view->selectedKeys()); };
    entry.object = [this, deed] { return deed.object(m_view->selectedKeys()); };
    entry.line = [this, deed] { return m_line = deed.line(m_view->selectedKeys()); };
    entry.run = [this, deed] { deed.run(m_view->selectedKeys()); };
    entry.asked = [this, deed](const LineWords& words) -> std::optional<ActionTable::Asked> {
        if (words.arguments.isEmpty())
            return std::nullopt;
        QString problem;
        const QStringList keys = keysOf(words, problem);
        if (problem.isEmpty())
            problem = deed.problem(keys);
        return ActionTable::Asked{problem, deed.object(keys), [deed, keys] { deed.run(keys); }};
    };
    actions().add(entry, m_view);
}

std::optional<ActionTable::Asked> ProductionsPage::askedMove(const LineWords& words)
{
    if (words.arguments.size() != 2)
        return std::nullopt;
    QString problem;
    const QStringList keys = keysOf(words, problem);
    const QString ffp = keys.value(0), mcp = keys.value(1);
    if (problem.isEmpty())
        problem = m_orders.objectionToMove(ffp, mcp);
    return ActionTable::Asked{problem, words.arguments.join(QStringLiteral(" → ")),
                              [this, ffp, mcp] { Q_EMIT m_model.si_MoveWanted(ffp, mcp); }};
}

QStringList ProductionsPage::keysOf(const LineWords& words, QString& problem)
{
    if (m_isDue)
        refresh();
    const QVector<RunningProcessor> running = runningProcessors(session());
    QStringList keys;
    for (const QString& word : words.arguments) {
        const QStringList meant = meantBy(word, words.server, running);
        if (meant.size() > 1)
            problem = tr("%1 processors are called %2, give a GUID or --server.")
                          .arg(QString::number(meant.size()), word);
        else if (!m_model.find(meant.value(0)))
            problem = tr("The page of productions shows no %1.").arg(word);
        if (!problem.isEmpty())
            return {};
        keys.append(meant.first());
    }
    return keys;
}

void ProductionsPage::own(const QString& key, OwnershipJob::Action action)
{
    const ProductionRow* const row = m_model.find(key);
    if (action != OwnershipJob::Action::ForceTake || !row)
        return m_orders.own(key, action);
    askBefore(*this, tr("Take the ownership from %1?").arg(shortName(row->owner)), {row->name},
              tr("Take ownership"), [this, key, action] { m_orders.own(key, action); });
}

void ProductionsPage::follow()
{
    m_gathering.setSingleShot(true);
    m_minute.start(kMinuteMs);
    connect(&m_gathering, &QTimer::timeout, this, [this] {
        if (!m_still.areHeld(m_model.isDragging()))
            refresh();
    });
    connect(&m_still, &StillRows::si_Due, this, [this] {
        if (m_isDue && isVisible())
            refresh();
    });
    connect(&m_minute, &QTimer::timeout, this, &ProductionsPage::gather);
    connect(m_filter->line(), &QLineEdit::textChanged, this, [this](const QString& text) {
        m_words = FilterWords(text);
        m_view->openAll(); // what it finds is seen
        refresh();
    });
    connect(&m_model, &ProductionsModel::si_MoveWanted, this, [this](const QString& ffp, const QString& mcp) {
        m_line = m_orders.moveLine(ffp, mcp);
        m_orders.move(ffp, mcp);
        tellCommandLine();
    });
    followSession();
}

void ProductionsPage::followSession()
{
    const auto due = [this] { gather(); };
    const QAbstractItemModel* const processors = &session().processors();
    connect(processors, &QAbstractItemModel::dataChanged, this, due);
    connect(processors, &QAbstractItemModel::rowsInserted, this, due);
    connect(processors, &QAbstractItemModel::rowsRemoved, this, due);
    connect(processors, &QAbstractItemModel::rowsMoved, this, due);
    connect(processors, &QAbstractItemModel::layoutChanged, this, due);
    connect(&session(), &Session::si_FactsChanged, this, due);
    connect(&session(), &Session::si_LinkChanged, this, due);
    connect(&session(), &Session::si_UserChanged, this, due);
    connect(&m_orders, &ProductionOrders::si_PendingChanged, this, due);
    connect(&session().ordersUnderWay(), &OrdersUnderWay::si_Changed, this, due);
    connect(&session().journal(), &Kolta::Journal::statesChanged, this,
            [this](const QVector<Kolta::EventSubject>& subjects) {
                m_rows.readEnded(subjects);
                gather();
            });
    connect(&session().journal(), &Kolta::Journal::reset, this, [this] {
        m_rows.readEnded();
        gather();
    });
}

/// What changes within a moment is shown together, and while the page is hidden when it is shown again.
void ProductionsPage::gather()
{
    m_isDue = true;
    if (isVisible() && !m_gathering.isActive())
        m_gathering.start(kGatherMs);
}

void ProductionsPage::showEvent(QShowEvent* event)
{
    Page::showEvent(event);
    if (m_isDue)
        refresh();
}

void ProductionsPage::refresh()
{
    m_isDue = false;
    m_model.setMovable(m_orders.mayMove());
    const auto isWanted = [this](const ProductionRow& row) {
        return isOfServer(row) && (m_words.isEmpty() || row.matches(m_words));
    };
    m_model.take(filtered(m_rows.gather(m_orders.pending(), isWanted), false));
    const QDateTime now = session().now();
    m_view->setRange(now.addSecs(-3600 * Timeline::kHours), now);
    actions().refresh();
    showCount();
    showReasons();
}

/// Those that fit, with what holds them and what they hold.
std::vector<ProductionRow> ProductionsPage::filtered(std::vector<ProductionRow> rows, bool isAll) const
{
    std::vector<ProductionRow> result;
    for (ProductionRow& row : rows) {
        if (row.kind == ProductionRow::Kind::Server && !isOfServer(row))
            continue;
        const bool isWanted = isAll || m_words.isEmpty() || (!row.isGroup() && row.matches(m_words));
        row.children = filtered(std::move(row.children), isWanted && !row.isGroup());
        if (row.isGroup() ? !row.children.empty() : isWanted || !row.children.empty())
            result.push_back(std::move(row));
    }
    return result;
}

QLineEdit* ProductionsPage::filterLine() const
{
    return m_filter->line();
}

void ProductionsPage::showCount()
{
    int runs = 0, lastKnown = 0, ended = 0;
    const std::function<void(const QModelIndex&)> count = [&](const QModelIndex& parent) {
        for (int place = 0; place < m_model.rowCount(parent); ++place) {
            const QModelIndex index = m_model.index(place, 0, parent);
            const ProductionRow& row = *m_model.rowAt(index);
            runs += row.isRunning() && !row.isStale ? 1 : 0;
            lastKnown += row.isRunning() && row.isStale ? 1 : 0;
            ended += row.kind == ProductionRow::Kind::Ended ? 1 : 0;
            count(index);
        }
    };
    count(QModelIndex());
    const bool isPast = session().isOutOfSight();
    QStringList parts;
    if (!isPast)
        parts.append(tr("%1 running").arg(runs));
    lastKnown += isPast ? runs : 0;
    if (isPast || lastKnown > 0)
        parts.append(tr("%1 last known").arg(lastKnown));
    if (ended > 0)
        parts.append(tr("%1 ended").arg(ended));
    const bool isEmpty = m_model.rowCount() == 0;
    m_filter->tell(parts.join(QStringLiteral(", ")), isEmpty);
    m_nothing->setVisible(isEmpty);
    if (isEmpty)
        m_nothing->setText(whyNothing());
}

QString ProductionsPage::whyNothing() const
{
    if (!m_words.isEmpty())
        return tr("No production matches \"%1\".").arg(m_filter->text());
    if (session().facts().isEmpty())
        return tr("No server has been seen yet.");
    if (session().isOutOfSight())
        return tr("Nothing ran when it was seen last, at %1.").arg(timeText(session().link().since));
    const QDateTime watched = session().journal().book().watchBegin();
    if (watched.isValid() && watched > session().now().addSecs(-3600 * Timeline::kHours))
        return tr("Nothing runs; watched since %1.").arg(timeText(watched));
    return tr("Nothing runs, and nothing has ended in the last 24 h.");
}

/// Without the link the banner says the rest.
QString ProductionsPage::reasonShort(const QString& id) const
{
    const bool isCutOff = actions().find(id)->needsLink && !session().link().isUp;
    return isCutOff ? tr("need the link.") : actions().enabledBecause(id);
}

/// Why the buttons that cannot be pressed cannot, each reason once.
void ProductionsPage::showReasons()
{
    QStringList reasons;
    QMap<QString, QStringList> byReason;
    for (const char* const name : kActions) {
        const QString id = QLatin1String(name);
        const QString reason = reasonShort(id);
        if (reason.isEmpty())
            continue;
        if (!byReason.contains(reason))
            reasons.append(reason);
        byReason[reason].append(actions().find(id)->text);
    }
    QStringList texts;
    for (const QString& reason : qAsConst(reasons)) {
        texts.append(
            byReason.value(reason).size() == int(std::size(kActions))
                ? reason
                : QStringLiteral("%1: %2").arg(byReason.value(reason).join(QStringLiteral(", ")), reason));
    }
    m_reasons->setText(texts.join(QLatin1Char(' ')));
    m_reasons->setToolTip(texts.join(QLatin1Char('\n')));
}

QString ProductionsPage::nameOf(const QStringList& keys) const
{
    const ProductionRow* const row = m_model.find(keys.value(0));
    return row ? tr("%1 on %2").arg(row->name, row->server) : QString();
}

void ProductionsPage::askToStop(const QStringList& keys)
{
    const auto stop = [this, keys] { m_orders.stop(keys); };
    if (m_orders.isGrave(keys))
        askBefore(*this, tr("Stop all of these?"), m_orders.victims(keys), tr("Stop"), stop);
    else
        stop();
}

/// All MCPs, for which a filter goes; those where it cannot go are there too, with the reason.
void ProductionsPage::offerTargets()
{
    const QString key = m_view->selectedKeys().value(0);
    if (!m_filter->text().isEmpty())
        m_filter->line()->clear();
    const ProductionRow* const ffp = m_model.find(key);
    if (!ffp)
        return;
    auto* const menu = new QMenu(m_view);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    connect(menu, &QObject::destroyed, &m_model, [this] { m_model.setDragged(QString()); });
    m_model.setDragged(key);
    for (const ProductionRow* const mcp : m_model.mcps()) {
        const QString objection = objectionToMove(*ffp, *mcp);
        QAction* const target = menu->addAction(
            menuText(objection.isEmpty() ? mcp->name : QStringLiteral("%1 — %2").arg(mcp->name, objection)));
        target->setEnabled(objection.isEmpty());
        connect(target, &QAction::triggered, this,
                [this, key, to = mcp->key] { Q_EMIT m_model.si_MoveWanted(key, to); });
    }
    if (menu->isEmpty())
        menu->addAction(tr("No MCP runs"))->setEnabled(false);
    const QRect place = m_view->visualRect(m_model.indexOf(key));
    menu->popup(m_view->viewport()->mapToGlobal(place.bottomLeft() + QPoint(place.width() / 2, 0)));
}

void ProductionsPage::showMenu(const QPoint& place)
{
    auto* const menu = new QMenu(m_view);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->setToolTipsVisible(true);
    for (const char* const id : kActions)
        menu->addAction(actions().action(QLatin1String(id)));
    menu->addAction(actions().action(QStringLiteral("own-release")));
    menu->popup(m_view->viewport()->mapToGlobal(place));
}

bool ProductionsPage::isFilled() const
{
    return m_model.rowCount() > 0 || session().isSettled();
}

QString ProductionsPage::commandLine() const
{
    if (!m_line.isEmpty())
        return m_line;
    return lineOf("productions");
}

void ProductionsPage::followServer()
{
    refresh();
}

} // namespace KoltaConsole
