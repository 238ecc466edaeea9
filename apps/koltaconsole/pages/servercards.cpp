#include "overviewpage.h"

#include "../session.h"

#include <koltacommon/journal.h>
#include <koltacommon/serverstates.h>
#include <koltacommon/tunerclassmodel.h>
#include <koltacommon/viewroles.h>

#include <QContextMenuEvent>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QToolTip>

#include <algorithm>

namespace KoltaConsole {

using Kolta::TunerClassModel;

namespace {

constexpr int kGap = 8;
constexpr int kTallAtMost = 6;
constexpr int kCardsAtMost = 24;
constexpr QSize kTall(320, 242), kCard(250, 132), kTile(105, 29);
constexpr int kClassHeight = 15, kLineHeight = 28, kHeading = 26;

} // namespace

ServerCards::ServerCards(Session& session, QWidget* parent) : QWidget(parent), m_session(session)
{
    setFocusPolicy(Qt::StrongFocus);
    setAccessibleName(tr("Servers"));
    connect(&Theme::instance(), &Theme::si_Changed, this, QOverload<>::of(&QWidget::update));
}

/// All that a card of it says.
QString ServerCards::searchText(const ServerFacts& facts)
{
    return QStringList{facts.address,  facts.host,   facts.look().word, facts.stateText,
                       facts.reason(), facts.errors, facts.message}
        .join(QLatin1Char(' '))
        .toLower();
}

void ServerCards::refresh(const QString& only, const FilterWords& words)
{
    m_places.clear();
    for (const ServerFacts& facts : m_session.facts()) {
        if ((only.isEmpty() || facts.address == only) && words.matches(searchText(facts), {}))
            m_places.append({facts, Shape::Tall, QRect(), {}});
    }
    arrange();
    update();
}

int ServerCards::presentCount() const
{
    return static_cast<int>(std::count_if(m_places.begin(), m_places.end(),
                                          [](const Place& place) { return !place.facts.hasLeft(); }));
}

QRect ServerCards::placeOf(const QString& address) const
{
    for (const Place& place : m_places) {
        if (place.facts.address == address)
            return place.rect;
    }
    return QRect();
}

void ServerCards::arrange()
{
    m_headings.clear();
    int height = 0;
    if (m_places.size() <= kTallAtMost) {
        for (Place& place : m_places)
            place.classes = classesOf(place.facts.address);
        height = arrangeCards(Shape::Tall, kTall);
    } else {
        height = m_places.size() <= kCardsAtMost ? arrangeCards(Shape::Card, kCard) : arrangeMany();
    }
    setMinimumHeight(height + kGap);
}

int ServerCards::arrangeCards(Shape shape, QSize size)
{
    const int columns = std::max(1, (width() - kGap) / (size.width() + kGap));
    const int cardWidth = std::min((width() - kGap) / columns - kGap, size.width() * 5 / 4);
    int bottom = 0;
    for (int i = 0; i < m_places.size(); ++i) {
        Place& place = m_places[i];
        place.shape = shape;
        place.rect = QRect(kGap + i % columns * (cardWidth + kGap),
                           kGap + i / columns * (size.height() + kGap), cardWidth, size.height());
        bottom = place.rect.bottom();
    }
    return bottom;
}

int ServerCards::arrangeMany()
{
    const auto isWell = [](const Place& place) { return place.facts.condition >= Condition::Operational; };
    const int loud =
        static_cast<int>(std::find_if(m_places.begin(), m_places.end(), isWell) - m_places.begin());
    int y = 0;
    const auto head = [&](const QString& text, const QString& more) {
        m_headings.append({QRect(kGap, y, width() - 2 * kGap, kHeading), text, more});
        y += kHeading;
    };
    if (loud > 0)
        head(tr("Need attention or start: %1").arg(loud), tr("worst first, then longest"));
    for (int i = 0; i < loud; ++i) {
        m_places[i].shape = Shape::Line;
        m_places[i].rect = QRect(kGap, y, width() - 2 * kGap, kLineHeight);
        y += kLineHeight + 4;
    }
    y += loud > 0 ? 4 : 0;
    head(tr("The rest: %1").arg(presentCount() - loud), tr("by name · Enter opens a server"));
    const int columns = std::max(1, (width() - kGap) / (kTile.width() + 6));
    const int tileWidth = (width() - kGap) / columns - 6;
    for (int i = loud; i < m_places.size(); ++i) {
        const int n = i - loud;
        m_places[i].shape = Shape::Tile;
        m_places[i].rect = QRect(kGap + n % columns * (tileWidth + 6), y + n / columns * (kTile.height() + 5),
                                 tileWidth, kTile.height());
    }
    return m_places.isEmpty() ? y : m_places.last().rect.bottom();
}

/// Those below that one, and what is nested in them.
void ServerCards::appendClasses(const TunerClassModel& model, const QModelIndex& parent, int depth,
                                QVector<ClassFigure>& figures)
{
    for (int row = 0; row < model.rowCount(parent); ++row) {
        const QModelIndex name = model.index(row, TunerClassModel::eNameColumn, parent);
        if (name.data(Kolta::ViewRoles::StateRole).isValid()) // a tuner
            continue;
        const QString free = model.index(row, TunerClassModel::eFreeColumn, parent).data().toString();
        figures.append({name.data().toString(), free, depth});
        appendClasses(model, name, depth + 1, figures);
    }
}

QVector<ServerCards::ClassFigure> ServerCards::classesOf(const QString& address) const
{
    QVector<ClassFigure> figures;
    const TunerClassModel& model = m_session.classes();
    for (int row = 0; row < model.rowCount(); ++row) {
        const QModelIndex server = model.index(row, 0);
        if (server.data().toString() != address)
            continue;
        appendClasses(model, server, 0, figures);
    }
    return figures;
}

QColor ServerCards::textColor(const ServerFacts& facts, bool isDim) const
{
    return Theme::instance().color(isDim || facts.isStale() ? Role::Dim : Role::Text);
}

void ServerCards::paintEvent(QPaintEvent* event)
{
    QPainter painter(this);
    const Theme& theme = Theme::instance();
    for (const Heading& heading : qAsConst(m_headings)) {
        QFont bold = font();
        bold.setBold(true);
        painter.setFont(bold);
        painter.setPen(theme.color(Role::Text));
        painter.drawText(heading.rect, Qt::AlignVCenter, heading.text);
        const int shift = QFontMetrics(bold).horizontalAdvance(heading.text) + 10;
        painter.setFont(font());
        painter.setPen(theme.color(Role::Dim));
        painter.drawText(heading.rect.adjusted(shift, 0, 0, 0), Qt::AlignVCenter, heading.more);
    }
    for (const Place& place : qAsConst(m_places)) {
        if (place.rect.intersects(event->rect()))
            paint(painter, place);
    }
}

void ServerCards::paint(QPainter& painter, const Place& place) const
{
    const Theme& theme = Theme::instance();
    const bool isFocused = hasFocus() && place.facts.address == m_current;
    painter.fillRect(place.rect, theme.color(Role::Base));
    painter.setPen(QPen(theme.color(isFocused ? Role::Planned : Role::Line), isFocused ? 2 : 1));
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(place.rect.adjusted(0, 0, -1, -1));
    if (place.facts.needsAttention())
        painter.fillRect(QRect(place.rect.topLeft(), QSize(4, place.rect.height())),
                         theme.color(place.facts.look().role));
    if (place.shape == Shape::Line)
        paintLine(painter, place);
    else if (place.shape == Shape::Tile)
        paintTile(painter, place);
    else
        paintCard(painter, place);
}

namespace {

/// Draws what fits, and an ellipsis; gives back the width of it.
int drawText(QPainter& painter, const QRect& rect, int alignment, const QString& text,
             Qt::TextElideMode elide = Qt::ElideRight)
{
    const QString shown = painter.fontMetrics().elidedText(text, elide, rect.width());
    painter.drawText(rect, alignment | Qt::AlignVCenter, shown);
    return painter.fontMetrics().horizontalAdvance(shown);
}

void drawLook(QPainter& painter, const QRect& rect, const Look& look, bool isRight)
{
    QFont font = painter.font();
    font.setBold(look.isLoud);
    painter.setFont(font);
    const Theme& theme = Theme::instance();
    const int width = std::min(painter.fontMetrics().horizontalAdvance(look.word), rect.width() - 18);
    const int left = isRight ? rect.right() - width - 17 : rect.left();
    paintMark(painter, QRectF(left, rect.center().y() - 5, 11, 11), look.mark, theme.color(look.role));
    painter.setPen(theme.color(look.isLoud ? look.role : Role::Text));
    drawText(painter, QRect(left + 17, rect.top(), width + 1, rect.height()), Qt::AlignLeft, look.word);
    font.setBold(false);
    painter.setFont(font);
}

QString countsText(const TunerCounts& counts)
{
    QStringList parts{ServerCards::tr("%1 free").arg(counts.free),
                      ServerCards::tr("%1 in use").arg(counts.inUse)};
    if (counts.planned > 0)
        parts.append(ServerCards::tr("%1 planned").arg(counts.planned));
    if (counts.out > 0)
        parts.append(ServerCards::tr("%1 out").arg(counts.out));
    return parts.join(QStringLiteral(" · "));
}

} // namespace

void ServerCards::paintCard(QPainter& painter, const Place& place) const
{
    const ServerFacts& facts = place.facts;
    const Theme& theme = Theme::instance();
    const QRect inner = place.rect.adjusted(14, 8, -10, -8);
    const auto line = [&](int number) {
        return QRect(inner.left(), inner.top() + number, inner.width(), 18);
    };
    const Look look = facts.look();
    drawLook(painter, line(0), look, true);
    QFont bold = font();
    bold.setBold(true);
    const int markWidth = QFontMetrics(bold).horizontalAdvance(look.word) + 28;
    painter.setFont(bold);
    painter.setPen(textColor(facts, false));
    drawText(painter, line(0).adjusted(0, 0, -markWidth, 0), Qt::AlignLeft, facts.address, Qt::ElideMiddle);
    painter.setFont(font());
    painter.setPen(theme.color(Role::Dim));
    // What is wrong is often as long as the line, and stands where the server's message would.
    const bool isLong = facts.condition == Condition::Attention && !facts.isOutOfSight;
    const QString reason = facts.reason();
    if (isLong)
        drawText(painter, line(18), Qt::AlignLeft, facts.host, Qt::ElideMiddle);
    else
        drawText(painter, line(18), Qt::AlignLeft,
                 reason.isEmpty() ? facts.host : reason + QStringLiteral(" · ") + facts.host,
                 Qt::ElideMiddle);
    paintTunerBar(painter, QRectF(inner.left(), inner.top() + 40, inner.width(), 9), facts.tuners,
                  facts.isStale());
    painter.setPen(textColor(facts, false));
    drawText(painter, line(52), Qt::AlignLeft, countsText(facts.tuners));
    paintWork(painter, facts, line(69));
    painter.setPen(theme.color(Role::Dim));
    drawText(painter, line(86), Qt::AlignLeft, isLong ? reason : facts.message);
    if (place.shape == Shape::Tall)
        paintClasses(painter, place, inner.adjusted(0, 110, 0, -12));
    paintStrip(painter, QRect(inner.left(), inner.bottom() - 5, inner.width(), 6), facts);
}

/// Productions and units.
void ServerCards::paintWork(QPainter& painter, const ServerFacts& facts, QRect rect)
{
    rect.adjust(drawText(painter, rect, Qt::AlignLeft, tr("%n production(s)", nullptr, facts.productions)), 0,
                0, 0);
    if (facts.units.isEmpty())
        return;
    rect.adjust(drawText(painter, rect, Qt::AlignLeft, QStringLiteral(" · ")), 0, 0, 0);
    const QString units = tr("%1 units").arg(facts.units);
    if (facts.areUnitsMissing && !facts.isStale())
        drawLook(painter, rect, {Mark::Triangle, Role::Attention, units, true}, false);
    else
        drawText(painter, rect, Qt::AlignLeft, units);
}

void ServerCards::paintClasses(QPainter& painter, const Place& place, QRect rect) const
{
    const int rowHeight = std::min(20, rect.height() / std::max(1, place.classes.size()));
    const int shown = rowHeight < kClassHeight ? rect.height() / kClassHeight : place.classes.size();
    for (int i = 0; i < shown && i < place.classes.size(); ++i) {
        const QRect row(rect.left(), rect.top() + i * std::max(kClassHeight, rowHeight), rect.width(),
                        std::max(kClassHeight, rowHeight));
        const ClassFigure& figure = place.classes.at(i);
        painter.setPen(textColor(place.facts, false));
        const bool isLast = i == shown - 1 && shown < place.classes.size();
        if (isLast) {
            drawText(painter, row, Qt::AlignLeft, tr("and %1 more classes").arg(place.classes.size() - i));
            return;
        }
        drawText(painter, row.adjusted(figure.depth * 12, 0, -110, 0), Qt::AlignLeft, figure.name);
        // Of a server that is away nobody knows how many are free.
        const QString free = place.facts.isStale()
                                 ? tr("%1 tuners").arg(figure.free.section(QLatin1Char(' '), -1))
                                 : tr("%1 free").arg(figure.free);
        const bool isNone = figure.free.startsWith(QLatin1String("0 ")) && !place.facts.isStale();
        painter.setPen(Theme::instance().color(Role::Dim));
        if (isNone)
            drawLook(painter, row, {Mark::Triangle, Role::Attention, free, true}, true);
        else
            drawText(painter, row, Qt::AlignRight, free);
    }
}

void ServerCards::paintLine(QPainter& painter, const Place& place) const
{
    const ServerFacts& facts = place.facts;
    const QRect r = place.rect;
    const auto cell = [&r](int left, int width) {
        return QRect(r.left() + left, r.top(), width, r.height());
    };
    drawLook(painter, cell(14, 104), facts.look(), false);
    QFont bold = font();
    bold.setBold(true);
    painter.setFont(bold);
    painter.setPen(textColor(facts, false));
    drawText(painter, cell(122, 60), Qt::AlignLeft, facts.address, Qt::ElideMiddle);
    painter.setFont(font());
    paintTunerBar(painter, QRectF(r.left() + 190, r.center().y() - 4, 110, 9), facts.tuners, facts.isStale());
    painter.setPen(textColor(facts, false));
    drawText(painter, cell(308, 60), Qt::AlignRight, tr("%1 free").arg(facts.tuners.free));
    drawText(painter, cell(380, 60), Qt::AlignLeft, tr("%1 prod.").arg(facts.productions));
    paintStrip(painter, QRect(r.left() + 446, r.center().y() - 3, 90, 6), facts);
    const int rest = r.width() - 548;
    const QString reason = facts.reason();
    const QString told = reason.isEmpty()          ? facts.message
                         : facts.message.isEmpty() ? reason
                                                   : QStringLiteral("%1: %2").arg(reason, facts.message);
    drawText(painter, cell(546, rest * 2 / 3 - 8), Qt::AlignLeft, told);
    painter.setPen(Theme::instance().color(Role::Dim));
    drawText(painter, cell(546 + rest * 2 / 3, rest / 3 - 8), Qt::AlignRight, facts.host, Qt::ElideMiddle);
}

void ServerCards::paintTile(QPainter& painter, const Place& place) const
{
    const ServerFacts& facts = place.facts;
    const QRect inner = place.rect.adjusted(6, 2, -6, -8);
    const Look look = facts.look();
    paintMark(painter, QRectF(inner.left(), inner.center().y() - 4, 9, 9), look.mark,
              Theme::instance().color(look.role));
    painter.setPen(Theme::instance().color(Role::Dim));
    const int width = drawText(painter, inner, Qt::AlignRight, QString::number(facts.tuners.free));
    painter.setPen(textColor(facts, false));
    drawText(painter, inner.adjusted(14, 0, -width - 4, 0), Qt::AlignLeft, facts.address, Qt::ElideMiddle);
    paintTunerBar(painter, QRectF(inner.left(), place.rect.bottom() - 6, inner.width(), 4), facts.tuners,
                  facts.isStale());
}

namespace {

/// Of a server's working state, as a strip shows it.
Role roleOfState(int state)
{
    using namespace Kolta::SERVER_STATES;
    if (state == eDisconnected)
        return Role::Alarm;
    if (state == eOperational)
        return Role::Free;
    return state > eOperational ? Role::Attention : Role::InUse;
}

} // namespace

/// What nobody watched is dotted, what is past is pale.
void ServerCards::paintStrip(QPainter& painter, const QRect& rect, const ServerFacts& facts) const
{
    const Theme& theme = Theme::instance();
    const QDateTime now = m_session.now();
    const auto xOf = [&](const QDateTime& time) {
        const double share = 1.0 - std::min(1.0, static_cast<double>(time.msecsTo(now)) / 86400000.0);
        return rect.left() + static_cast<int>(share * (rect.width() - 4));
    };
    const auto& book = m_session.journal().book();
    const Kolta::EventSubject server{Kolta::EventSubject::Type::Server, facts.address, QString()};
    for (const Kolta::Stretch& stretch : book.stretches(server, now.addDays(-1), now)) {
        const QRect part(QPoint(xOf(stretch.from), rect.top()),
                         QPoint(std::max(xOf(stretch.from), xOf(stretch.to) - 1), rect.bottom()));
        // That a server was away is known where somebody saw it go.
        const bool isUnseen = stretch.state == Kolta::SERVER_STATES::eDisconnected && !stretch.sawBegin;
        if (!stretch.isWatched || isUnseen) {
            painter.setPen(QPen(theme.color(Role::Border), 1, Qt::DotLine));
            painter.drawLine(part.left(), rect.center().y(), part.right(), rect.center().y());
            continue;
        }
        if (stretch.state == Kolta::Event::kGone) // and nobody missed it
            continue;
        const Role role = roleOfState(stretch.state);
        painter.fillRect(part, role == Role::Free || stretch.isOpen ? theme.color(role) : theme.past(role));
    }
    if (facts.hasLeft())
        return;
    // What needs attention for another reason than its state is not in the book.
    const QRect present(QPoint(rect.right() - 3, rect.top()), rect.bottomRight());
    painter.fillRect(present, theme.color(facts.needsAttention() ? facts.look().role : Role::Free));
}

void ServerCards::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    arrange();
}

