#pragma once

#include <koltacommon/export.h>

#include <QString>
#include <QStringList>

namespace REPORTGENERATOR {
class IRGObject;
}

namespace Kolta {

/// Which tuners a set of productions needs. A value; used as TunerBookingManager::Booking.
///
/// Each production (an SCP or MCP of an overview, or the one object that is booked) names each of its tuners
/// once, however many of its processors share it. Two productions of one overview that need the same tuner
/// name it twice, so that planning them fails: they cannot run together. The empty text and "none" (a data
/// source without a tuner) are no tuners and are left out.
class KOLTA_COMMON_EXPORT TunerBooking
{
public:
    /// Not valid, without tuners.
    TunerBooking() = default;
    /// Booking of a ProcessorOverview, SCP, MCP, DSC, FFP or FHP; it does not refer to the object any more.
    /// Of any other object it is not valid, which is traced.
    explicit TunerBooking(const REPORTGENERATOR::IRGObject& object);

    /// Whether it was built from an object of a supported type. Such a booking may well need no tuner.
    bool isValid() const noexcept { return m_valid; }
    /// The processor's name, its display name when it has none; "Overview" for a whole overview.
    const QString& getName() const noexcept { return m_name; }
    /// In the order of booking: MCPs before SCPs; FFPs, DSCs, FHPs, and the data source of their owner last.
    const QStringList& getTunerGUIDs() const noexcept { return m_tunerGUIDs; }

    /// One line for logs: "Booking[name: North, valid: true, tuner: {...}, tuner: {...}]".
    QString toString() const;

private:
    QString m_name;
    QStringList m_tunerGUIDs;
    bool m_valid = false;
};

} // namespace Kolta
