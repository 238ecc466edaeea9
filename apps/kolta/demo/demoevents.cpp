#include "demo.h"

#include <kolta/application/resourcewatch.h>
#include <kolta/cli/output.h>

#include <koltacommon/koltaconnection.h>
#include <simulation/requesthandler.h>
#include <simulation/resourcegenerator.h>

#include <QJsonArray>
#include <QUuid>

// The steps of the demo in which something happens at the server: changes, a fault, the loss of the link.

namespace KoltaCli {

using Kolta::KoltaConnection;
using RESOURCEMANAGEMENT::Tuner;
using XmlCommon::CXmlMessage;

namespace {

constexpr int requestsOverLostLink = 5;
/// Below the fault that tells what was asked in vain.
constexpr int causesOfUnknownResource = 3;

struct Change
{
    QString deed;
    std::function<bool()> act;
    QString heard; ///< what the application must hear
};

/// One tuner becomes busy and free again, one is lost and found, one appears and vanishes.
QVector<Change> makeChanges(KoltaSimulation::SimulatedServer& server)
{
    Tuner used;
    Tuner lost;
    const auto tuners = server.resources().GetTuner();
    for (const Tuner& tuner : tuners) {
        if (!tuner.GetAccessible())
            continue;
        if (tuner.GetIdle() && used.GetTavikResource().GetGUID().isEmpty())
            used = tuner;
        lost = tuner;
    }
    const Tuner visitor = KoltaSimulation::makeTuner(tuners.size(), 1);
    const QString usedName = used.GetTavikResource().GetDisplayName();
    const QString lostName = lost.GetTavikResource().GetDisplayName();
    const QString visitorName = visitor.GetTavikResource().GetDisplayName();
    const auto setIdle = [&server, guid = used.GetTavikResource().GetGUID()](bool idle) {
        return [&server, guid, idle] { return server.setTunerIdle(guid, idle); };
    };
    const auto setAccessible = [&server, guid = lost.GetTavikResource().GetGUID()](bool accessible) {
        return [&server, guid, accessible] { return server.setTunerAccessible(guid, accessible); };
    };
    const auto text = [](const char* pattern, const QString& name) {
        return QString::fromUtf8(pattern).arg(name);
    };
    return {
        {text("%1 is taken into use", usedName), setIdle(false), text("tuner %1 is busy", usedName)},
        {text("%1 is released", usedName), setIdle(true), text("tuner %1 is free", usedName)},
        {text("%1 drops off the network", lostName), setAccessible(false),
         text("tuner %1 is not accessible", lostName)},
        {text("%1 is back", lostName), setAccessible(true), text("tuner %1 is accessible", lostName)},
        {text("%1 is installed", visitorName), [&server, visitor] { return server.addTuner(visitor); },
         text("tuner %1 is new", visitorName)},
        {text("%1 is taken away", visitorName),
         [&server, guid = visitor.GetTavikResource().GetGUID()] { return server.removeTuner(guid); },
         text("tuner %1 has gone", visitorName)},
    };
}

QString times(int count)
{
    if (count == 1 || count == 2)
        return count == 1 ? QStringLiteral("once") : QStringLiteral("twice");
    return QStringLiteral("%1 times").arg(count);
}

/// The GUID that a query for a resource asks for; empty for any other request.
QString requestedResource(const CXmlMessage& message)
{
    if (message.getNumberOfFragments() == 0)
        return {};
    const auto& tree = message.getFragment(0).getRequestTree().getDataTree();
    return tree.root().hasName("Resource") ? tree.root().childText("GUID") : QString();
}

} // namespace

bool Demo::followChanges()
{
    m_report.beginStep(QStringLiteral("The application hears of everything that changes at the server"));
    QStringList heard;
    QJsonArray changes;
    ResourceWatch watch(*m_resources);
    connect(&watch, &ResourceWatch::changed, &watch, [&heard](const QString& text) { heard.append(text); });
    Table table({QStringLiteral("AT THE SERVER"), QStringLiteral("THE APPLICATION HEARS")});
    for (const Change& change : makeChanges(m_server)) {
        heard.clear();
        m_report.check(change.act(), QStringLiteral("the server's state changes: ") + change.deed);
        const QString all = heard.join(QStringLiteral(", "));
        table.addRow({change.deed, all});
        changes.append(all);
        m_report.check(heard == QStringList(change.heard),
                       QStringLiteral("the application hears \"%1\", not \"%2\"").arg(change.heard, all));
    }
    m_report.show(table.toText());
    m_report.set(QStringLiteral("changes"), changes);
    m_report.check(m_resources->GetCurrentResources() == m_server.resources(),
                   QStringLiteral("the mirror equals the server's overview"));
    return m_report.endStep();
}

bool Demo::askInVain()
{
    m_report.beginStep(QStringLiteral(
        "The application asks for a resource that does not exist and gets a fault with its causes"));
    const auto reply = ask(KoltaSimulation::makeResourceQuery(QUuid::createUuid().toString()));
    if (reply) {
        const QString text = KoltaConnection::getFaultText(reply);
        const QStringList faults = text.split(QStringLiteral("; Caused by:; "));
        m_report.say(faults.constFirst());
        for (const QString& cause : faults.mid(1))
            m_report.say(QStringLiteral("caused by: ") + cause);
        m_report.set(QStringLiteral("fault"), text);
        m_report.check(
            faults.size() == 1 + causesOfUnknownResource,
            QStringLiteral("the fault comes with a chain of %1 causes").arg(causesOfUnknownResource));
        m_report.check(!text.contains(QLatin1String("unknown Fault ID")),
                       QStringLiteral("every fault has a text"));
    }
    return m_report.endStep();
}

/// Tells what the application sees of the link for as long as `scope` lives.
void Demo::tellLinkLoss(QObject& scope)
{
    KoltaConnection& connection = m_session->connection();
    connect(&connection, &KoltaConnection::ConnectionError, &scope, [this](const QString& error) {
        m_report.say(QStringLiteral("the link is lost: %1; the application keeps its queue").arg(error));
        m_report.set(QStringLiteral("error"), error);
    });
    connect(&connection, &KoltaConnection::ConnectionOpened, &scope, [this] {
        m_report.say(QStringLiteral("the link is up again; request 1 goes out once more, the others follow"));
    });
}

/// The server leaves the first request unanswered; with the others waiting behind it the link is cut.
void Demo::queueRequestsAndCutLink(const QStringList& guids)
{
    KoltaSimulation::MisbehaviourRule silence;
    silence.kind = KoltaSimulation::Misbehaviour::Silent;
    m_server.addMisbehaviour(silence);
    const quint64 before = m_server.statistics().requests;
    for (const QString& guid : guids)
        m_tracker->submit(makeMessage(CXmlMessage::eSERVICE_QUERY, KoltaSimulation::makeResourceQuery(guid)));
    m_session->waitFor([&] { return m_server.statistics().requests > before; }, m_timeoutMs);
    m_report.say(QStringLiteral("request 1 has reached the server and is not answered; %1 wait behind it")
                     .arg(guids.size() - 1));
    m_report.say(QStringLiteral("the server resets the link"));
    m_server.clearMisbehaviour();
    m_server.cutLinks();
}

/// How often each request came to the server and was answered. The one in flight comes twice, the others
/// once.
void Demo::tellDeliveries(const QStringList& guids, int firstRequest, const QHash<QString, int>& seen)
{
    Table table({QStringLiteral("REQUEST"), QStringLiteral("ASKS FOR"), QStringLiteral("RECEIVED BY SERVER"),
                 QStringLiteral("REPLIES")});
    table.alignRight(2);
    table.alignRight(3);
    QJsonArray deliveries;
    for (int i = 0; i < guids.size(); ++i) {
        const QString number = QString::number(i + 1);
        const int received = seen.value(guids.at(i));
        const int expected = i == 0 ? 2 : 1;
        const int replies = m_tracker->replies(firstRequest + i);
        table.addRow({number, m_resources->GetDisplayNameByGUID(guids.at(i)), times(received),
                      QString::number(replies)});
        deliveries.append(received);
        m_report.check(received == expected, QStringLiteral("the server receives request %1 %2, not %3")
                                                 .arg(number, times(expected), times(received)));
        m_report.check(replies == 1, QStringLiteral("request %1 is answered once").arg(number));
    }
    m_report.show(table.toText());
    m_report.set(QStringLiteral("received"), deliveries);
}

bool Demo::surviveLostLink()
{
    m_report.beginStep(QStringLiteral("The link breaks while requests are under way"));
    QStringList guids;
    for (const Tuner& tuner : m_resources->GetCurrentResources().GetTuner().mid(0, requestsOverLostLink))
        guids.append(tuner.GetTavikResource().GetGUID());
    QHash<QString, int> seen;
    QObject scope;
    connect(&m_server, &KoltaSimulation::SimulatedServer::requestReceived, &scope,
            [&seen](const XmlCommon::ptrCXmlMessage& message) { ++seen[requestedResource(*message)]; });
    tellLinkLoss(scope);
    const int reconnects = m_session->reconnects();
    const int first = m_tracker->requests();
    queueRequestsAndCutLink(guids);
    m_session->waitFor([this] { return m_tracker->allAnswered() && m_session->reconnects() > 0; },
                       m_timeoutMs);

    m_report.check(m_session->reconnects() == reconnects + 1,
                   QStringLiteral("the link is opened again, once"));
    tellDeliveries(guids, first, seen);
    m_report.check(m_tracker->inOrder(), QStringLiteral("the replies come in the order of the requests"));
    return m_report.endStep();
}

} // namespace KoltaCli
