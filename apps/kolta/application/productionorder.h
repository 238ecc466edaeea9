#pragma once

#include "servers.h"

#include <resourcemodel/resources.h>

#include <QString>
#include <QUuid>

#include <functional>

namespace REPORTGENERATOR {
class IRGObject;
}

namespace KoltaCli {

/// What a server said to a request for a production or a move.
struct ServerAnswer
{
    QUuid request; ///< null when it could not even be made
    bool accepted = false;
    QString problem; ///< why it was not accepted
};

/// Makes a request with `ask`, which returns its GUID, and waits for the answer.
ServerAnswer awaitAnswer(Server& server, const std::function<QUuid()>& ask, int timeoutMs);

/// A production as its user asks for it.
struct ProductionOrder
{
    enum eKind { eScp, eMcp, eFfp };
    eKind kind = eMcp;
    QString className;   ///< tuner class; may be empty for an FFP, which its MCP feeds then
    QString tuner;       ///< GUID or name of one instead of a class; not planned: the server decides
    QString demandClass; ///< empty: that of the tuner class, or of the kind
    QString name;        ///< empty: the kind and a number
    QString mcp;         ///< GUID, for an FFP
    double frequency = 0.0;
    double bandwidth = 0.0;
};

/// "SCP", "MCP" or "FFP".
QString kindName(ProductionOrder::eKind kind);

/// What became of an order.
struct ProductionOutcome
{
    ServerAnswer answer;
    RESOURCEMANAGEMENT::Tuner tuner; ///< empty for none
    QString name;
    QString demandClass;
    QString processor; ///< GUID of the processor that started
};

/// The whole way: chooses the cheapest free tuner of the class that nobody has planned, plans it, asks for
/// the production and waits for the answer. The planning is undone when nothing comes of it.
ProductionOutcome produce(Server& server, const ProductionOrder& order, int timeoutMs);

} // namespace KoltaCli
