#include "mainwindow.h"

#include "attentionlist.h"
#include "hints.h"
#include "installationtree.h"
#include "palette.h"
#include "topbar.h"

#include <koltaconsole/actions/serveractions.h>
#include <koltaconsole/actions/treelines.h>
#include <koltaconsole/pages/page.h>
#include <koltaconsole/pages/pages.h>
#include <koltaconsole/session/keptsettings.h>
#include <koltaconsole/session/options.h>
#include <koltaconsole/session/orderdraft.h>
#include <koltaconsole/session/session.h>
#include <koltaconsole/widgets/columns.h>
#include <koltaconsole/widgets/eventtable.h>
#include <koltaconsole/widgets/layouts.h>
#include <koltaconsole/widgets/rowtexts.h>
#include <koltaconsole/widgets/stateitemdelegate.h>

#ifdef KOLTA_WITH_DISTRIBUTION
#include "replaybar.h"

#include <distribution/replay.h>
#endif

#include <QAbstractItemView>
#include <QApplication>
#include <QClipboard>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSplitter>
#include <QStyle>
#include <QTabWidget>
#include <QTreeView>
#include <QVBoxLayout>

#include <utility>

namespace KoltaConsole {

using Kolta::EventModel;

namespace {

constexpr int kTreeWidth = 256;
constexpr int kEventsHeight = 99; ///< four rows
constexpr int kFrame = 4;
constexpr int kWelcomeMs = 10000;
constexpr int kLineMargins = 16; ///< of the line of kolta, and some air

} // namespace

MainWindow::MainWindow(Session& session, const Options& options)
    : m_session(session)
    , m_isRemembered(options.isRemembered)
    , m_actions(session, this)
    , m_serverActions(new ServerActions(session, m_actions, this))
    , m_eventModel(session.journal(), this)
    , m_top(new TopBar(session, this))
    , m_tree(new InstallationTree(session, this))
    , m_tabs(new QTabWidget(this))
    , m_banner(new QLabel(this))
    , m_commandLine(new QLineEdit(this))
    , m_moreLines(new QLabel(this))
    , m_events(new QTreeView(this))
    , m_sideways(new QSplitter(Qt::Horizontal, this))
    , m_upright(new QSplitter(Qt::Vertical, this))
    , m_attention(new AttentionList(session, this))
    , m_palette(new Palette(session, m_actions, this))
{
    setWindowTitle(tr("Kolta – %1").arg(session.url()));
    setMinimumSize(1024, 640);
    makeEvents();
    arrange();
    for (const PageEntry& page : pageTable()) {
        auto* const place = new QWidget(m_tabs);
        (new QVBoxLayout(place))->setContentsMargins(0, 0, 0, 0);
        m_tabs->addTab(place, QCoreApplication::translate("Pages", page.title));
        m_pages.append(nullptr);
    }
    makeActions();
    makeRegionActions();
    connectAll();
    restore(options.page);
    // Their actions are found and their keys told before anybody has seen them.
    for (int tab = 0; tab < m_tabs->count(); ++tab)
        pageAt(tab);
    showBanner();
    showSettingsProblem();
}

void MainWindow::arrange()
{
    m_tabs->setDocumentMode(true);
    m_sideways->addWidget(m_tree);
    m_sideways->addWidget(m_tabs);
    m_sideways->setStretchFactor(1, 1);
    m_sideways->setHandleWidth(1);
    auto* const below = new QWidget(this);
    auto* const belowLayout = new QVBoxLayout(below);
    belowLayout->setContentsMargins(0, 0, 0, 0);
    belowLayout->setSpacing(0);
    belowLayout->addWidget(makeCommandLine());
    belowLayout->addWidget(m_events, 1);
    m_upright->addWidget(m_sideways);
    m_upright->addWidget(below);
    m_upright->setStretchFactor(0, 1);
    m_upright->setHandleWidth(1);
    m_banner->setObjectName(QStringLiteral("banner"));
    m_banner->setProperty("badge", QStringLiteral("alarm"));
    m_banner->setContentsMargins(12, 5, 12, 5);
    m_banner->setWordWrap(true);
    auto* const all = new QWidget(this);
    auto* const layout = new QVBoxLayout(all);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_top);
    addReplay(*all);
    layout->addWidget(m_banner);
    if (m_isRemembered)
        addHints(*layout);
    layout->addWidget(m_upright, 1);
    setCentralWidget(all);
}

