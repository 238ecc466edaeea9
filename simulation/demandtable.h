#pragma once

#include <resourcemodel/demandclasses.h>

#include <QHash>
#include <QPair>
#include <QSet>
#include <QString>

#include <optional>

namespace KoltaSimulation {

class Installation;

/// What processors take, by their demand classes.
class DemandTable
{
public:
    explicit DemandTable(const Installation& installation);

    /// CPU credits of a processor of class `processor` ("MCP" for instance); 0 without a demand class or in
    /// an installation that has none. Nothing for a class that is not known.
    std::optional<int> credits(const QString& processor, const QString& demandClass) const;
    /// Whether MCPs of that class are processed in hardware: the class says so, or a tuner class that asks
    /// for it does.
    bool isHardware(const QString& demandClass) const { return m_hardware.contains(demandClass); }

    /// The kind under which the demand classes of a processor are listed, "DCP" for an MCP.
    static QString kindOf(const QString& processor);

private:
    QHash<QPair<QString, QString>, int> m_credits; ///< by kind and class
    QSet<QString> m_hardware;
};

} // namespace KoltaSimulation
