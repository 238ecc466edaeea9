#include <simulation/productionrequest.h>

#include <koltacommon/guidtext.h>
#include <koltacommon/processorwalk.h>
#include <resourcemodel/requests.h>

namespace KoltaSimulation {

using Kolta::guidFromText;
using RESOURCEMANAGEMENT::RequestResource;
using Kind = ProductionRequest::Kind;

namespace {

constexpr int kTypeProduction = 0;
constexpr int kTypeMove = 3;

void fail(ProductionRequest& request, const QString& problem)
{
    request.kind = Kind::Malformed;
    request.problem = problem;
}

void setId(ProductionRequest& request, const QString& text)
{
    const QUuid id = guidFromText(text);
    if (!id.isNull())
        request.id = id;
}

/// An MCP that names a GUID stands for the running one, in which its FFP is to be started.
void readMcp(ProductionRequest& request, const RESOURCEMANAGEMENT::MCP& mcp)
{
    setId(request, mcp.GetProductionID());
    request.target = guidFromText(Kolta::ProcessorWalk::guidOf(mcp));
    if (request.target.isNull()) {
        request.kind = Kind::Mcp;
        request.mcp = mcp;
    } else if (mcp.GetFFP().size() != 1) {
        fail(request, QStringLiteral("found %1 FFPs in the running MCP %2, expected one to be started there")
                          .arg(mcp.GetFFP().size())
                          .arg(request.target.toString()));
    } else {
        request.kind = Kind::Ffp;
        request.ffp = mcp.GetFFP().first();
    }
}

void readProduction(ProductionRequest& request, const RequestResource& record)
{
    if (record.IsSCPSet() == record.IsMCPSet()) {
        fail(request, QStringLiteral("expected an SCP or an MCP"));
    } else if (record.IsMCPSet()) {
        readMcp(request, record.GetMCP());
    } else {
        request.kind = Kind::Scp;
        request.scp = record.GetSCP();
        setId(request, request.scp.GetProductionID());
    }
}

void readMove(ProductionRequest& request, const RequestResource& record)
{
    setId(request, record.GetRequestID());
    request.subject = guidFromText(record.GetSubjectGUID());
    request.target = guidFromText(record.GetDestinationGUID());
    request.kind = Kind::Move;
    if (request.subject.isNull() || request.target.isNull())
        fail(request, QStringLiteral("expected the GUIDs of an FFP and an MCP"));
}

} // namespace

ProductionRequest ProductionRequest::read(const QString& name, const QString& text)
{
    ProductionRequest request;
    request.id = guidFromText(name.startsWith(QLatin1String("id")) ? name.mid(2) : name);
    RequestResource record;
    try {
        record.SetXmlString(text, true);
    } catch (const REPORTGENERATOR::RGException& failure) {
        fail(request, failure.GetText());
        return request;
    }
    if (record.GetRequestType() == kTypeProduction)
        readProduction(request, record);
    else if (record.GetRequestType() == kTypeMove)
        readMove(request, record);
    else
        fail(request,
             QStringLiteral("found the request type %1, expected 0 or 3").arg(record.GetRequestType()));
    return request;
}

QString ProductionRequest::kindName() const
{
    switch (kind) {
    case Kind::Scp:
        return QStringLiteral("SCP");
    case Kind::Mcp:
        return QStringLiteral("MCP");
    case Kind::Ffp:
        return QStringLiteral("FFP");
    case Kind::Move:
        return QStringLiteral("move");
    case Kind::Malformed:
        break;
    }
    return QString();
}

} // namespace KoltaSimulation