/// A frame around all that is shown says that it is not the present.
void MainWindow::addReplay(QWidget& all)
{
#ifdef KOLTA_WITH_DISTRIBUTION
    if (!m_session.replay())
        return;
    all.setProperty("replay", true);
    all.setAttribute(Qt::WA_StyledBackground);
    all.layout()->setContentsMargins(kFrame, kFrame, kFrame, kFrame);
    all.layout()->addWidget(new ReplayBar(m_session, m_actions, &all));
    // The line names the moment; one that somebody is marking stays.
    connect(m_session.replay(), &distribution::Replay::si_Moved, this, [this] {
        if (!m_commandLine->hasSelectedText())
            fitCommandLine();
    });
#else
    Q_UNUSED(all)
#endif
}

void MainWindow::connectAll()
{
    connect(m_tabs, &QTabWidget::currentChanged, this, &MainWindow::showTab);
    connect(m_tree, &InstallationTree::si_ServerSelected, this, &MainWindow::showServer);
    connect(m_tree, &InstallationTree::si_ClassesSelected, this, &MainWindow::showClasses);
    connect(m_attention, &AttentionList::si_ServerWanted, m_tree, &InstallationTree::selectServer);
    connect(m_palette, &Palette::si_ServerWanted, m_tree, &InstallationTree::selectServer);
    connect(m_palette, &Palette::si_Line, this, &MainWindow::showCommandLine);
    connect(m_top, &TopBar::si_AttentionWanted, m_attention, &AttentionList::open);
    connect(m_top, &TopBar::si_PaletteWanted, m_palette, &Palette::open);
    connect(m_top, &TopBar::si_LinksWanted, this, [this] { showLinks(QString()); });
    connect(m_tree, &InstallationTree::si_MenuWanted, m_serverActions, &ServerActions::showMenu);
    connect(m_serverActions, &ServerActions::si_LinksWanted, this, &MainWindow::showLinks);
    connect(m_serverActions, &ServerActions::si_ServerWanted, m_tree, &InstallationTree::selectServer);
    connect(m_serverActions, &ServerActions::si_Line, this, &MainWindow::showCommandLine);
    m_welcome.setSingleShot(true);
    m_welcome.setInterval(kWelcomeMs);
    connect(&m_welcome, &QTimer::timeout, m_banner, &QWidget::hide);
    connect(&m_session, &Session::si_LinkChanged, this, &MainWindow::showBanner);
    connect(&m_session, &Session::si_SettingsFailed, this, &MainWindow::showSettingsProblem);
    connect(qApp, &QApplication::focusChanged, this, [this](const QWidget* /*old*/, const QWidget* now) {
        for (QWidget* const list : {static_cast<QWidget*>(m_attention), static_cast<QWidget*>(m_palette)}) {
            if (now && list->isVisible() && !list->isAncestorOf(now))
                list->hide();
        }
    });
    connect(&m_actions, &ActionTable::si_Ran, this, [this](const QString& /*id*/, const QString& line) {
        if (!line.isEmpty())
            showCommandLine(line);
    });
}

MainWindow::~MainWindow()
{
    qApp->disconnect(this); // closing moves the focus
    if (m_isRemembered)
        save();
    m_session.disconnect(this); // parts that go save what they have
}

QWidget* MainWindow::makeCommandLine()
{
    auto* const bar = new QWidget(this);
    bar->setFixedHeight(35);
    m_copy = new QPushButton(tr("Copy"), bar);
    m_commandLine->setReadOnly(true);
    m_commandLine->setFrame(false);
    m_commandLine->setStyleSheet(
        QStringLiteral("border: none; background: transparent; font: 9pt \"DejaVu Sans Mono\", monospace;"));
    m_commandLine->setProperty("dim", true);
    m_commandLine->setAccessibleName(tr("The command that does the same"));
    auto* const layout = new QHBoxLayout(bar);
    layout->setContentsMargins(6, 2, 12, 2);
    layout->addWidget(m_commandLine, 1);
    m_moreLines->setProperty("dim", true);
    layout->addWidget(m_moreLines);
    layout->addWidget(m_copy);
    connect(m_copy, &QPushButton::clicked, this, &MainWindow::copyLines);
    return bar;
}

void MainWindow::makeEvents()
{
    makeEventTable(*m_events, m_eventModel);
    m_events->setHeaderHidden(true);
    m_events->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    const int widths[] = {170, 104, 70, 110, 400};
    for (int column = 0; column < EventModel::eColumnCount; ++column)
        m_events->header()->resizeSection(column, widths[column]);
    m_events->setAccessibleName(tr("What happened"));
}

