#include "frequencylanes.h"

#include <koltacommon/tunerbookingmanager.h>
#include <koltaconsole/widgets/theme.h>

#include <QPainter>

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>
#include <vector>

namespace KoltaConsole {

using Kolta::TunerBookingManager;

namespace {

constexpr double kLeastStroke = 3.0; ///< width of a band that runs
constexpr double kRug = 5.0;         ///< height of the strokes below counts
constexpr double kFadedOpacity = 0.45;

/// Out of reach is so whether its server is there or not.
std::size_t slotOf(int state, bool isStale)
{
    constexpr int kStates = 4;
    const bool isFaded = isStale && state != TunerBookingManager::eInaccessible;
    return static_cast<std::size_t>(std::clamp(state, 0, kStates - 1) + (isFaded ? kStates : 0));
}

/// How many of each slot reach each column.
std::vector<LanePainter::Counts> countColumns(const Lane& lane, std::size_t columns,
                                              const std::function<std::size_t(double hertz)>& columnOf)
{
    std::vector<LanePainter::Counts> counts(columns + 1, LanePainter::Counts{});
    for (const LaneTuner& tuner : lane.tuners) {
        const std::size_t slot = slotOf(tuner.state, tuner.isStale);
        ++counts[columnOf(tuner.from)][slot];
        --counts[columnOf(tuner.to)][slot];
    }
    for (std::size_t column = 1; column < counts.size(); ++column) {
        for (std::size_t slot = 0; slot < counts[column].size(); ++slot)
            counts[column][slot] += counts[column - 1][slot];
    }
    return counts;
}

} // namespace

LanePainter::LanePainter(QPainter& painter, const QRectF& room, Scale scale, QString current)
    : m_painter(painter), m_room(room), m_scale(std::move(scale)), m_current(std::move(current))
{
}

double LanePainter::lineHeight(const QRectF& room, int tuners)
{
    const double each = tuners > 0 ? room.height() / tuners : room.height();
    return each < kLeastLine ? 0.0 : std::min(each, 12.0);
}

void LanePainter::paint(const Lane& lane) const
{
    m_painter.save();
    m_painter.setRenderHint(QPainter::Antialiasing, false);
    if (lineHeight(m_room, lane.tuners.size()) > 0)
        paintLines(lane);
    else
        paintCounts(lane);
    m_painter.restore();
}

void LanePainter::paintLines(const Lane& lane) const
{
    const double height = lineHeight(m_room, lane.tuners.size());
    double top = m_room.top() + (m_room.height() - height * lane.tuners.size()) / 2;
    for (const LaneTuner& tuner : lane.tuners) {
        const double left = std::max(m_room.left() - 2, m_scale(tuner.from));
        const double right = std::min(m_room.right() + 2, m_scale(tuner.to));
        const double air = height > 4 ? 1.0 : 0.5;
        const QRectF line(QPointF(left, std::round(top)), QPointF(right, std::round(top + height) - air));
        m_painter.setOpacity(tuner.isStale ? kFadedOpacity : 1.0);
        if (line.width() > 0)
            paintLine(tuner, line);
        paintStroke(tuner, line);
        if (tuner.key == m_current) {
            m_painter.setOpacity(1.0);
            m_painter.setPen(QPen(Theme::instance().color(Role::Planned), 2));
            m_painter.setBrush(Qt::NoBrush);
            m_painter.drawRect(line.adjusted(0, -1, 0, 1));
        }
        top += height;
    }
}

void LanePainter::paintLine(const LaneTuner& tuner, const QRectF& line) const
{
    const Theme& theme = Theme::instance();
    switch (tuner.state) {
    case TunerBookingManager::eInUse:
        return m_painter.fillRect(line, theme.color(Role::InUse));
    case TunerBookingManager::eFree:
        return m_painter.fillRect(line, theme.color(Role::Free));
    case TunerBookingManager::ePlanned:
        m_painter.fillRect(line, QBrush(theme.color(Role::Planned), Qt::BDiagPattern));
        m_painter.setPen(QPen(theme.color(Role::Planned), 1));
        m_painter.setBrush(Qt::NoBrush);
        return m_painter.drawRect(line.adjusted(0, 0, -1, -1));
    default:
        m_painter.setPen(QPen(theme.color(Role::InUse), 1, Qt::DotLine));
        m_painter.setBrush(Qt::NoBrush);
        m_painter.drawRect(line.adjusted(0, 0, -1, -1));
    }
}

/// The band that runs, at least so wide that it can be seen.
void LanePainter::paintStroke(const LaneTuner& tuner, const QRectF& line) const
{
    if (tuner.centre <= 0)
        return;
    const double left = m_scale(tuner.centre - tuner.width / 2);
    const double right = m_scale(tuner.centre + tuner.width / 2);
    const double width = std::max(kLeastStroke, right - left);
    m_painter.fillRect(QRectF((left + right - width) / 2, line.top(), width, line.height()),
                       Theme::instance().color(Role::Text));
}

void LanePainter::paintCounts(const Lane& lane) const
{
    const auto columns = static_cast<std::size_t>(std::max(1.0, m_room.width()));
    const std::vector<Counts> counts = countColumns(lane, columns, [&](double hertz) {
        const double place = m_scale(hertz) - m_room.left();
        return static_cast<std::size_t>(std::clamp(place, 0.0, static_cast<double>(columns)));
    });
    const double each = (m_room.height() - kRug) / lane.tuners.size();
    std::vector<QRectF> out; // a box for each stretch of columns that are alike
    for (std::size_t column = 0; column < columns; ++column) {
        const QRectF box = paintColumn(counts[column], m_room.left() + static_cast<double>(column), each);
        QRectF* const last = out.empty() ? nullptr : &out.back();
        if (last && last->right() == box.left() && last->top() == box.top() && last->height() == box.height())
            last->setRight(box.right());
        else if (box.height() > 0)
            out.push_back(box);
    }
    m_painter.setOpacity(1.0);
    m_painter.setPen(QPen(Theme::instance().color(Role::InUse), 1, Qt::DotLine));
    m_painter.setBrush(Qt::NoBrush);
    for (const QRectF& box : out)
        m_painter.drawRect(box.adjusted(0, 0, -1, -1));
    paintRug(lane);
}

/// Stale ones stand above those that are there. The box is what is left on top, for those out of reach.
QRectF LanePainter::paintColumn(const Counts& counts, double left, double each) const
{
    const std::pair<int, Role> order[] = {{TunerBookingManager::eInUse, Role::InUse},
                                          {TunerBookingManager::ePlanned, Role::Planned},
                                          {TunerBookingManager::eFree, Role::Free}};
    double bottom = m_room.bottom() - kRug;
    for (const bool isStale : {false, true}) {
        m_painter.setOpacity(isStale ? kFadedOpacity : 1.0);
        for (const auto& [state, role] : order) {
            const double part = each * counts[slotOf(state, isStale)];
            m_painter.fillRect(QRectF(left, bottom - part, 1, part), Theme::instance().color(role));
            bottom -= part;
        }
    }
    const double part = each * counts[slotOf(TunerBookingManager::eInaccessible, false)];
    return {left, bottom - part, 1, part};
}

/// What runs, below the counts.
void LanePainter::paintRug(const Lane& lane) const
{
    const QRectF rug(m_room.left(), m_room.bottom() - kRug, m_room.width(), kRug);
    m_painter.setOpacity(0.6);
    for (const LaneTuner& tuner : lane.tuners)
        paintStroke(tuner, rug);
}

} // namespace KoltaConsole
