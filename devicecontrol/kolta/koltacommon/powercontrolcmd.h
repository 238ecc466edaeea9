#pragma once

#include <koltacommon/export.h>

#include <QStringList>

#include <optional>

namespace Kolta {

/// Text command that switches units on or off.
///
/// Its text form is "scope@switch@units": the scope's number, "1" for on or "0" for off, and the units
/// separated by commas. A "%" or "," inside a unit is written as "%25" or "%2C"; an "@" may stand there as it
/// is, because only the first two separate fields.
class KOLTA_COMMON_EXPORT PowerControlCmd
{
public:
    /// What is switched. The numbers travel.
    enum eScope : int {
        eScopeSupply = 0,   ///< mains supply
        eScopeUnit = 1,     ///< the unit as a whole
        eScopeDevices = 2,  ///< devices attached to the unit
        eScopePrograms = 3, ///< the unit's programs; can only be switched off
        eScopeSystem = 4    ///< the unit's operating system; can only be switched off
    };

    PowerControlCmd(eScope scope, bool on, const QStringList& units);

    eScope scope() const noexcept { return m_scope; }
    bool isOn() const noexcept { return m_on; }
    /// GUIDs of the units.
    const QStringList& units() const noexcept { return m_units; }

    QString toString() const;
    /// Reads the text form; nothing when it is malformed, names an unknown scope, no unit or an empty unit.
    static std::optional<PowerControlCmd> fromString(const QString& text);

private:
    eScope m_scope;
    bool m_on;
    QStringList m_units;
};

} // namespace Kolta