void MainWindow::makeActions()
{
    for (int tab = 0; tab < m_tabs->count(); ++tab) {
        const QByteArray id = QByteArray("page-") + pageTable().at(tab).id;
        addKey(id.constData(), tr("Go to %1").arg(m_tabs->tabText(tab)),
               QKeySequence(Qt::CTRL + Qt::Key_1 + tab),
               [this, tab] { showPage(pageIds().at(tab))->setFocus(); });
    }
    addKey("palette", tr("Command palette"), QKeySequence(Qt::CTRL + Qt::Key_K),
           [this] { m_palette->open(); });
    addKey("attention-next", tr("Next that needs attention"), QKeySequence(Qt::Key_F8),
           [this] { m_attention->step(1); });
    addKey("attention-before", tr("The one before that needs attention"),
           QKeySequence(Qt::SHIFT + Qt::Key_F8), [this] { m_attention->step(-1); });
    addKey("keys", tr("All actions and their keys"), QKeySequence(Qt::Key_F1),
           [this] { m_palette->openForPage(); });
    addKey("copy-rows", tr("Copy the selected rows as text"), QKeySequence(QKeySequence::Copy),
           [this] { copyRows(); });
    ActionTable::Entry copy;
    copy.id = QStringLiteral("copy-line");
    copy.text = tr("Copy the kolta line");
    copy.shortcut = QKeySequence(Qt::CTRL + Qt::SHIFT + Qt::Key_C);
    copy.run = [this] { copyLines(); };
    copy.problem = [this] { return m_lines.isEmpty() ? tr("No line does this.") : QString(); };
    m_actions.add(copy, this);
    addKey("theme", tr("Light or dark"), QKeySequence(), [this] {
        Theme& theme = Theme::instance();
        const bool wasLight = theme.kind() == Theme::Kind::Light;
        const Theme::Choice chosen = wasLight ? Theme::Choice::Dark : Theme::Choice::Light;
        theme.apply(chosen);
        if (m_isRemembered)
            Options::rememberTheme(chosen);
    });
}

void MainWindow::showLinks(const QString& server)
{
    showPage(QStringLiteral("events"));
    currentPage()->showPart(server.isEmpty() ? QStringLiteral("links") : QStringLiteral("links/") + server);
}

Page* MainWindow::pageAt(int tab)
{
    if (tab < 0 || m_pages.at(tab))
        return tab < 0 ? nullptr : m_pages.at(tab);
    QWidget* const place = m_tabs->widget(tab);
    Page* const page = pageTable().at(tab).make(m_session, m_actions, place);
    m_pages[tab] = page;
    place->layout()->addWidget(page);
    if (m_isRemembered) {
        page->restore(QSettings());
        restoreLayout(QSettings(), pageIds().at(tab), *page);
    }
    page->showClasses(m_classes);
    if (!m_server.isEmpty())
        page->showServer(m_server);
    connect(page, &Page::si_ServerWanted, m_tree, &InstallationTree::selectServer);
    connect(page, &Page::si_ServerMenuWanted, m_serverActions, &ServerActions::showMenu);
    connect(page, &Page::si_CommandLineChanged, this, [this, page] {
        if (page == currentPage())
            showCommandLine(page->commandLine());
    });
    return page;
}

Page* MainWindow::showPage(const QString& id)
{
    const int tab = pageIds().indexOf(id);
    if (tab < 0)
        return nullptr;
    m_tabs->setCurrentIndex(tab);
    showTab(tab);
    return pageAt(tab);
}

Page* MainWindow::currentPage() const
{
    return m_pages.value(m_tabs->currentIndex());
}

void MainWindow::showTab(int tab)
{
    if (const Page* const page = pageAt(tab))
        showCommandLine(page->commandLine());
}

bool MainWindow::isFilled() const
{
    const Page* const page = currentPage();
    return page && !m_session.facts().isEmpty() && page->isFilled();
}

/// Of the table that has the focus.
void MainWindow::copyRows() const
{
    const auto* const view = qobject_cast<const QAbstractItemView*>(QApplication::focusWidget());
    const QString text = view ? selectedText(*view) : QString();
    if (!text.isEmpty())
        QApplication::clipboard()->setText(text);
}

void MainWindow::showBanner()
{
    const LinkState& link = m_session.link();
    const bool isGone = m_session.isOutOfSight();
    StateItemDelegate::setAllStale(isGone);
    for (QAbstractItemView* const view : findChildren<QAbstractItemView*>())
        view->viewport()->update();
    if (isGone) {
        m_goneSince = link.since;
        m_welcome.stop();
        m_banner->setText(
            tr("Everything below is last known of %1. Nothing is sent later by itself; what you were "
               "writing is kept.")
                .arg(timeText(link.since)));
    } else if (m_goneSince.isValid()) {
        const qint64 seconds = m_goneSince.secsTo(m_session.now());
        m_goneSince = QDateTime();
        m_banner->setText(seconds < 120 ? tr("The broker is back after %1 s.").arg(seconds)
                                        : tr("The broker is back after %1 min.").arg(seconds / 60));
        m_welcome.start();
    }
    m_banner->setProperty("badge", isGone ? QStringLiteral("alarm") : QStringLiteral("quiet"));
    m_banner->style()->unpolish(m_banner);
    m_banner->style()->polish(m_banner);
    m_banner->setVisible(isGone || m_welcome.isActive());
}

