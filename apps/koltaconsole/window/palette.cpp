#include "palette.h"

#include <common/shellwords.h>
#include <kolta/commands/commands.h>
#include <koltaconsole/actions/actions.h>
#include <koltaconsole/session/session.h>

#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QVBoxLayout>

#include <algorithm>

namespace KoltaConsole {

namespace {

constexpr int kActionRole = Qt::UserRole; ///< ID; empty: the item completes a line
constexpr int kLineRole = Qt::UserRole + 1;
constexpr int kServerRole = Qt::UserRole + 2;
constexpr int kMostShown = 200; ///< of the words that a line may go on with
const QString kPrompt = QStringLiteral("kolta ");

} // namespace

Palette::Palette(Session& session, ActionTable& actions, QWidget* parent)
    : QFrame(parent)
    , m_session(session)
    , m_actions(actions)
    , m_commands(KoltaCli::allCommands(), QStringLiteral("kolta "), QString(), QString())
    , m_line(new QLineEdit(this))
    , m_list(new QListWidget(this))
    , m_told(new QLabel(this))
{
    setFrameShape(QFrame::Box);
    setAutoFillBackground(true);
    m_line->setPlaceholderText(tr("an action, a server, or a command of kolta"));
    m_line->setAccessibleName(tr("Command palette"));
    m_line->installEventFilter(this);
    m_list->setFrameShape(QFrame::NoFrame);
    m_list->setFocusPolicy(Qt::NoFocus);
    m_told->setProperty("dim", true);
    m_told->setWordWrap(true);
    m_told->setMinimumHeight(2 * fontMetrics().lineSpacing() + 8);
    m_told->setContentsMargins(6, 2, 6, 4);
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(6, 6, 6, 2);
    layout->addWidget(m_line);
    layout->addWidget(m_list, 1);
    layout->addWidget(m_told);
    connect(m_line, &QLineEdit::textChanged, this, &Palette::fill);
    connect(m_line, &QLineEdit::textEdited, this, [this] { m_historyPlace = m_history.size(); });
    connect(m_list, &QListWidget::currentRowChanged, this, &Palette::tell);
    connect(m_list, &QListWidget::itemClicked, this, &Palette::take);
    hide();
}

void Palette::openForPage()
{
    open();
    m_isForPage = true;
    fill();
}

void Palette::open()
{
    m_isForPage = false;
    resize(520, 320);
    m_line->clear();
    m_historyPlace = m_history.size();
    fill();
    raise();
    show();
    m_line->setFocus();
}

/// Whether a line of `kolta` is being typed, and nothing else.
bool Palette::isLine() const
{
    return m_line->text().startsWith(kPrompt);
}

/// What is looked for.
QString Palette::typed() const
{
    return isLine() ? m_line->text().mid(kPrompt.size()) : m_line->text();
}

QStringList Palette::orderedActions() const
{
    QStringList ids = m_actions.ids();
    const auto place = [this](const QString& id) {
        if (m_actions.pageOf(id).isEmpty())
            return 1;
        return m_isForPage && m_actions.isInSight(id) ? 0 : 2;
    };
    std::stable_sort(ids.begin(), ids.end(),
                     [&place](const QString& a, const QString& b) { return place(a) < place(b); });
    return ids;
}

void Palette::addActions(const QString& words)
{
    const QStringList wanted = words.toLower().split(QLatin1Char(' '), Qt::SkipEmptyParts);
    for (const QString& id : orderedActions()) {
        const ActionTable::Entry& entry = *m_actions.find(id);
        const QString page = m_actions.pageOf(id);
        QString text = page.isEmpty() ? entry.text : QStringLiteral("%1 (%2)").arg(entry.text, page);
        const auto fits = [&text](const QString& word) { return text.toLower().contains(word); };
        if (!std::all_of(wanted.begin(), wanted.end(), fits))
            continue;
        const QString keys = entry.shortcut.toString(QKeySequence::NativeText);
        auto* const item =
            new QListWidgetItem(keys.isEmpty() ? text : QStringLiteral("%1    %2").arg(text, keys), m_list);
        item->setData(kActionRole, id);
    }
}

/// Those whose address, state and host have all the words.
void Palette::addServers(const QString& words)
{
    const QStringList wanted = words.toLower().split(QLatin1Char(' '), Qt::SkipEmptyParts);
    for (const ServerFacts& facts : m_session.facts()) {
        const QString text = QStringLiteral("%1 — %2").arg(facts.address, facts.look().word);
        const QString search = QStringLiteral("%1 %2").arg(text, facts.host).toLower();
        const auto fits = [&search](const QString& word) { return search.contains(word); };
        if (wanted.isEmpty() || !std::all_of(wanted.begin(), wanted.end(), fits))
            continue;
        auto* const item = new QListWidgetItem(text, m_list);
        item->setData(kServerRole, facts.address);
    }
}

/// Of the servers that the window shows: to look for others would start some in this process.
QStringList Palette::namesOf(KoltaCli::NameKind kind, const QString& begin, const QStringList& words) const
{
    QVector<Kolta::KoltaServerInterface*> servers;
    for (const ServerFacts& facts : m_session.facts()) {
        if (auto* const server = facts.isStale() ? nullptr : m_session.server(facts.address))
            servers.append(server);
    }
    return KoltaCli::namesAmong(kind, servers, begin, words);
}

void Palette::addCompletions(const QString& line)
{
    const KoltaCli::Completion completion = KoltaCli::completeLine(
        line, m_commands, [this](KoltaCli::NameKind kind, const QString& begin, const QStringList& words) {
            return namesOf(kind, begin, words);
        });
    const QString head = line.left(line.size() - completion.typed);
    for (const QString& word : completion.candidates.mid(0, kMostShown)) {
        const QString whole = head + KoltaApps::typedWord(word, !word.endsWith(QLatin1Char('/')));
        auto* const item = new QListWidgetItem(QStringLiteral("$ kolta ") + whole, m_list);
        item->setData(kLineRole, whole);
    }
}

void Palette::fill()
{
    m_list->clear();
    if (!isLine()) {
        addActions(typed());
        addServers(typed());
    }
    addCompletions(typed());
    // Enter alone does nothing, and adds no word to a line.
    const bool isBetween = isLine() && typed().endsWith(QLatin1Char(' '));
    m_list->setCurrentRow(m_list->count() > 0 && !typed().isEmpty() && !isBetween ? 0 : -1);
    tell();
}

/// Whom it would hit too, for nobody sees what is selected on a page that is not shown.
QString Palette::effectOf(const QString& id, const QString& object) const
{
    const ActionTable::Entry& entry = *m_actions.find(id);
    const QString page = m_actions.isInSight(id) ? QString() : m_actions.pageOf(id);
    QString text = object.isEmpty() ? entry.text : tr("%1: %2").arg(entry.text, object);
    if (!page.isEmpty())
        text = tr("show %1, then %2").arg(page, text);
    return tr("Enter: %1").arg(text);
}

/// Whether the line is typed as it stands in the list, or goes on behind that.
bool Palette::isWhole() const
{
    const QListWidgetItem* const item = m_list->currentItem();
    return !item || typed().startsWith(item->data(kLineRole).toString());
}

/// The line that Enter is for.
QString Palette::wantedLine() const
{
    return kPrompt + (isWhole() ? typed().trimmed() : m_list->currentItem()->data(kLineRole).toString());
}

QString Palette::effectOfLine() const
{
    const QString line = wantedLine();
    if (const auto request = m_actions.requestOf(line)) {
        const QString problem = m_actions.enabledBecause(*request);
        const QString effect = effectOf(request->id, request->asked.object);
        if (!problem.isEmpty())
            return problem;
        return isWhole() ? effect : tr("Enter completes the line. Then %1").arg(effect);
    }
    const KoltaCli::Command* const command = m_commands.find(line.section(QLatin1Char(' '), 1, 1));
    return command ? tr("Tab completes. The console has no action for this line; Enter puts it below, to be "
                        "copied: %1")
                         .arg(QLatin1String(command->summary))
                   : tr("Nothing is called so.");
}

/// What Enter will do.
void Palette::tell()
{
    const QListWidgetItem* const item = m_list->currentItem();
    const QString id = item ? item->data(kActionRole).toString() : QString();
    if (!id.isEmpty()) {
        const QString problem = m_actions.enabledBecause(id);
        const auto& object = m_actions.find(id)->object;
        m_told->setText(problem.isEmpty() ? effectOf(id, object ? object() : QString()) : problem);
        return;
    }
    if (const QString server = item ? item->data(kServerRole).toString() : QString(); !server.isEmpty()) {
        m_told->setText(tr("Enter: show %1 alone").arg(server));
        return;
    }
    if (!item && typed().isEmpty()) {
        m_told->setText(tr("Type, or choose with the arrow keys."));
        return;
    }
    m_told->setText(effectOfLine());
}

/// As the newest of the history, which has no empty lines and none twice in a row.
void Palette::keepTyped()
{
    if (!typed().trimmed().isEmpty() && m_history.value(m_history.size() - 1) != m_line->text())
        m_history.append(m_line->text());
    m_historyPlace = m_history.size();
}

/// Shows the line of the history that many further on, or what stood there before; false when there is none.
bool Palette::recall(int step)
{
    const int place = m_historyPlace + step;
    if (place < 0 || place > m_history.size())
        return false;
    if (m_historyPlace == m_history.size())
        m_typed = m_line->text();
    m_historyPlace = place;
    m_line->setText(m_history.value(place, m_typed));
    return true;
}

void Palette::take()
{
    const QListWidgetItem* const item = m_list->currentItem();
    const QString id = item ? item->data(kActionRole).toString() : QString();
    keepTyped();
    if (!id.isEmpty()) {
        if (!m_actions.enabledBecause(id).isEmpty())
            return tell();
        hide();
        m_actions.run(id);
        return;
    }
    if (const QString server = item ? item->data(kServerRole).toString() : QString(); !server.isEmpty()) {
        hide();
        Q_EMIT si_ServerWanted(server);
        return;
    }
    takeLine();
}

/// What would do something is done only when it is typed in full: the first that fits may be another.
void Palette::takeLine()
{
    const QString line = wantedLine();
    const auto request = m_actions.requestOf(line);
    if (request && !isWhole()) {
        m_line->setText(line);
        return;
    }
    if (request ? !m_actions.enabledBecause(*request).isEmpty()
                : !m_commands.find(line.section(QLatin1Char(' '), 1, 1)))
        return tell();
    hide();
    if (!request) {
        Q_EMIT si_Line(line);
    } else if (!m_actions.run(*request)) { // its page shows another state than was known
        show();
        m_line->setFocus();
        tell();
    }
}

bool Palette::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() != QEvent::KeyPress)
        return QFrame::eventFilter(watched, event);
    const int row = m_list->currentRow();
    switch (static_cast<QKeyEvent*>(event)->key()) {
    case Qt::Key_Escape:
        hide();
        parentWidget()->setFocus();
        return true;
    case Qt::Key_Down:
        if (row > 0 || !recall(1))
            m_list->setCurrentRow(qMin(row + 1, m_list->count() - 1));
        return true;
    case Qt::Key_Up:
        if (row > 0)
            m_list->setCurrentRow(row - 1);
        else
            recall(-1);
        return true;
    case Qt::Key_Tab:
        if (const auto* const item = m_list->currentItem(); item && !item->data(kLineRole).isNull())
            m_line->setText((isLine() ? kPrompt : QString()) + item->data(kLineRole).toString() +
                            QLatin1Char(' '));
        return true;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        take();
        return true;
    default:
        return QFrame::eventFilter(watched, event);
    }
}

} // namespace KoltaConsole
