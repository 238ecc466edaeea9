#include <koltacommon/koltaproductioncontrol.h>

#include <koltacommon/frontendstart.h>
#include <koltacommon/guidtext.h>
#include <koltacommon/koltaexception.h>
#include <koltacommon/processorconverter.h>
#include <koltacommon/productionrequestreply.h>
#include <koltacommon/reportexceptiontext.h>
#include <koltacommon/servernodes.h>

#include <resourcemodel/requests.h>
#include <startup/tracesource.h>

#include <QPointer>

#include <cmath>
#include <utility>

namespace Kolta {

using RESOURCEMANAGEMENT::FFP;
using RESOURCEMANAGEMENT::MCP;
using RESOURCEMANAGEMENT::RequestResource;
using RESOURCEMANAGEMENT::SCP;

namespace {

/// Trace point numbers.
enum eTracePoint : int {
    eNotInitialized = 100,
    eNoProductionID = 200,
    eNoMcpForFFP = 210,
    eInvalidObject = 220,
    eReportException = 230,
    eInvalidMove = 240,
    eNoRequestNode = 300,
    eSendingRequest = 310,
    eNoRequestValue = 320,
    eInvalidStop = 400,
    eNoStopValue = 410,
    eInvalidReply = 500,
    eInvalidStopped = 510,
    eNoDriver = 600
};
constexpr Startup::TraceSource kTrace("devicecontrol/kolta/koltacommon/koltaproductioncontrol");

/// What a request asks for; the numbers travel.
enum eRequestType : int { eRequestProduction = 0, eRequestMove = 3 };

template<class Processor>
const QString& displayNameOf(const Processor& processor)
{
    return processor.GetKoltaProcessor().GetTavikResource().GetDisplayName();
}

/// A copy of an SCP or MCP that carries the GUID of its production; `production` becomes the one that it has
/// if that is to be used again.
template<class Processor>
Processor withProductionID(const Processor& processor, bool reuseProductionID, QUuid& production)
{
    if (reuseProductionID) {
        const QUuid present = guidFromText(processor.GetProductionID());
        if (present.isNull())
            kTrace(eNoProductionID,
                   QStringLiteral("Tried to reuse a Production GUID that has not been set."));
        else
            production = present;
    }
    Processor copy = processor;
    copy.SetProductionID(production.toString());
    return copy;
}

/// The MCP as far as a request for an FFP in it needs to tell.
MCP mcpWith(const FFP& ffp, const QUuid& mcpGuid, const QUuid& production)
{
    MCP mcp;
    ProcessorConverter::setupDefaultMCP(mcp);
    mcp.EditKoltaProcessor().EditTavikResource().SetGUID(mcpGuid.toString());
    mcp.SetProductionID(production.toString());
    mcp.EditFFP().append(ffp);
    return mcp;
}

bool write(const QString& path, const QString& text)
{
    const bool written = values::WriteOrAnnounce(path, text);
    if (!written)
        kTrace(eNoStopValue, QStringLiteral("No value %1. Nothing was stopped").arg(path));
    return written;
}

double numberOf(const QString& text)
{
    const double number = text.toDouble();
    return std::isfinite(number) ? number : 0.0;
}

void traceNoDriver(const QString& guid)
{
    kTrace(eNoDriver, QStringLiteral("No driver with type and address for processor \"%1\"").arg(guid));
}

} // namespace

KoltaProductionControl::KoltaProductionControl(QObject* parent)
    : QObject(parent)
    , m_stopResource(this)
    , m_stopAll(this)
    , m_reply(this)
    , m_stopped(this)
    , m_pRequestResourceNode(this)
{
}

KoltaProductionControl::~KoltaProductionControl() = default;

void KoltaProductionControl::init(const QString& basePath)
{
    if (bindAt(basePath))
        return;
    const QString text = QStringLiteral("Could not initialize.");
    kTrace(eNotInitialized, text);
    throw KoltaException(text);
}

bool KoltaProductionControl::follow(const QString& basePath)
{
    return (basePath == m_basePath && m_reply.value.Get()) || bindAt(basePath);
}

/// All or nothing.
bool KoltaProductionControl::bindAt(const QString& basePath)
{
    m_basePath = basePath;
    m_connectionInfo.setPath(m_basePath + ServerNodes::suffix(ServerNodes::eConnectionInfo));
    const bool bound = bindAll();
    if (!bound)
        releaseAll();
    return bound;
}

/// What was deleted does not count, although it may come back.
bool KoltaProductionControl::bindAll()
{
    const auto bind = [this](auto& binding, ServerNodes::eNode node) {
        return binding.Bind(m_basePath + ServerNodes::suffix(node)) && !binding.Get()->IsDeleted();
    };
    const auto bindNotice = [&bind](Notice& notice, ServerNodes::eNode node) {
        const bool bound = bind(notice.value, node);
        notice.reported = bound ? notice.value.Get()->GetValue() : QString();
        notice.revived = false;
        return bound;
    };
    return bind(m_stopResource, ServerNodes::eStopResource) && bind(m_stopAll, ServerNodes::eStopAll) &&
           bindNotice(m_reply, ServerNodes::eReplyResource) &&
           bindNotice(m_stopped, ServerNodes::eStoppedResource) &&
           bind(m_pRequestResourceNode, ServerNodes::eRequestsNode);
}

void KoltaProductionControl::releaseAll()
{
    m_stopResource.Release();
    m_stopAll.Release();
    m_reply.value.Release();
    m_stopped.value.Release();
    m_pRequestResourceNode.Release();
}

QUuid KoltaProductionControl::requestProduction(const REPORTGENERATOR::IRGObject& object,
                                                bool reuseProductionID, const QUuid& mcpGuid)
{
    QUuid production = QUuid::createUuid();
    QString xml;
    try {
        RequestResource request;
        request.SetRequestType(eRequestProduction);
        if (const auto* const scp = dynamic_cast<const SCP*>(&object)) {
            request.SetSCP(withProductionID(*scp, reuseProductionID, production));
            request.SetRequestName(displayNameOf(*scp));
        } else if (const auto* const mcp = dynamic_cast<const MCP*>(&object)) {
            request.SetMCP(withProductionID(*mcp, reuseProductionID, production));
            request.SetRequestName(displayNameOf(*mcp));
        } else if (const auto* const ffp = dynamic_cast<const FFP*>(&object)) {
            if (mcpGuid.isNull()) {
                kTrace(eNoMcpForFFP, QStringLiteral("ClientProductionControl::requestProduction: Invalid FFP "
                                                    "Request - No MCP GUID provided."));
                return QUuid();
            }
            request.SetMCP(mcpWith(*ffp, mcpGuid, production));
            request.SetRequestName(displayNameOf(*ffp));
        } else {
            kTrace(eInvalidObject,
                   QStringLiteral("ClientProductionControl::requestProduction: Invalid IRGObject provided."));
            return QUuid();
        }
        xml = request.GetXmlString();
    } catch (const REPORTGENERATOR::RGException& exception) {
        kTrace(eReportException, reportExceptionText(exception));
        return QUuid();
    }
    return RequestResourceInternal(xml) ? production : QUuid();
}

QUuid KoltaProductionControl::requestFFPMove(const QUuid& ffp, const QUuid& mcp, const QUuid& requestID)
{
    const QUuid id = requestID.isNull() ? QUuid::createUuid() : requestID;
    QString xml;
    QString error;
    try {
        RequestResource request;
        request.SetRequestType(eRequestMove);
        request.SetSubjectGUID(ffp.toString());
        request.SetDestinationGUID(mcp.toString());
        request.SetRequestName(tr("Move FFP"));
        request.SetRequestID(id.toString());
        if (ffp.isNull() || mcp.isNull())
            error =
                QStringLiteral("the GUID of the %1 is null").arg(QLatin1String(ffp.isNull() ? "FFP" : "MCP"));
        else
            xml = request.GetXmlString();
    } catch (const REPORTGENERATOR::RGException& exception) {
        error = exception.GetText();
    }
    if (!error.isEmpty()) {
        kTrace(eInvalidMove,
               QStringLiteral("ClientProductionControl::requestFFPMove: Error in building request xml: ") +
                   error);
        return QUuid();
    }
    return RequestResourceInternal(xml) ? id : QUuid();
}

bool KoltaProductionControl::hasRequestNode() const
{
    const values::TreeItem* const node = m_pRequestResourceNode.Get();
    return node && !node->IsDeleted();
}

/// The server may answer before this returns, and a slot may then have deleted this.
bool KoltaProductionControl::RequestResourceInternal(const QString& requestXml)
{
    if (!hasRequestNode()) {
        kTrace(eNoRequestNode, QStringLiteral("m_pRequestResourceNode not set. no Request"));
        return false;
    }
    const QString name = QStringLiteral("id") + QUuid::createUuid().toString();
    const QString path = m_pRequestResourceNode.Get()->GetPath() + QLatin1Char('/') + name;
    // The wording is known to support tools, although a request is sent here.
    kTrace(eSendingRequest, QStringLiteral("Sending StopCommand for resource with GUID ") + name,
           Startup::eTraceDetail);
    // Asked again: to write below a node that has gone would bring it back to life.
    if (hasRequestNode() && values::Tree::Instance().Emplace<values::StringValue>(path, requestXml))
        return true;
    kTrace(eNoRequestValue,
           QStringLiteral("ERROR: Could not create value for production request. Value: %1. Request: %2 ")
               .arg(name, requestXml));
    return false;
}

void KoltaProductionControl::StopProduction(const QUuid& production)
{
    StopProductions(QStringList{production.toString()});
}

void KoltaProductionControl::StopProductions(const QList<QUuid>& productions)
{
    QStringList texts;
    for (const QUuid& production : productions)
        texts.append(production.toString());
    StopProductions(texts);
}

void KoltaProductionControl::StopProductions(const QStringList& productions)
{
    QStringList guids;
    for (const QString& text : productions) {
        const QUuid guid = guidFromText(text);
        if (guid.isNull())
            kTrace(eInvalidStop, QStringLiteral("\"%1\" is not the GUID of a production").arg(text));
        else
            guids.append(guid.toString());
    }
    // From here on a slot may delete this, and the caller's list with it, while the server stops the first.
    const QString path = m_basePath + ServerNodes::suffix(ServerNodes::eStopResource);
    for (const QString& guid : qAsConst(guids)) {
        if (!write(path, guid))
            return;
    }
}

void KoltaProductionControl::StopAllProductions()
{
    write(m_basePath + ServerNodes::suffix(ServerNodes::eStopAll), QStringLiteral("1"));
}

QString KoltaProductionControl::requestTunerProperties(const QString& guid) const
{
    return driverValue(guid, QStringLiteral("settings"));
}

QString KoltaProductionControl::getTaskIDForGuid(const QString& guid) const
{
    return driverValue(guid, QStringLiteral("taskID"));
}

QString KoltaProductionControl::getTaskReservedTimeForGuid(const QString& guid) const
{
    return driverValue(guid, QStringLiteral("ReservedTime"));
}

QString KoltaProductionControl::getMcpGuidForTaskID(const QString& taskID) const
{
    const QString guid =
        ConnectionInfo::text(m_connectionInfo.mcpChildOfTask(taskID), QStringLiteral("Kolta_GUID"));
    return guidFromText(guid).isNull() ? QString() : guid;
}

QHash<QUuid, FrequencyRange> KoltaProductionControl::getFrequencyRangesOfAllMCPs() const
{
    QHash<QUuid, FrequencyRange> ranges;
    for (const QString& child : m_connectionInfo.mcpChildren()) {
        const QUuid guid = guidFromText(ConnectionInfo::text(child, QStringLiteral("Kolta_GUID")));
        if (guid.isNull() || ranges.contains(guid))
            continue;
        ranges.insert(guid, {numberOf(ConnectionInfo::text(child, QStringLiteral("Frequency"))),
                             numberOf(ConnectionInfo::text(child, QStringLiteral("Bandwidth")))});
    }
    return ranges;
}

QString KoltaProductionControl::getDriverConnectionInfoPath(const QString& guid) const
{
    return m_connectionInfo.childOfProcessor(guidFromText(guid));
}

QString KoltaProductionControl::driverValue(const QString& guid, const QString& name) const
{
    return ConnectionInfo::text(getDriverConnectionInfoPath(guid), name);
}

bool KoltaProductionControl::getDriverTypeAndAddress(const QString& guid, QString& type,
                                                     QString& address) const
{
    const QString child = getDriverConnectionInfoPath(guid);
    const QString foundType = ConnectionInfo::text(child, QStringLiteral("Processor_Type"));
    const QString foundAddress = ConnectionInfo::text(child, QStringLiteral("vtconnection"));
    if (foundType.isEmpty() || foundAddress.isEmpty())
        return false;
    type = foundType;
    address = foundAddress;
    return true;
}

bool KoltaProductionControl::findGuiStartParameters(const QUuid& guid, QString& executable,
                                                    QStringList& arguments, QString& workingDirectory,
                                                    QString* type, QString* address) const
{
    QString driverType;
    QString driverAddress;
    if (guid.isNull() || !getDriverTypeAndAddress(guid.toString(), driverType, driverAddress))
        return false;
    const FrontEndStart start = FrontEndStart::of(driverType, driverAddress);
    if (start.executable.isEmpty())
        return false;
    executable = start.executable;
    arguments = start.arguments;
    workingDirectory = start.workingDirectory;
    if (type)
        *type = driverType;
    if (address)
        *address = driverAddress;
    return true;
}

QProcess* KoltaProductionControl::startGUI(const QString& guid, QObject* parent) const
{
    FrontEndStart start;
    if (findGuiStartParameters(guidFromText(guid), start.executable, start.arguments, start.workingDirectory))
        return start.run(parent);
    traceNoDriver(guid);
    return nullptr;
}

bool KoltaProductionControl::startGUIdetached(const QString& guid) const
{
    QString type;
    QString address;
    if (getDriverTypeAndAddress(guid, type, address))
        return FrontEndStart::runDetached(type, address);
    traceNoDriver(guid);
    return false;
}

void KoltaProductionControl::Update(Observable* source, TChangeCode code)
{
    if (!source)
        return;
    if (source == m_reply.value.Get())
        reportReply(takeChange(m_reply, code));
    else if (source == m_stopped.value.Get())
        reportStopped(takeChange(m_stopped, code));
}

void KoltaProductionControl::UpdateAll()
{
    const QPointer<KoltaProductionControl> guard(this);
    reportReply(takeNews(m_reply, false));
    if (guard)
        reportStopped(takeNews(m_stopped, false));
}

/// The text that a change of a bound notice asks to be reported; empty for none. A value that comes back
/// announces its content, which need not be news; otherwise the same text again means the same thing once
/// more.
QString KoltaProductionControl::takeChange(Notice& notice, TChangeCode code)
{
    if (code == eChangeState)
        notice.revived = !notice.value.Get()->IsDeleted();
    if (code != eChangeValue)
        return QString();
    const bool revived = std::exchange(notice.revived, false);
    return takeNews(notice, !revived);
}

/// The notice's text, unless it is empty; one that has been taken before only if `again` is set.
QString KoltaProductionControl::takeNews(Notice& notice, bool again)
{
    const values::StringValue* const value = notice.value.Get();
    QString text = value ? value->GetValue() : QString();
    if (text.isEmpty() || (!again && text == notice.reported))
        return QString();
    notice.reported = text;
    return text;
}

void KoltaProductionControl::reportReply(const QString& text)
{
    if (text.isEmpty())
        return;
    const auto reply = ProductionRequestReply::fromString(text);
    if (reply)
        Q_EMIT si_ProductionRequestReplied(reply->production(), reply->isAccepted(), reply->text());
    else
        kTrace(eInvalidReply, QStringLiteral("Invalid reply to a production request: \"%1\"").arg(text));
}

void KoltaProductionControl::reportStopped(const QString& text)
{
    if (text.isEmpty())
        return;
    const QUuid production = guidFromText(text);
    if (!production.isNull())
        Q_EMIT si_ProductionStopped(production);
    else
        kTrace(eInvalidStopped, QStringLiteral("Invalid notice of a stopped production: \"%1\"").arg(text));
}

} // namespace Kolta
