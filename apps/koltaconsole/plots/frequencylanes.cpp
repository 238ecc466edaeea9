#include "frequencylanes.h"

#include "../theme.h"

#include <koltacommon/tunerbookingmanager.h>

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
    const int columns = std::max(1, static_cast<int>(m_room.width()));
    // Per state, how many begin or end at each column.
    std::array<std::vector<int>, 4> steps;
    for (auto& each : steps)
        each.assign(static_cast<std::size_t>(columns) + 1, 0);
    const auto columnOf = [&](double hertz) {
        const double place = m_scale(hertz) - m_room.left();
        return static_cast<std::size_t>(std::clamp(place, 0.0, static_cast<double>(columns)));
    };
    for (const LaneTuner& tuner : lane.tuners) {
        auto& own = steps[static_cast<std::size_t>(std::clamp(tuner.state, 0, 3))];
        ++own[columnOf(tuner.from)];
        --own[columnOf(tuner.to)];
    }
    const Theme& theme = Theme::instance();
    const std::pair<int, QColor> order[] = {{TunerBookingManager::eInUse, theme.color(Role::InUse)},
                                            {TunerBookingManager::ePlanned, theme.color(Role::Planned)},
                                            {TunerBookingManager::eFree, theme.color(Role::Free)}};
    const double height = m_room.height() - kRug;
    std::array<int, 4> counts{};
    for (int column = 0; column < columns; ++column) {
        double bottom = m_room.top() + height;
        for (std::size_t state = 0; state < counts.size(); ++state)
            counts[state] += steps[state][static_cast<std::size_t>(column)];
        for (const auto& [state, color] : order) {
            const double part = height * counts[static_cast<std::size_t>(state)] / lane.tuners.size();
            m_painter.fillRect(QRectF(m_room.left() + column, bottom - part, 1, part), color);
            bottom -= part;
        }
    }
    const QRectF rug(m_room.left(), m_room.bottom() - kRug, m_room.width(), kRug);
    m_painter.setOpacity(0.6);
    for (const LaneTuner& tuner : lane.tuners)
        paintStroke(tuner, rug);
}

} // namespace KoltaConsole
