#pragma once

#include <koltacommon/export.h>
#include <koltacommon/tunerneeds.h>

#include <QPointer>
#include <QString>

namespace Kolta {

class TunerBookingManager;

/// One plan of one tuner, and the duty to undo it: destroying it makes the tuner free again, unless the
/// server has reported it used or gone meanwhile, or somebody else has planned it anew. Lives on the booking
/// manager's thread; either may die first.
class KOLTA_COMMON_EXPORT TunerPlan
{
public:
    /// No plan.
    TunerPlan() = default;
    ~TunerPlan() { undo(); }
    TunerPlan(TunerPlan&& other) noexcept;
    TunerPlan& operator=(TunerPlan&& other) noexcept;
    TunerPlan(const TunerPlan&) = delete;
    TunerPlan& operator=(const TunerPlan&) = delete;

    /// Plans the tuner; no plan, and a message is added to `errorText`, when that cannot be.
    static TunerPlan make(TunerBookingManager& booking, const QString& guid, const TunerNeeds& needs,
                          QString& errorText);

    /// Whether the tuner is still planned by this.
    bool stands() const;
    /// Of the tuner; empty for no plan.
    const QString& guid() const noexcept { return m_guid; }
    /// Makes the tuner free if the plan stands. It is no plan afterwards.
    void undo();
    /// Leaves the tuner planned, for somebody else to undo. It is no plan afterwards.
    void leave() { m_booking.clear(); }

private:
    QPointer<TunerBookingManager> m_booking;
    QString m_guid;
    quint64 m_number = 0;
};

} // namespace Kolta
