#include "shorttimepage.h"

#include "assignmentsview.h"
#include "conversionsview.h"
#include "profilesview.h"
#include "resultsview.h"
#include "shorttimemaps.h"

#include <common/actionlines.h>
#include <koltaconsole/session/session.h>

#include <koltacommon/viewroles.h>

#include <QComboBox>
#include <QHBoxLayout>
#include <QSignalBlocker>
#include <QTabWidget>
#include <QVBoxLayout>

#include <algorithm>

namespace KoltaConsole {

ShortTimePage::ShortTimePage(Session& session, ActionTable& actions, QWidget* parent)
    : Page(session, actions, parent)
    , m_servers(new QComboBox(this))
    , m_tabs(new QTabWidget(this))
    , m_profiles(new ProfilesView(session, actions, m_tabs))
    , m_assignments(new AssignmentsView(session, actions, m_tabs))
    , m_results(new ResultsView(session, actions, m_tabs))
    , m_conversions(new ConversionsView(session, actions, m_tabs))
{
    m_servers->setAccessibleName(tr("Server"));
    m_tabs->setDocumentMode(true);
    auto* const corner = new QWidget(m_tabs);
    auto* const room = new QHBoxLayout(corner);
    room->setContentsMargins(0, 0, 8, 3);
    room->addWidget(m_servers);
    m_tabs->setCornerWidget(corner);
    m_tabs->addTab(m_profiles, tr("Profiles"));
    m_tabs->addTab(m_assignments, tr("Assignments"));
    m_tabs->addTab(m_results, tr("Results"));
    m_tabs->addTab(m_conversions, tr("Conversions"));
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 4, 0, 0);
    layout->addWidget(m_tabs);
    const auto follow = [this] {
        if (isVisible())
            readServers();
    };
    connect(&session, &Session::si_FactsChanged, this, follow);
    connect(&session, &Session::si_LinkChanged, this, follow);
    connect(&session, &Session::si_UserChanged, this, follow);
    connect(m_servers, qOverload<int>(&QComboBox::currentIndexChanged), this, &ShortTimePage::refresh);
    connect(m_tabs, &QTabWidget::currentChanged, this, &ShortTimePage::refresh);
    connect(m_profiles, &ProfilesView::si_LineChanged, this, &ShortTimePage::tellCommandLine);
    connect(m_assignments, &AssignmentsView::si_LineChanged, this, &ShortTimePage::tellCommandLine);
    connect(&m_assignments->matrix(), &AssignmentMatrix::si_DraftChanged, this,
            [this] { m_profiles->setUses(m_assignments->matrix().uses()); });
    connect(m_conversions, &ConversionsView::si_LineChanged, this, &ShortTimePage::tellCommandLine);
    readServers();
}

QString ShortTimePage::chosenServer() const
{
    return m_servers->currentData().toString();
}

QLineEdit* ShortTimePage::filterLine() const
{
    const QWidget* const view = m_tabs->currentWidget();
    if (view == m_assignments)
        return m_assignments->filterLine();
    if (view == m_results)
        return m_results->filterLine();
    return view == m_conversions ? m_conversions->filterLine() : m_profiles->filterLine();
}

/// The one that is chosen stays, also while it is away.
void ShortTimePage::readServers()
{
    QStringList names;
    for (const ServerFacts& facts : session().facts())
        names.append(facts.address);
    std::sort(names.begin(), names.end(), [](const QString& a, const QString& b) {
        return Kolta::ViewRoles::sortText(a) < Kolta::ViewRoles::sortText(b);
    });
    QStringList shown;
    for (int i = 0; i < m_servers->count(); ++i)
        shown.append(m_servers->itemData(i).toString());
    if (shown != names) {
        const QString chosen = chosenServer();
        const QSignalBlocker quiet(m_servers);
        m_servers->clear();
        for (const QString& name : qAsConst(names))
            m_servers->addItem(name, name);
        m_servers->setCurrentIndex(qMax(0, m_servers->findData(chosen)));
    }
    refresh();
}

/// Each view follows the server's collections; what they have is shown where it is seen. Facts change often,
/// and the line of what somebody did elsewhere stays then.
void ShortTimePage::refresh()
{
    const QString address = chosenServer();
    m_profiles->showServer(address);
    m_assignments->showServer(address);
    m_assignments->setSeen(m_profiles->isVisible() || m_assignments->isVisible());
    m_results->showServer(address);
    refreshConversions();
    tellOtherCommandLine();
}

void ShortTimePage::refreshConversions()
{
    using Map = Kolta::ConvertProductionResultMap;
    const QString address = chosenServer();
    const Map* const map = shortTimeMap<Map>(session(), address);
    const bool isOther = m_conversionsOf != address || (map && map != m_conversions->model().map());
    if (!isOther && !m_conversions->isVisible())
        return;
    m_conversionsOf = address;
    m_conversions->showServer(address);
}

/// What it has missed while it was hidden.
void ShortTimePage::showEvent(QShowEvent* event)
{
    Page::showEvent(event);
    readServers();
}

void ShortTimePage::hideEvent(QHideEvent* event)
{
    Page::hideEvent(event);
    m_assignments->setSeen(false);
}

bool ShortTimePage::isFilled() const
{
    return m_profiles->model().rowCount() > 0 || session().isSettled();
}

QString ShortTimePage::commandLine() const
{
    const QWidget* const view = m_tabs->currentWidget();
    if (view == m_profiles && !m_profiles->line().isEmpty())
        return m_profiles->line();
    if (view == m_assignments && !m_assignments->line().isEmpty())
        return m_assignments->line();
    if (view == m_conversions && !m_conversions->line().isEmpty())
        return m_conversions->line();
    if (view == m_results)
        return m_results->line();
    const char* const command = view == m_profiles      ? "profiles"
                                : view == m_assignments ? "assignments"
                                                        : "conversions";
    return KoltaApps::ActionLines(chosenServer()).look({QLatin1String(command), QStringLiteral("list")});
}

/// Where all are shown here stays the one that was.
void ShortTimePage::followServer()
{
    readServers();
    const int place = m_servers->findData(server());
    if (place >= 0)
        m_servers->setCurrentIndex(place);
}

} // namespace KoltaConsole
