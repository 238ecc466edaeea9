#pragma once

#include <koltacommon/export.h>
#include <koltacommon/tunerneeds.h>

#include <QString>
#include <QStringList>
#include <QUuid>

#include <memory>

namespace REPORTGENERATOR {
class IRGObject;
}

namespace Kolta {

class KoltaServerInterface;

/// A production as somebody asks for it. A value.
struct ProductionOrder
{
    enum class Kind { Scp, Mcp, Ffp };

    Kind kind = Kind::Mcp;
    QString tunerClass;       ///< the best free tuner of it; for an FFP, nothing means the tuner of its MCP
    QString tunerGuid;        ///< that one instead
    QString demandClass;      ///< empty: that of the tuner class for an MCP, else that of the kind
    QString displayName;      ///< empty: the kind and a number
    QUuid mcp;                ///< that is to hold an FFP
    double frequency = 0.0;   ///< centre, Hz; 0: not said
    double bandwidth = 0.0;   ///< Hz; 0: not said
    QStringList storageGuids; ///< the tuner must have an interface to one of these, if any are given
    /// An SCP, MCP or FFP, as the kind says, to begin with; what is said above replaces its fields.
    std::shared_ptr<const REPORTGENERATOR::IRGObject> processor;
    /// The GUID of the production, from somebody who remembers it over a restart of his own: one that runs
    /// already is taken over instead of being asked for again. Not for FFPs.
    QUuid production;
    /// How often another tuner of the class is tried when somebody else was faster.
    int attempts = 3;
};

/// "SCP", "MCP" or "FFP".
KOLTA_COMMON_EXPORT QString kindName(ProductionOrder::Kind kind);
/// Why it makes no sense, whatever the server; empty when it does.
KOLTA_COMMON_EXPORT QString problemOfOrder(const ProductionOrder& order);
/// The order with what it leaves open: name, demand class, frequency and bandwidth of its record.
KOLTA_COMMON_EXPORT ProductionOrder completed(const ProductionOrder& order, KoltaServerInterface& server);
/// What a complete order asks of its tuner.
KOLTA_COMMON_EXPORT TunerNeeds needsOf(const ProductionOrder& order, KoltaServerInterface& server);
/// Why that server has no place for an FFP: its MCP does not run there. Empty for everything else.
KOLTA_COMMON_EXPORT QString problemOfMcp(const ProductionOrder& order, KoltaServerInterface& server);
/// Why a complete order does not lie in the band of its MCP, for an FFP that is fed by the MCP's tuner. Empty
/// for everything else.
KOLTA_COMMON_EXPORT QString problemWithinMcp(const ProductionOrder& order, KoltaServerInterface& server);
/// The processor that a complete order describes, fed by that tuner (empty: the record's, if any), and with
/// that production ID.
std::shared_ptr<const REPORTGENERATOR::IRGObject>
processorFor(const ProductionOrder& order, const QString& tunerGuid, const QUuid& production);

} // namespace Kolta