void MainWindow::showSettingsProblem()
{
    if (m_session.settingsProblem().isEmpty() || m_session.isOutOfSight())
        return;
    m_banner->setText(m_session.settingsProblem());
    m_welcome.start();
    m_banner->show();
}

/// Of several the first, and how many more; all of them are copied.
void MainWindow::showCommandLine(const QString& line)
{
    const bool wasEmpty = std::exchange(m_lines, line).isEmpty();
    const int more = line.count(QLatin1Char('\n'));
    m_moreLines->setText(more > 0 ? tr("and %n more line(s)", nullptr, more) : QString());
    m_copy->setEnabled(!line.isEmpty());
    if (wasEmpty != line.isEmpty())
        m_actions.refresh();
    fitCommandLine();
}

/// The tree is named where there is room for it, and always in what is copied.
void MainWindow::fitCommandLine()
{
    const QString whole = linesOnTree(m_lines, m_session.treeUrl());
    const QString prompt = m_lines.isEmpty() ? QString() : QStringLiteral("$ ");
    const auto first = [&prompt](const QString& lines) -> QString {
        return prompt + lines.section(QLatin1Char('\n'), 0, 0);
    };
    const int room = m_commandLine->width() - kLineMargins;
    const bool fits = m_commandLine->fontMetrics().horizontalAdvance(first(whole)) <= room;
    m_commandLine->setText(first(fits ? whole : m_lines));
    m_commandLine->setCursorPosition(0);
    m_commandLine->setToolTip(
        m_session.isSimulated() && !m_lines.isEmpty()
            ? tr("%1\nThe servers are simulated by this console: no other program reaches them.").arg(whole)
            : whole);
}

void MainWindow::copyLines() const
{
    if (!m_lines.isEmpty())
        QApplication::clipboard()->setText(linesOnTree(m_lines, m_session.treeUrl()));
}

void MainWindow::showServer(const QString& address)
{
    m_server = address;
    m_serverActions->select(address);
    for (Page* const page : qAsConst(m_pages)) {
        if (page)
            page->showServer(address);
    }
}

void MainWindow::showClasses(const QStringList& names)
{
    m_classes = names;
    for (Page* const page : qAsConst(m_pages)) {
        if (page)
            page->showClasses(names);
    }
}

void MainWindow::resizeEvent(QResizeEvent* event)
{
    QMainWindow::resizeEvent(event);
    m_attention->move(330, 38);
    m_palette->move(width() - 660, 38);
    QTimer::singleShot(0, this, &MainWindow::fitCommandLine); // its parts have their sizes then
}

void MainWindow::restore(const QString& page)
{
    resize(1280, 800);
    m_sideways->setSizes({kTreeWidth, 1280 - kTreeWidth});
    m_upright->setSizes({800 - kEventsHeight - 35 - 38, kEventsHeight + 35});
    QString first = page;
    if (m_isRemembered) {
        const QSettings settings;
        restoreGeometry(settings.value(QStringLiteral("geometry")).toByteArray());
        m_sideways->restoreState(settings.value(QStringLiteral("sideways")).toByteArray());
        m_upright->restoreState(settings.value(QStringLiteral("upright")).toByteArray());
        m_tree->setHidden(settings.value(QStringLiteral("hidden/tree")).toBool());
        m_events->setHidden(settings.value(QStringLiteral("hidden/events")).toBool());
        restoreColumns(settings, QStringLiteral("strip"), *m_events);
        m_session.draft().restore();
        if (first.isEmpty())
            first = settings.value(QStringLiteral("page")).toString();
    }
    if (!showPage(first))
        showPage(pageIds().first());
    currentPage()->setFocus();
}

void MainWindow::save() const
{
    KeptSettings settings;
    m_session.draft().save();
    settings.setValue(QStringLiteral("geometry"), saveGeometry());
    settings.setValue(QStringLiteral("sideways"), m_sideways->saveState());
    settings.setValue(QStringLiteral("upright"), m_upright->saveState());
    settings.setValue(QStringLiteral("hidden/tree"), m_tree->isHidden());
    settings.setValue(QStringLiteral("hidden/events"), m_events->isHidden());
    saveColumns(settings, QStringLiteral("strip"), *m_events);
    settings.setValue(QStringLiteral("page"), pageIds().value(m_tabs->currentIndex()));
    for (int tab = 0; tab < m_pages.size(); ++tab) {
        const Page* const page = m_pages.at(tab);
        if (page) {
            page->save(settings);
            saveLayout(settings, pageIds().at(tab), *page);
        }
    }
}

} // namespace KoltaConsole
