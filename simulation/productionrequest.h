#pragma once

#include <resourcemodel/processors.h>

#include <QString>
#include <QUuid>

namespace KoltaSimulation {

/// What a client asks for in one value below the request node.
struct ProductionRequest
{
    enum class Kind {
        Malformed, ///< `problem` says why
        Scp,       ///< start `scp`
        Mcp,       ///< start `mcp`
        Ffp,       ///< start `ffp` in the MCP `target`
        Move       ///< move the FFP `subject` to the MCP `target`
    };
    Kind kind = Kind::Malformed;
    /// What the answer names: the production, or the move. Null when the request names nothing.
    QUuid id;
    RESOURCEMANAGEMENT::SCP scp;
    RESOURCEMANAGEMENT::MCP mcp;
    RESOURCEMANAGEMENT::FFP ffp;
    QUuid subject;
    QUuid target;
    QString problem;

    /// Reads the value `name` with the content `text`. A request that carries no ID of its own goes by the
    /// GUID in the value's name.
    static ProductionRequest read(const QString& name, const QString& text);
    /// "SCP", "MCP", "FFP" or "move"; empty for what is malformed.
    QString kindName() const;
};

} // namespace KoltaSimulation
