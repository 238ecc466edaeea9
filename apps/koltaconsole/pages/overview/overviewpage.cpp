#include "overviewpage.h"

#include "servercards.h"

#include <koltaconsole/session/session.h>
#include <koltaconsole/widgets/filterbar.h>

#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QScrollArea>
#include <QVBoxLayout>

#include <algorithm>

namespace KoltaConsole {

OverviewPage::OverviewPage(Session& session, ActionTable& actions, QWidget* parent)
    : Page(session, actions, parent)
    , m_heading(new QLabel(this))
    , m_explanation(new QLabel(this))
    , m_filter(new FilterBar(tr("Filter: S3, attention, !vanished"), tr("Filter of servers"), this))
    , m_area(new QScrollArea(this))
    , m_cards(new ServerCards(session, m_area))
{
    m_heading->setProperty("heading", true);
    m_explanation->setProperty("dim", true);
    m_explanation->setWordWrap(true);
    auto* const top = new QHBoxLayout;
    top->setContentsMargins(8, 8, 8, 2);
    top->setSpacing(8);
    top->addWidget(m_heading);
    top->addWidget(m_filter, 1);
    top->addWidget(m_explanation, 1);
    m_area->setWidget(m_cards);
    m_area->setWidgetResizable(true);
    m_area->setFrameShape(QFrame::NoFrame);
    m_area->setFocusPolicy(Qt::NoFocus); // the cards have it
    m_area->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addLayout(top);
    layout->addWidget(m_area, 1);
    setFocusProxy(m_cards);
    connect(m_filter->line(), &QLineEdit::textChanged, this, &OverviewPage::refresh);
    connect(&session, &Session::si_FactsChanged, this, &OverviewPage::refresh);
    connect(m_cards, &ServerCards::si_Activated, this, &Page::si_ServerWanted);
    connect(m_cards, &ServerCards::si_MenuWanted, this, &Page::si_ServerMenuWanted);
    connect(m_cards, &ServerCards::si_CurrentChanged, this, [this](const QRect& place) {
        m_area->ensureVisible(place.center().x(), place.center().y(), 0, place.height() / 2 + 8);
    });
    refresh();
}

void OverviewPage::refresh()
{
    if (!isVisible())
        return;
    m_cards->refresh(server(), FilterWords(m_filter->text()));
    const auto& facts = session().facts();
    const int shown = m_cards->presentCount();
    const auto all = static_cast<int>(
        std::count_if(facts.begin(), facts.end(), [](const ServerFacts& each) { return !each.hasLeft(); }));
    m_filter->setVisible(!facts.isEmpty());
    m_explanation->setVisible(facts.isEmpty());
    if (facts.isEmpty()) {
        m_heading->setText(tr("No server has been seen yet"));
        m_explanation->setText(
            tr("at %1; \"koltasim --publish URL\" publishes a simulated one, \"--simulate\" plays some here")
                .arg(session().url()));
        return;
    }
    m_heading->setText(shown == all ? tr("Servers: %L1").arg(all)
                                    : tr("Servers: %L1 of %L2").arg(shown).arg(all));
    if (m_cards->count() == 0)
        return m_filter->tell(m_filter->text().trimmed().isEmpty()
                                  ? tr("%1 is not there").arg(server())
                                  : tr("No server matches \"%1\".").arg(m_filter->text()),
                              true);
    m_filter->tell(server().isEmpty() ? tr("worst first · strip: the last 24 h, dotted where nobody watched")
                                      : tr("%1 alone; Esc in the tree shows all").arg(server()),
                   false);
}

void OverviewPage::showEvent(QShowEvent* event)
{
    Page::showEvent(event);
    refresh();
}

QLineEdit* OverviewPage::filterLine() const
{
    return m_filter->line();
}

bool OverviewPage::isFilled() const
{
    // A server that has just appeared has not told all of its tuners yet.
    const auto& facts = session().facts();
    return m_cards->count() > 0 && std::all_of(facts.begin(), facts.end(),
                                               [](const ServerFacts& each) { return !each.isOnItsWay(); });
}

QString OverviewPage::commandLine() const
{
    return lineOf("status");
}

void OverviewPage::followServer()
{
    refresh();
}

} // namespace KoltaConsole
