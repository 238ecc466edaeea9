#include <simulation/scriptedserver.h>

#include <koltacommon/guidtext.h>
#include <koltacommon/productionrequestreply.h>

#include <values/value.h>

namespace KoltaSimulation {

namespace ServerNodes = Kolta::ServerNodes;
using Kolta::guidFromText;
using RESOURCEMANAGEMENT::FFP;
using RESOURCEMANAGEMENT::MCP;
using RESOURCEMANAGEMENT::RequestResource;
using values::SelectionValue;
using values::StringValue;
using values::Tree;

namespace {

/// Values that hold a text from the beginning.
constexpr ServerNodes::eNode kValues[] = {ServerNodes::eHostName,        ServerNodes::eQuit,
                                          ServerNodes::eReset,           ServerNodes::eStartupErrors,
                                          ServerNodes::eStartupProgress, ServerNodes::eStatus,
                                          ServerNodes::eInternalState,   ServerNodes::eReplyResource,
                                          ServerNodes::eStoppedResource, ServerNodes::eStopResource,
                                          ServerNodes::eStopAll,         ServerNodes::eOwnerRequest,
                                          ServerNodes::eUnitPowerControl};

constexpr int kMoveRequest = 3;

template<class Node>
auto& identityOf(Node& node)
{
    return node.EditKoltaProcessor().EditTavikResource();
}

template<class Node>
bool serves(const Node& node, const QUuid& production)
{
    return guidFromText(node.GetProductionID()) == production;
}

QUuid guidOf(const FFP& ffp)
{
    return guidFromText(ffp.GetKoltaProcessor().GetTavikResource().GetGUID());
}

} // namespace

ScriptedServer::ScriptedServer(const QString& serverName)
    : m_name(serverName), m_base(ServerNodes::kAdminTree + QLatin1Char('/') + serverName)
{
    Tree::Instance().AddListener(this);
}

ScriptedServer::~ScriptedServer()
{
    vanish();
    Tree::Instance().RemoveListener(this);
}

QString ScriptedServer::pathOf(ServerNodes::eNode node) const
{
    return ServerNodes::path(m_base, node);
}

void ScriptedServer::write(ServerNodes::eNode node, const QString& text)
{
    if (!values::WriteOrAnnounce(pathOf(node), text))
        Tree::Instance().Emplace<StringValue>(pathOf(node), text);
}

void ScriptedServer::appear(int state)
{
    for (const ServerNodes::eNode node : kValues)
        Tree::Instance().Emplace<StringValue>(pathOf(node));
    Tree::Instance().EnsureNode(pathOf(ServerNodes::eRequestsNode));
    show();
    const QMap<int, QString> names{{kOperationalState, QStringLiteral("Operational")}};
    Tree::Instance().Emplace<SelectionValue>(pathOf(ServerNodes::eWorkingState), names, state);
}

void ScriptedServer::vanish()
{
    Tree::Instance().Remove(pathOf(ServerNodes::eWorkingState)); // before all the rest, as in good order
    Tree::Instance().Remove(m_base + ServerNodes::kAdministration);
}

void ScriptedServer::setState(int state)
{
    if (auto* const value = Tree::Instance().FindAs<SelectionValue>(pathOf(ServerNodes::eWorkingState)))
        value->SetSelectedKey(state);
}

void ScriptedServer::show()
{
    write(ServerNodes::eTunerClasses, classes.GetXmlString());
    write(ServerNodes::eResources, resources.GetXmlString());
    write(ServerNodes::eOwners, owners.GetXmlString());
    write(ServerNodes::eActualConfiguration, running.GetXmlString());
}

void ScriptedServer::say(const QString& status)
{
    write(ServerNodes::eStatus, status);
}

QUuid ScriptedServer::idOf(const RequestResource& request)
{
    if (request.GetRequestType() == kMoveRequest)
        return guidFromText(request.GetRequestID());
    return guidFromText(request.IsSCPSet() ? request.GetSCP().GetProductionID()
                                           : request.GetMCP().GetProductionID());
}

void ScriptedServer::act(const RequestResource& request)
{
    const auto mcpOf = [this](const QString& guid) -> MCP* {
        for (MCP& mcp : running.EditMCP()) {
            if (mcp.GetKoltaProcessor().GetTavikResource().GetGUID() == guid)
                return &mcp;
        }
        return nullptr;
    };
    if (request.GetRequestType() == kMoveRequest) {
        MCP* const target = mcpOf(request.GetDestinationGUID());
        for (MCP& mcp : running.EditMCP()) {
            for (int i = 0; target && i < mcp.GetFFP().size(); ++i) {
                if (guidOf(mcp.GetFFP().at(i)) == guidFromText(request.GetSubjectGUID()))
                    return target->EditFFP().append(mcp.EditFFP().takeAt(i));
            }
        }
    } else if (request.IsSCPSet()) {
        auto scp = request.GetSCP();
        identityOf(scp).SetGUID(QUuid::createUuid().toString());
        setTunerIdle(scp.GetDataSource().GetTunerGUID(), false);
        running.EditSCP().append(scp);
    } else if (request.GetMCP().GetFFP().isEmpty()) {
        MCP mcp = request.GetMCP();
        identityOf(mcp).SetGUID(QUuid::createUuid().toString());
        setTunerIdle(mcp.GetDataSource().GetTunerGUID(), false);
        running.EditMCP().append(mcp);
    } else if (MCP* const mcp = mcpOf(request.GetMCP().GetKoltaProcessor().GetTavikResource().GetGUID())) {
        FFP ffp = request.GetMCP().GetFFP().first();
        identityOf(ffp).SetGUID(QUuid::createUuid().toString());
        setTunerIdle(ffp.GetTunerGUID(), false);
        m_ffpOfProduction.insert(idOf(request), guidOf(ffp));
        mcp->EditFFP().append(ffp);
    }
}

void ScriptedServer::answer(const QUuid& request, bool accepted, const QString& text)
{
    write(ServerNodes::eReplyResource, Kolta::ProductionRequestReply(request, accepted, text).toString());
}

void ScriptedServer::end(const QUuid& production)
{
    const QUuid ffp = m_ffpOfProduction.take(production);
    const auto endIn = [&](auto& list, const auto& isIt, const auto& tunerOf) {
        for (int i = list.size() - 1; i >= 0; --i) {
            if (!isIt(list.at(i)))
                continue;
            setTunerIdle(tunerOf(list.at(i)), true);
            list.removeAt(i);
        }
    };
    const auto isTop = [&](const auto& top) { return serves(top, production); };
    const auto tunerOfTop = [](const auto& top) { return top.GetDataSource().GetTunerGUID(); };
    endIn(running.EditSCP(), isTop, tunerOfTop);
    endIn(running.EditMCP(), isTop, tunerOfTop);
    for (MCP& mcp : running.EditMCP())
        endIn(
            mcp.EditFFP(), [&](const FFP& each) { return !ffp.isNull() && guidOf(each) == ffp; },
            [](const FFP& each) { return each.GetTunerGUID(); });
}

void ScriptedServer::tellEnded(const QUuid& production)
{
    write(ServerNodes::eStoppedResource, production.toString());
}

void ScriptedServer::setTunerIdle(const QString& guid, bool idle)
{
    for (auto& tuner : resources.EditTuner()) {
        if (tuner.GetTavikResource().GetGUID() == guid)
            tuner.SetIdle(idle);
    }
}

void ScriptedServer::OnItemAdded(values::TreeItem& item)
{
    const auto* const value = dynamic_cast<const StringValue*>(&item);
    if (!value || !item.GetPath().startsWith(pathOf(ServerNodes::eRequestsNode) + QLatin1Char('/')))
        return;
    RequestResource request;
    request.SetXmlString(value->GetValue(), true);
    requests.append(request);
    lastPath = item.GetPath();
    if (const auto call = onRequest) // which may set another
        call(request);
}

void ScriptedServer::OnItemChanged(values::TreeItem& item, TChangeCode code, IObserver* originator)
{
    Q_UNUSED(originator)
    const auto* const value = dynamic_cast<const StringValue*>(&item);
    const ServerNodes::Row* const row = code == eChangeValue ? ServerNodes::find(item.GetName()) : nullptr;
    if (!value || !row || !(row->use & ServerNodes::eRequest) || item.GetPath() != pathOf(row->node))
        return;
    const QString wish = item.GetName() + QLatin1Char(' ') + value->GetValue();
    wishes.append(wish);
    lastPath = item.GetPath();
    if (const auto call = onWish)
        call(wish);
}

} // namespace KoltaSimulation