const ServerCards::Place* ServerCards::placeAt(const QPoint& point) const
{
    const auto found = std::find_if(m_places.begin(), m_places.end(),
                                    [&point](const Place& place) { return place.rect.contains(point); });
    return found == m_places.end() ? nullptr : &*found;
}

void ServerCards::setCurrent(const QString& address)
{
    m_current = address;
    update();
    Q_EMIT si_CurrentChanged(placeOf(address));
}

void ServerCards::mousePressEvent(QMouseEvent* event)
{
    if (const Place* const place = placeAt(event->pos()))
        setCurrent(place->facts.address);
}

void ServerCards::mouseDoubleClickEvent(QMouseEvent* event)
{
    if (const Place* const place = placeAt(event->pos()))
        Q_EMIT si_Activated(QString(place->facts.address));
}

void ServerCards::step(int by)
{
    if (m_places.isEmpty())
        return;
    const auto found = std::find_if(m_places.begin(), m_places.end(),
                                    [this](const Place& place) { return place.facts.address == m_current; });
    const int from =
        found == m_places.end() ? (by > 0 ? -by : 0) : static_cast<int>(found - m_places.begin());
    setCurrent(m_places.at(qBound(0, from + by, m_places.size() - 1)).facts.address);
}

void ServerCards::keyPressEvent(QKeyEvent* event)
{
    // Rows of different shapes are no grid; the current one's shape counts.
    const int each = placeOf(m_current).width();
    const int inRow = each > 0 ? std::max(1, width() / (each + 5)) : 1;
    switch (event->key()) {
    case Qt::Key_Right:
        return step(1);
    case Qt::Key_Left:
        return step(-1);
    case Qt::Key_Down:
        return step(inRow);
    case Qt::Key_Up:
        return step(-inRow);
    case Qt::Key_Return:
    case Qt::Key_Enter:
        if (!m_current.isEmpty())
            Q_EMIT si_Activated(QString(m_current));
        return;
    default:
        QWidget::keyPressEvent(event);
    }
}

void ServerCards::contextMenuEvent(QContextMenuEvent* event)
{
    const bool isKey = event->reason() == QContextMenuEvent::Keyboard;
    if (const Place* const place = isKey ? nullptr : placeAt(event->pos()))
        setCurrent(place->facts.address);
    else if (!isKey)
        return;
    if (!m_current.isEmpty())
        Q_EMIT si_MenuWanted(m_current,
                             isKey ? mapToGlobal(placeOf(m_current).center()) : event->globalPos());
}

bool ServerCards::event(QEvent* event)
{
    if (event->type() != QEvent::ToolTip)
        return QWidget::event(event);
    const auto* const help = static_cast<QHelpEvent*>(event);
    if (const Place* const place = placeAt(help->pos())) {
        const ServerFacts& facts = place->facts;
        QToolTip::showText(help->globalPos(),
                           QStringLiteral("%1 · %2 %3\n%4\n%5\n%6")
                               .arg(facts.address, facts.look().word, facts.reason(), facts.host,
                                    countsText(facts.tuners), facts.message),
                           this);
    }
    return true;
}

} // namespace KoltaConsole
