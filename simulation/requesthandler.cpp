#include <simulation/requesthandler.h>

#include <simulation/commandrights.h>
#include <simulation/demandclassanswer.h>
#include <simulation/faultids.h>
#include <simulation/installation.h>
#include <simulation/resourcestate.h>

#include <koltacommon/guidtext.h>
#include <koltacommon/startstopdatastreamrecording.h>
#include <xmlmessaging/demandclassconverter.h>
#include <xmlmessaging/server.h>

#include <QDateTime>
#include <QUuid>

#include <algorithm>

namespace KoltaSimulation {

using XmlCommon::CDataTree;
using XmlCommon::CFaultTree;
using XmlCommon::CMsgFragment;
using XmlCommon::CXmlMessage;

namespace {

const QString kResourcesComponent = QStringLiteral("Resources");
const QString kStatisticsComponent = QStringLiteral("Statistics");

constexpr struct
{
    const char* name;
    quint64 ServerStatistics::*member;
} kCounters[] = {{"Links", &ServerStatistics::links},     {"Requests", &ServerStatistics::requests},
                 {"Replies", &ServerStatistics::replies}, {"Broadcasts", &ServerStatistics::broadcasts},
                 {"Faults", &ServerStatistics::faults},   {"Duplicates", &ServerStatistics::duplicates},
                 {"Cuts", &ServerStatistics::cuts},       {"Commands", &ServerStatistics::commands},
                 {"Repeats", &ServerStatistics::repeats}};

CFaultTree makeFault(FaultId id, const QStringList& addenda, const CFaultTree& cause = CFaultTree())
{
    return CFaultTree(id, static_cast<quint64>(QDateTime::currentMSecsSinceEpoch()), addenda, cause);
}

/// From the request that failed down to the reason why: one fault and a chain of three causes.
CFaultTree noSuchResource(const QString& guid, const QString& server)
{
    const CFaultTree noEntry = makeFault(eFaultNoRegisterEntry, {guid});
    const CFaultTree lookUp = makeFault(eFaultLookUpFailed, {server, guid}, noEntry);
    const CFaultTree administration = makeFault(eFaultAdministration, {server}, lookUp);
    return makeFault(eFaultNoSuchResource, {guid}, administration);
}

CMsgFragment faultFragment(FaultId id, const QStringList& addenda)
{
    CMsgFragment fragment;
    fragment.setFaultTree(makeFault(id, addenda));
    return fragment;
}

/// A command that only says how the client's own link is to be treated.
bool isLinkCommand(const CMsgFragment& fragment)
{
    return XmlCommunication::CRequestTreeConverter::isCommand(fragment) ||
           XmlCommunication::CEventFilterConverter::isCommand(fragment);
}

const QStringList& knownComponents()
{
    static const QStringList components = {
        kResourcesComponent,
        kStatisticsComponent,
        XmlCommunication::CAppDescription::makeFragment().getComponentName(),
        XmlCommunication::CRequestTreeConverter().makeFragment().getComponentName(),
        XmlCommunication::CEventFilterConverter::makeFragment(QStringLiteral("*")).getComponentName(),
        ResourceConverter::CQueryFaultReference::makeFragment().getComponentName(),
        ResourceConverter::CResourceDemandClasses::makeFragment().getComponentName(),
        Kolta::StartStopDatastreamRecording::componentName()};
    return components;
}

CMsgFragment makeQuery(const QString& component, const CDataTree& tree)
{
    CMsgFragment fragment(component);
    fragment.setRequestTree(XmlCommon::CRequestTree(tree));
    return fragment;
}

} // namespace

RequestHandler::RequestHandler(const Installation& installation, const ResourceState& resources,
                               const ServerStatistics& statistics, const CommandRights& rights)
    : m_installation(installation), m_resources(resources), m_statistics(statistics), m_rights(rights)
{
}

bool RequestHandler::concernsLinkOnly(const CXmlMessage& request)
{
    for (int i = 0; i < request.getNumberOfFragments(); ++i) {
        if (!isLinkCommand(request.getFragment(i)))
            return false;
    }
    return true;
}

CXmlMessage RequestHandler::answer(const CXmlMessage& request, LinkSettings& settings) const
{
    // The settings first: a client that switches request trees off means this reply too.
    const bool command = request.getServiceType() == CXmlMessage::eSERVICE_COMMAND;
    CXmlMessage answers;
    for (int i = 0; i < request.getNumberOfFragments(); ++i) {
        CMsgFragment fragment;
        answerFragment(request.getFragment(i), command, fragment, settings);
        answers.addFragment(fragment);
    }
    CXmlMessage reply = XmlCommunication::makeReply(request, settings.suppressRequestTrees);
    for (int i = 0; i < answers.getNumberOfFragments(); ++i) {
        reply.getFragment(i).setDataTree(answers.getFragment(i).getDataTree());
        reply.getFragment(i).setFaultTree(answers.getFragment(i).getFaultTree());
    }
    return reply;
}

void RequestHandler::answerFragment(const CMsgFragment& request, bool command, CMsgFragment& reply,
                                    LinkSettings& settings) const
{
    const QString& component = request.getComponentName();
    const QString operation = request.getRequestTree().getDataTree().getRootTagname().toString();
    const bool isCommand = isLinkCommand(request) || Kolta::StartStopDatastreamRecording::isCommand(request);
    if (isCommand && !command)
        reply.setFaultTree(makeFault(eFaultWrongKind, {component, operation}));
    else if (isCommand && !isLinkCommand(request) && !m_rights.allow(settings.user, component))
        reply.setFaultTree(makeFault(
            eFaultNoRight, {settings.user, Kolta::UserRights::GetRightNameByValue(
                                               rightFor(CommandRights::actionFor(component)), true)}));
    else if (isCommand ? execute(request, reply, settings) : answerQuery(request, reply)) {
        if (command && !isCommand)
            reply = faultFragment(eFaultWrongKind, {component, operation});
    } else if (!knownComponents().contains(component))
        reply.setFaultTree(makeFault(eFaultUnknownComponent, {component}));
    else if (!request.hasRequestTree())
        reply.setFaultTree(makeFault(eFaultNoOperation, {component}));
    else
        reply.setFaultTree(makeFault(eFaultUnknownOperation, {component, operation}));
}

/// Does what a command asks for, or says in a fault what is wrong with it.
bool RequestHandler::execute(const CMsgFragment& request, CMsgFragment& reply, LinkSettings& settings) const
{
    const CDataTree& tree = request.getRequestTree().getDataTree();
    if (XmlCommunication::CRequestTreeConverter::isCommand(request)) {
        const QString value = tree.root().text();
        if (value == QLatin1String("true") || value == QLatin1String("false"))
            settings.suppressRequestTrees = value == QLatin1String("true");
        else
            reply.setFaultTree(makeFault(eFaultParameterWrong, {QStringLiteral("SetSuppression"), value}));
    } else if (XmlCommunication::CEventFilterConverter::isCommand(request)) {
        const QStringList components = XmlCommunication::CEventFilterConverter::getComponents(request);
        if (components.isEmpty() || components.contains(QString()))
            reply.setFaultTree(makeFault(eFaultParameterMissing, {QStringLiteral("Component")}));
        else
            settings.events.unite(QSet<QString>(components.begin(), components.end()));
    } else {
        const auto content = Kolta::StartStopDatastreamRecording::read(request);
        if (!content)
            reply.setFaultTree(makeFault(eFaultParameterMissing, {QStringLiteral("DataStream")}));
        else if (std::any_of(content->recordings.begin(), content->recordings.end(),
                             [](const auto& recording) { return !Kolta::isGuid(recording.producer); }))
            reply.setFaultTree(makeFault(eFaultParameterMissing, {QStringLiteral("producer")}));
    }
    return true;
}

/// False when this is no query that is known.
bool RequestHandler::answerQuery(const CMsgFragment& request, CMsgFragment& reply) const
{
    const QString& component = request.getComponentName();
    const CDataTree& tree = request.getRequestTree().getDataTree();
    if (XmlCommunication::CAppDescription::isQuery(request)) {
        XmlCommunication::CAppDescription::fillReply(reply, m_installation.application());
    } else if (ResourceConverter::CQueryFaultReference::isQuery(request)) {
        ResourceConverter::CQueryFaultReference::fillReply(reply, m_installation.faults());
    } else if (ResourceConverter::CResourceDemandClasses::isQuery(request)) {
        const auto answer = demandClassAnswer(m_installation.demandClasses());
        ResourceConverter::CResourceDemandClasses::fillReply(reply, answer);
    } else if (component == kResourcesComponent && tree.root().hasName("Resource")) {
        answerResource(tree, reply);
    } else if (component == kStatisticsComponent && tree.root().hasName("Statistics")) {
        answerStatistics(reply);
    } else {
        return false;
    }
    return true;
}

void RequestHandler::answerResource(const CDataTree& query, CMsgFragment& reply) const
{
    const QString guid = query.root().childText("GUID");
    if (guid.isEmpty()) {
        reply.setFaultTree(makeFault(eFaultParameterMissing, {QStringLiteral("GUID")}));
        return;
    }
    const QString record = m_resources.recordXml(guid);
    if (record.isEmpty()) {
        reply.setFaultTree(noSuchResource(guid, m_installation.serverName()));
        return;
    }
    QString error;
    const CDataTree data = CDataTree::fromXml(record.toUtf8(), &error);
    if (data.isEmpty())
        reply.setFaultTree(makeFault(eFaultAdministration, {error}));
    else
        reply.setDataTree(data);
}

void RequestHandler::answerStatistics(CMsgFragment& reply) const
{
    CDataTree data(QLatin1String("Statistics"));
    XmlCommon::CElement root = data.editRoot();
    for (const auto& counter : kCounters)
        root.append(counter.name, QString::number(m_statistics.*counter.member));
    reply.setDataTree(data);
}

CMsgFragment makeResourceQuery(const QString& guid)
{
    CDataTree tree(QLatin1String("Resource"));
    tree.editRoot().append("GUID", guid);
    return makeQuery(kResourcesComponent, tree);
}

CMsgFragment makeStatisticsQuery()
{
    return makeQuery(kStatisticsComponent, CDataTree(QLatin1String("Statistics")));
}

bool readStatistics(const CMsgFragment& fragment, ServerStatistics& statistics)
{
    const XmlCommon::CConstElement root = fragment.getDataTree().root();
    if (fragment.getComponentName() != kStatisticsComponent || !root.hasName("Statistics"))
        return false;
    for (const auto& counter : kCounters)
        statistics.*counter.member = root.child(counter.name).textToUInt();
    return true;
}

} // namespace KoltaSimulation
