#include <koltacommon/tunerplan.h>

#include <koltacommon/tunerbookingmanager.h>

#include <utility>

namespace Kolta {

TunerPlan::TunerPlan(TunerPlan&& other) noexcept
    : m_booking(std::exchange(other.m_booking, nullptr))
    , m_guid(std::exchange(other.m_guid, QString()))
    , m_number(std::exchange(other.m_number, 0))
{
}

TunerPlan& TunerPlan::operator=(TunerPlan&& other) noexcept
{
    TunerPlan taken(std::move(other));
    std::swap(m_booking, taken.m_booking);
    std::swap(m_guid, taken.m_guid);
    std::swap(m_number, taken.m_number);
    return *this;
}

TunerPlan TunerPlan::make(TunerBookingManager& booking, const QString& guid, const TunerNeeds& needs,
                          QString& errorText)
{
    TunerPlan plan;
    const QPointer<TunerBookingManager> guard(&booking);
    if (!booking.planTuner(guid, needs, errorText) || !guard)
        return plan;
    plan.m_booking = &booking;
    plan.m_guid = guid;
    plan.m_number = booking.planNumber(guid);
    return plan;
}

bool TunerPlan::stands() const
{
    return m_booking && m_number != 0 && m_booking->planNumber(m_guid) == m_number;
}

void TunerPlan::undo()
{
    const QPointer<TunerBookingManager> booking = std::exchange(m_booking, nullptr);
    const QString guid = std::exchange(m_guid, QString());
    const quint64 number = std::exchange(m_number, 0);
    if (booking)
        booking->undoTunerPlanning(guid, number);
}

} // namespace Kolta
