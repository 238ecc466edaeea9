#include "servercards.h"

#include <koltacommon/journal.h>
#include <koltacommon/serverstates.h>
#include <koltaconsole/session/session.h>

#include <QLocale>
#include <QPaintEvent>
#include <QPainter>

#include <algorithm>

/// \file
/// How the servers of the overview look.

namespace KoltaConsole {

namespace {
constexpr int kClassHeight = 15;
constexpr int kLeastHost = 40; ///< less would tell nothing of its name
constexpr int kToldAt = 622;   ///< where a line says what is wrong
} // namespace

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

/// The host in what the reason leaves; the tool tip has it, too.
void drawReasonAndHost(QPainter& painter, QRect rect, const QString& reason, const QString& host)
{
    if (!reason.isEmpty()) {
        const QString gap = QStringLiteral(" · ");
        rect.adjust(drawText(painter, rect, Qt::AlignLeft, reason), 0, 0, 0);
        if (host.isEmpty() || rect.width() < painter.fontMetrics().horizontalAdvance(gap) + kLeastHost)
            return;
        rect.adjust(drawText(painter, rect, Qt::AlignLeft, gap), 0, 0, 0);
    }
    drawText(painter, rect, Qt::AlignLeft, host, Qt::ElideMiddle);
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
    // What is wrong is often as long as the line; it stands before the server's message, or in its place.
    const bool isLong = facts.condition == Condition::Attention && !facts.isOutOfSight;
    const QString reason = isLong ? facts.sinceText() : facts.reason();
    drawReasonAndHost(painter, line(18), reason, facts.host);
    paintTunerBar(painter, QRectF(inner.left(), inner.top() + 40, inner.width(), 9), facts.tuners,
                  facts.isStale());
    painter.setPen(textColor(facts, false));
    drawText(painter, line(52), Qt::AlignLeft, countsText(facts.tuners));
    paintWork(painter, facts, line(69));
    painter.setPen(theme.color(Role::Dim));
    drawText(painter, line(86), Qt::AlignLeft, isLong ? facts.whatIsWrong() : facts.message);
    if (place.shape == Shape::Tall) {
        QRect classes = inner.adjusted(0, 110, 0, -12);
        if (isLong && place.classes.size() * kClassHeight <= classes.height() - 17) {
            drawText(painter, line(103), Qt::AlignLeft, facts.message);
            classes.setTop(classes.top() + 17);
        }
        paintClasses(painter, place, classes);
    }
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

/// Of a server that is away nobody knows how many are free.
QString ServerCards::freeText(const ServerFacts& facts, const ClassFigure& figure)
{
    if (figure.all == 0)
        return tr("no tuners");
    if (facts.isStale())
        return tr("%L1 tuners").arg(figure.all);
    return figure.free == 0 ? tr("none of %L1 free").arg(figure.all)
                            : tr("%L1 of %L2 free").arg(figure.free).arg(figure.all);
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
        const QString free = freeText(place.facts, figure);
        const bool isNone = figure.free == 0 && figure.all > 0 && !place.facts.isStale();
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
    drawText(painter, cell(308, 60), Qt::AlignRight, tr("%L1 free").arg(facts.tuners.free));
    drawText(painter, cell(380, 60), Qt::AlignLeft, tr("%L1 prod.").arg(facts.productions));
    if (!facts.units.isEmpty()) {
        const QString units =
            tr("%1/%2 units")
                .arg(facts.units.section(QLatin1Char(' '), 0, 0), facts.units.section(QLatin1Char(' '), -1));
        if (facts.areUnitsMissing && !facts.isStale())
            drawLook(painter, cell(444, 92), {Mark::Triangle, Role::Attention, units, true}, false);
        else
            drawText(painter, cell(444, 92), Qt::AlignLeft, units);
        painter.setPen(textColor(facts, false));
    }
    paintStrip(painter, QRect(r.left() + 542, r.center().y() - 3, 70, 6), facts);
    const int rest = r.width() - kToldAt - 2;
    const QString reason = facts.reason();
    const QString told = reason.isEmpty()          ? facts.message
                         : facts.message.isEmpty() ? reason
                                                   : QStringLiteral("%1: %2").arg(reason, facts.message);
    drawText(painter, cell(kToldAt, rest * 2 / 3 - 8), Qt::AlignLeft, told);
    painter.setPen(Theme::instance().color(Role::Dim));
    drawText(painter, cell(kToldAt + rest * 2 / 3, rest / 3 - 8), Qt::AlignRight, facts.host,
             Qt::ElideMiddle);
}

void ServerCards::paintTile(QPainter& painter, const Place& place) const
{
    const ServerFacts& facts = place.facts;
    const QRect inner = place.rect.adjusted(6, 2, -6, -8);
    const Look look = facts.look();
    paintMark(painter, QRectF(inner.left(), inner.center().y() - 4, 9, 9), look.mark,
              Theme::instance().color(look.role));
    painter.setPen(Theme::instance().color(Role::Dim));
    const int width = drawText(painter, inner, Qt::AlignRight, QLocale().toString(facts.tuners.free));
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
    const bool isKnown = facts.needsAttention() || facts.condition == Condition::Starting ||
                         facts.condition == Condition::Operational;
    if (facts.isOutOfSight || !isKnown)
        return;
    // What needs attention for another reason than its state is not in the book.
    const QRect present(QPoint(rect.right() - 3, rect.top()), rect.bottomRight());
    painter.fillRect(present,
                     theme.color(facts.condition == Condition::Operational ? Role::Free : facts.look().role));
}

} // namespace KoltaConsole
