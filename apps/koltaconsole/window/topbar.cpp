#include "topbar.h"

#include <koltacommon/userrights.h>
#include <koltaconsole/session/session.h>
#include <koltaconsole/widgets/marks.h>
#include <koltaconsole/widgets/rowtexts.h>

#include <QHBoxLayout>
#include <QLabel>
#include <QMenu>
#include <QPainter>
#include <QPushButton>
#include <QStyle>

namespace KoltaConsole {

namespace {

constexpr int kSecondMs = 1000;

constexpr int kMargin = 12, kSpacing = 8;
/// Width of the text about the link where there is no room for more.
constexpr int kLeastLink = 60;
constexpr int kUrlShare = 4;  ///< of the bar that the address takes at most
constexpr int kMostUser = 30; ///< characters

/// Makes a style sheet's conditions look at the property anew.
void setLook(QWidget& widget, const char* property, const QVariant& value)
{
    if (widget.property(property) == value)
        return;
    widget.setProperty(property, value);
    widget.style()->unpolish(&widget);
    widget.style()->polish(&widget);
}

QIcon markIcon(Mark mark, Role role)
{
    QPixmap picture(32, 32);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    paintMark(painter, QRectF(2, 2, 28, 28), mark, Theme::instance().color(role));
    painter.end();
    return QIcon(picture);
}

} // namespace

TopBar::TopBar(Session& session, QWidget* parent)
    : QWidget(parent)
    , m_session(session)
    , m_url(new QLabel(this))
    , m_link(new QPushButton(this))
    , m_attention(new QPushButton(this))
    , m_palette(new QPushButton(tr("Ctrl+K  kolta …"), this))
    , m_user(new QPushButton(this))
{
    setFixedHeight(38);
    auto* const name = new QLabel(QStringLiteral("Kolta"), this);
    name->setProperty("heading", true);
    m_url->setProperty("dim", true);
    m_url->setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Preferred);
    m_link->setAccessibleName(tr("How the link is"));
    m_user->setAccessibleName(tr("The user and his rights"));
    m_user->setProperty("badge", QStringLiteral("quiet"));
    for (QPushButton* const badge : {m_link, m_attention})
        badge->setIconSize({18, 11});
    m_attention->setAccessibleName(tr("What needs attention"));
    m_palette->setMinimumWidth(200);
    m_palette->setStyleSheet(QStringLiteral("text-align: left;"));
    m_palette->setAccessibleName(tr("Command palette"));
    auto* const layout = new QHBoxLayout(this);
    layout->setContentsMargins(kMargin, 2, kMargin, 2);
    layout->setSpacing(kSpacing);
    for (QWidget* const widget : std::initializer_list<QWidget*>{name, m_url, m_link, m_attention})
        layout->addWidget(widget);
    layout->addStretch(1);
    layout->addWidget(m_palette);
    layout->addWidget(m_user);
    connect(m_attention, &QPushButton::clicked, this, &TopBar::si_AttentionWanted);
    connect(m_link, &QPushButton::clicked, this, &TopBar::si_LinksWanted);
    connect(m_user, &QPushButton::clicked, this, &TopBar::showRights);
    connect(m_palette, &QPushButton::clicked, this, &TopBar::si_PaletteWanted);
    connect(&session, &Session::si_LinkChanged, this, &TopBar::showLink);
    connect(&m_counting, &QTimer::timeout, this, &TopBar::showLink);
    connect(&session, &Session::si_FactsChanged, this, &TopBar::showAttention);
    connect(&session, &Session::si_UserChanged, this, &TopBar::showUser);
    connect(&Theme::instance(), &Theme::si_Changed, this, &TopBar::showAttention);
    connect(&Theme::instance(), &Theme::si_Changed, this, &TopBar::showLink);
    showLink();
    showAttention();
    showUser();
}

/// Behind what is said of a link that is down.
QString TopBar::nextTry() const
{
    const int left = m_session.nextTryMs();
    return left < 0 ? QString() : tr(", next try in %1 s").arg((left + kSecondMs - 1) / kSecondMs);
}

