#include "eventspage.h"

#include "eventwords.h"
#include "linksview.h"
#include "traceview.h"

#include <common/actionlines.h>
#include <koltacommon/journal.h>
#include <koltaconsole/actions/actions.h>
#include <koltaconsole/session/session.h>
#include <koltaconsole/widgets/columns.h>
#include <koltaconsole/widgets/eventtable.h>
#include <koltaconsole/widgets/filterbar.h>

#include <QComboBox>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QPushButton>
#include <QSaveFile>
#include <QSettings>
#include <QTabWidget>
#include <QTreeView>
#include <QVBoxLayout>

namespace KoltaConsole {

using Kolta::Event;
using Kolta::EventModel;

namespace {

/// A journal of 100,000 lines is gone over after a pause in the typing, not at each key.
constexpr int kTypingMs = 150;
constexpr int kCountMs = 250;
constexpr int kDayCheckMs = 5000;

// Data of the choices: a weight at least, or a kind.
constexpr int kFirstKind = 100;

} // namespace

EventsPage::EventsPage(Session& session, ActionTable& actions, QWidget* parent)
    : Page(session, actions, parent)
    , m_filter(
          new FilterBar(tr("Filter: S3, alarm, !tuner, 11:00-12:00, text"), tr("Filter of events"), this))
    , m_kinds(new QComboBox(this))
    , m_table(new QTreeView(this))
    , m_tabs(new QTabWidget(this))
    , m_model(session.journal())
{
    makeTable();
    makeKinds();
    makeActions();
    m_tabs->setDocumentMode(true);
    m_tabs->addTab(makeEvents(), tr("Events"));
    m_links = new LinksView(session, actions, m_tabs);
    m_tabs->addTab(m_links, tr("Links"));
    m_trace = new TraceView(session, m_tabs);
    m_tabs->addTab(m_trace, tr("Trace"));
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 4, 0, 0);
    layout->addWidget(m_tabs);
    m_typing.setSingleShot(true);
    m_typing.setInterval(kTypingMs);
    m_counting.setSingleShot(true);
    m_counting.setInterval(kCountMs);
    connect(m_filter->line(), &QLineEdit::textChanged, &m_typing, qOverload<>(&QTimer::start));
    connect(&m_typing, &QTimer::timeout, this, &EventsPage::applyFilter);
    connect(&m_counting, &QTimer::timeout, this, &EventsPage::showCount);
    connect(m_kinds, qOverload<int>(&QComboBox::currentIndexChanged), this, &EventsPage::applyFilter);
    const auto count = [this] {
        if (!m_counting.isActive())
            m_counting.start();
    };
    connect(&m_model, &QAbstractItemModel::rowsInserted, this, count);
    connect(&m_model, &QAbstractItemModel::rowsRemoved, this, count);
    connect(&m_model, &QAbstractItemModel::modelReset, this, &EventsPage::showCount);
    connect(&m_model, &EventModel::heldBackChanged, this, count);
    connect(m_tabs, &QTabWidget::currentChanged, this, &Page::si_CommandLineChanged);
    connect(&m_dayCheck, &QTimer::timeout, this, &EventsPage::followDay);
    m_dayCheck.start(kDayCheckMs);
    showCount();
}

QWidget* EventsPage::makeEvents()
{
    auto* const events = new QWidget(m_tabs);
    auto* const top = new QHBoxLayout;
    top->setContentsMargins(8, 5, 8, 5);
    top->setSpacing(8);
    top->addWidget(m_filter, 1);
    m_filter->addWidget(m_kinds);
    m_pause = actions().makeButton(QStringLiteral("events-pause"), events);
    // As wide as it becomes while it is stopped.
    m_pause->setMinimumWidth(m_pause->fontMetrics().horizontalAdvance(tr("Go on (%1 new)").arg(99999)) + 24);
    top->addWidget(m_pause);
    top->addWidget(actions().makeButton(QStringLiteral("events-save"), events));
    auto* const layout = new QVBoxLayout(events);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addLayout(top);
    layout->addWidget(m_table, 1);
    return events;
}

void EventsPage::makeTable()
{
    makeEventTable(*m_table, m_model);
    m_table->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_table->setAccessibleName(tr("Events"));
    setColumnWidths(*m_table, {170, 110, 80, 120});
}

void EventsPage::makeKinds()
{
    m_kinds->setAccessibleName(tr("Kind of events"));
    m_kinds->addItem(tr("everything"), static_cast<int>(Event::Weight::Note));
    m_kinds->addItem(tr("attention and alarms"), static_cast<int>(Event::Weight::Attention));
    m_kinds->addItem(tr("alarms alone"), static_cast<int>(Event::Weight::Alarm));
    m_kinds->insertSeparator(m_kinds->count());
    for (int kind = 0; kind < Event::kKindCount; ++kind)
        m_kinds->addItem(Event::title(static_cast<Event::Kind>(kind)), kFirstKind + kind);
    m_kinds->setMaxVisibleItems(m_kinds->count());
}

void EventsPage::makeActions()
{
    const auto add = [this](const char* id, const QString& text, const QKeySequence& keys,
                            const std::function<void()>& run, const std::function<QString()>& line = {}) {
        ActionTable::Entry entry;
        entry.id = QLatin1String(id);
        entry.text = text;
        entry.shortcut = keys;
        entry.run = run;
        entry.line = line;
        actions().add(entry, this);
    };
    add("events-pause", tr("Pause"), QKeySequence(Qt::CTRL + Qt::Key_P), [this] { pause(); });
    add(
        "events-save", tr("Save…"), QKeySequence::Save, [this] { askWhereTo(); },
        [this] { return saveLine(); });
}

