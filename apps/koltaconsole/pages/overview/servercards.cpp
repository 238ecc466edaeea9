#include "servercards.h"

#include <koltacommon/tunerclassmodel.h>
#include <koltacommon/viewroles.h>
#include <koltaconsole/session/session.h>

#include <QContextMenuEvent>
#include <QFocusEvent>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QToolTip>

#include <algorithm>

namespace KoltaConsole {

using Kolta::TunerClassModel;

namespace {

constexpr int kGap = 8;
constexpr int kTallAtMost = 6;
constexpr int kCardsAtMost = 24;
constexpr QSize kTall(320, 242), kCard(240, 132), kTile(105, 29);
constexpr int kLineHeight = 28, kHeading = 26;

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
        .join(QLatin1Char('\n'))
        .toLower();
}

QString ServerCards::countsText(const TunerCounts& counts)
{
    QStringList parts{tr("%L1 free").arg(counts.free), tr("%L1 in use").arg(counts.inUse)};
    if (counts.planned > 0)
        parts.append(tr("%L1 planned").arg(counts.planned));
    if (counts.out > 0)
        parts.append(tr("%L1 out").arg(counts.out));
    return parts.join(QStringLiteral(" · "));
}

void ServerCards::refresh(const QString& only, const FilterWords& words)
{
    m_places.clear();
    for (const ServerFacts& facts : m_session.facts()) {
        if ((only.isEmpty() || facts.address == only) && words.matches(searchText(facts), {}))
            m_places.append({facts, Shape::Tall, QRect(), {}});
    }
    arrange();
    describeCurrent();
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
    const int cardWidth = std::min((width() - kGap) / columns - kGap, size.width() * 4 / 3);
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
        head(tr("Need attention or start: %L1").arg(loud), tr("worst first, then longest"));
    for (int i = 0; i < loud; ++i) {
        m_places[i].shape = Shape::Line;
        m_places[i].rect = QRect(kGap, y, width() - 2 * kGap, kLineHeight);
        y += kLineHeight + 4;
    }
    y += loud > 0 ? 4 : 0;
    head(tr("The rest: %L1").arg(presentCount() - loud), tr("by name · Enter opens a server"));
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
        figures.append({name.data().toString(), name.data(Kolta::ViewRoles::FreeRole).toInt(),
                        name.data(Kolta::ViewRoles::CountRole).toInt(), depth});
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
    describeCurrent();
    update();
    Q_EMIT si_CurrentChanged(placeOf(address));
}

/// For who does not see it; told when it is another text. What counts by itself is none.
void ServerCards::describeCurrent()
{
    const auto found = std::find_if(m_places.begin(), m_places.end(),
                                    [this](const Place& place) { return place.facts.address == m_current; });
    QString text;
    if (found != m_places.end()) {
        const ServerFacts& facts = found->facts;
        QStringList parts{facts.address, facts.look().word};
        if (const QString reason = facts.reason(); !facts.isCounting() && !reason.isEmpty())
            parts.append(reason);
        text = parts.join(QStringLiteral(", "));
    }
    if (text != accessibleDescription())
        setAccessibleDescription(text); // which tells who reads it aloud
}

/// Who comes by keys has a card to go on from.
void ServerCards::focusInEvent(QFocusEvent* event)
{
    QWidget::focusInEvent(event);
    const Qt::FocusReason reason = event->reason();
    const bool isByKeys = reason == Qt::TabFocusReason || reason == Qt::BacktabFocusReason ||
                          reason == Qt::ShortcutFocusReason || reason == Qt::OtherFocusReason;
    if (isByKeys && !m_places.isEmpty() && placeOf(m_current).isNull())
        setCurrent(m_places.first().facts.address);
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
        if (!placeOf(m_current).isNull()) // and not hidden by the filter
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
    if (!placeOf(m_current).isNull())
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