QString TopBar::linkText() const
{
    const LinkState& link = m_session.link();
    if (m_session.isSimulated())
        return link.text;
    if (m_session.replay() && (link.isUp || !link.wasUp))
        return tr("recorded; nothing can be changed");
    if (link.isUp)
        return tr("broker up since %1").arg(timeText(link.since));
    if (link.wasUp)
        return tr("broker gone since %1%2").arg(timeText(link.since), nextTry());
    return tr("no broker yet: %1%2").arg(link.text, nextTry());
}

/// The address and what is said of the link share the room that the others leave.
void TopBar::fitLink()
{
    const QString url = m_session.url();
    m_url->setText(m_url->fontMetrics().elidedText(url, Qt::ElideMiddle, width() / kUrlShare));
    m_url->setToolTip(m_url->text() == url ? QString() : url);
    const QString text = linkText();
    int room = width() - kSpacing * 8 - 2 * kMargin - m_link->iconSize().width();
    for (const QWidget* const widget : findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly))
        room -= widget == m_link || widget->isWindow()
                    ? 0
                    : qMax(widget->sizeHint().width(), widget->minimumWidth());
    const QString shown = m_link->fontMetrics().elidedText(text, Qt::ElideRight, qMax(room, kLeastLink));
    m_link->setText(menuText(shown));
    m_link->setToolTip(shown == text ? m_session.link().text : text);
    m_link->setAccessibleDescription(text);
}

void TopBar::showLink()
{
    const LinkState& link = m_session.link();
    if (link.isUp)
        m_counting.stop();
    else if (!m_counting.isActive())
        m_counting.start(kSecondMs);
    const Mark mark = link.isUp ? Mark::Disc : link.wasUp ? Mark::Octagon : Mark::Half;
    m_link->setIcon(markIcon(mark, m_session.isOutOfSight() ? Role::Alarm : Role::InUse));
    setLook(*m_link, "badge", m_session.isOutOfSight() ? QStringLiteral("alarm") : QStringLiteral("quiet"));
    fitLink();
}

void TopBar::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    fitLink();
}

void TopBar::showAttention()
{
    const int count = m_session.attentionCount();
    m_attention->setIcon(count > 0 ? markIcon(Mark::Triangle, Role::Attention) : QIcon());
    m_attention->setText(count > 0 ? tr("%n need(s) attention", nullptr, count)
                                   : tr("nothing needs attention"));
    setLook(*m_attention, "badge", count > 0 ? QStringLiteral("attention") : QStringLiteral("quiet"));
    fitLink();
}

/// Those that are held first.
void TopBar::addRights(QMenu& menu) const
{
    using Kolta::UserRights;
    for (const bool isHeld : {true, false}) {
        menu.addSection(isHeld ? tr("Rights held") : tr("Rights missing"));
        for (int place = 0; place < UserRights::GetNumberOfRights(); ++place) {
            if (m_session.mayDo(UserRights::GetRightValueByIndex(place)) == isHeld)
                menu.addAction(markIcon(isHeld ? Mark::Disc : Mark::Cross, Role::InUse),
                               UserRights::GetRightNameByIndex(place, false));
        }
    }
}

void TopBar::showRights()
{
    auto* const menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    if (m_session.areUsersKnown())
        addRights(*menu);
    else
        menu->addAction(tr("The servers decide; nothing is known here."))->setEnabled(false);
    menu->popup(m_user->mapToGlobal(m_user->rect().bottomLeft()));
}

void TopBar::showUser()
{
    const QString rights =
        tr("%1 of %2 rights").arg(m_session.rightCount()).arg(Kolta::UserRights::GetNumberOfRights());
    const QString user = m_session.userName();
    const QString name = user.isEmpty() ? tr("nobody is logged in") : shortName(user, kMostUser);
    QString text = m_session.areUsersKnown() ? QStringLiteral("%1 · %2").arg(name, rights)
                                             : tr("the servers decide on rights");
    if (m_session.isReadOnly())
        text += tr(" · read only");
    m_user->setText(menuText(text));
    fitLink();
}

} // namespace KoltaConsole