void EventsPage::applyFilter()
{
    const QDateTime now = session().now();
    m_today = now.date();
    Kolta::EventFilter filter = eventFilterOf(m_filter->text(), now);
    const int choice = m_kinds->currentData().toInt();
    if (choice >= kFirstKind)
        filter.kinds = {static_cast<Event::Kind>(choice - kFirstKind)};
    else
        filter.least = static_cast<Event::Weight>(choice);
    if (!server().isEmpty())
        filter.servers = QStringList(server());
    m_model.setFilter(filter);
}

/// Times that were typed are of today, whichever day that becomes.
void EventsPage::followDay()
{
    const Kolta::EventFilter& filter = m_model.filter();
    const bool hasTimes = filter.from.isValid() || filter.to.isValid();
    if (hasTimes && m_today.isValid() && m_today != session().now().date())
        applyFilter();
}

void EventsPage::pause()
{
    m_model.setHeld(!m_model.isHeld());
    showCount();
}

QString EventsPage::whyNone() const
{
    if (!m_filter->text().trimmed().isEmpty())
        return server().isEmpty() ? tr("No event matches \"%1\".").arg(m_filter->text())
                                  : tr("No event of %1 matches \"%2\".").arg(server(), m_filter->text());
    const int choice = m_kinds->currentData().toInt();
    QString text = tr("No events yet");
    if (choice == static_cast<int>(Event::Weight::Alarm))
        text = tr("No alarms yet");
    else if (choice == static_cast<int>(Event::Weight::Attention))
        text = tr("Nothing that needs attention yet");
    else if (choice >= kFirstKind)
        text = tr("No events of this kind yet: %1").arg(m_kinds->currentText());
    return server().isEmpty() ? text : tr("%1 (%2 alone)").arg(text, server());
}

void EventsPage::showCount()
{
    const QLocale locale;
    const Kolta::Journal& journal = session().journal();
    const auto all = static_cast<qulonglong>(journal.endNumber() - journal.firstNumber());
    const int shown = m_model.rowCount();
    if (shown == 0 && all > 0)
        m_filter->tell(whyNone(), true);
    else
        m_filter->tell(
            tr("%1 of %2 events; the newest on top").arg(locale.toString(shown), locale.toString(all)),
            false);
    m_pause->setText(m_model.isHeld() ? tr("Go on (%1 new)").arg(locale.toString(m_model.heldBack()))
                                      : tr("Pause"));
}

/// Other programs read the journal from its file.
QString EventsPage::saveLine() const
{
    const QString file = session().journal().path();
    return file.isEmpty() ? QString() : KoltaApps::ActionLines(server()).events(file, m_model.filter());
}

/// What is shown when the place has been chosen is what is saved.
void EventsPage::askWhereTo()
{
    auto* const dialog =
        new QFileDialog(this, tr("Save events"), QString(), tr("Table (*.csv);;JSON lines (*.jsonl)"));
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    dialog->setDefaultSuffix(QStringLiteral("csv"));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(dialog, &QFileDialog::filterSelected, dialog, [dialog](const QString& filter) {
        dialog->setDefaultSuffix(filter.contains(QLatin1String("jsonl")) ? QStringLiteral("jsonl")
                                                                         : QStringLiteral("csv"));
    });
    connect(dialog, &QFileDialog::fileSelected, this, &EventsPage::saveTo);
    dialog->open();
}

bool EventsPage::saveTo(const QString& file)
{
    const bool isTable = file.endsWith(QLatin1String(".csv"), Qt::CaseInsensitive);
    QSaveFile target(file);
    const bool isSaved =
        target.open(QIODevice::WriteOnly) &&
        target.write(eventsAs(isTable ? EventFormat::Csv : EventFormat::JsonLines, m_model)) >= 0 &&
        target.commit();
    if (isSaved)
        session().tell(tr("%1 events saved in %2").arg(QLocale().toString(m_model.rowCount()), file),
                       Event::Weight::Note);
    else
        session().tell(tr("events cannot be saved in %1: %2").arg(file, target.errorString()),
                       Event::Weight::Attention);
    return isSaved;
}

void EventsPage::showPart(const QString& name)
{
    const QString links = QStringLiteral("links");
    if (name != links && !name.startsWith(links + QLatin1Char('/')))
        return;
    m_tabs->setCurrentWidget(m_links);
    m_links->chooseBranch(name.mid(links.size() + 1));
}

QLineEdit* EventsPage::filterLine() const
{
    if (m_tabs->currentWidget() == m_links)
        return m_links->filterLine();
    return m_tabs->currentWidget() == m_trace ? m_trace->filterLine() : m_filter->line();
}

bool EventsPage::isFilled() const
{
    return m_model.rowCount() > 0;
}

void EventsPage::save(QSettings& settings) const
{
    settings.setValue(QStringLiteral("events/kind"), m_kinds->currentData());
}

void EventsPage::restore(const QSettings& settings)
{
    const int place = m_kinds->findData(settings.value(QStringLiteral("events/kind")).toInt());
    if (place >= 0)
        m_kinds->setCurrentIndex(place);
}

QString EventsPage::commandLine() const
{
    if (m_tabs->currentWidget() == m_trace)
        return QString(); // it is of this process
    return m_tabs->currentWidget() == m_links ? QStringLiteral("kolta servers") : lineOf("watch");
}

void EventsPage::followServer()
{
    applyFilter();
    m_links->showServer(server());
}

} // namespace KoltaConsole
