#include "demo.h"

#include "commandline.h"
#include "commands.h"
#include "output.h"
#include "resourcewatch.h"

#include <koltacommon/faultmessagehandler.h>
#include <koltacommon/koltaconnection.h>
#include <simulation/requesthandler.h>
#include <simulation/resourcegenerator.h>
#include <startup/cfgcenter.h>
#include <xmlmessaging/converters.h>

#include <QJsonArray>
#include <QUuid>

namespace KoltaCli {

using Kolta::KoltaConnection;
using XmlCommon::CXmlMessage;

namespace {

constexpr int requestsOverLostLink = 5;

} // namespace

Demo::Demo(const KoltaSimulation::Installation& installation, bool json, int timeoutMs)
    : m_report(json), m_timeoutMs(timeoutMs), m_server(installation)
{
}

Demo::~Demo() = default;

int Demo::run()
{
    using Step = bool (Demo::*)();
    static constexpr Step steps[] = {&Demo::startServer,   &Demo::connectAndDescribe, &Demo::loadFaultTexts,
                                     &Demo::mirrorResources, &Demo::followChanges,    &Demo::askInVain,
                                     &Demo::surviveLostLink};
    for (const Step step : steps) {
        if (!(this->*step)())
            break;
    }
    return summarise() ? eExitOk : eExitFailed;
}

bool Demo::startServer()
{
    m_report.beginStep(QStringLiteral("A server of the installation comes up"));
    Startup::CfgCenter::Instance().Open(m_folder.filePath(QStringLiteral("kolta.ini")));
    Startup::AdministratorConfiguration::Instance().SetValue(QStringLiteral("TavikDataDir"), m_folder.path());
    const bool listens = m_server.listen();
    if (m_report.check(listens, QStringLiteral("the server listens: ") + m_server.errorString())) {
        m_server.publish();
        m_report.say(QStringLiteral("%1 listens on %2 and publishes its overviews below %3")
                         .arg(m_server.installation().serverName(), m_server.hostAndPort(),
                              m_server.installation().basePath()));
        m_report.set(QStringLiteral("address"), m_server.hostAndPort());
    }
    return m_report.endStep();
}

bool Demo::connectAndDescribe()
{
    m_report.beginStep(QStringLiteral("The application connects and asks who is there"));
    Endpoint endpoint;
    endpoint.address = m_server.address();
    endpoint.port = m_server.port();
    m_session = std::make_unique<Session>(endpoint);
    KoltaConnection& connection = m_session->connection();
    m_tracker = std::make_unique<RequestTracker>(connection);
    connect(&connection, &KoltaConnection::ConnectionOpened, this, [this] { ++m_openings; });
    connect(&connection, &KoltaConnection::ConnectionError, this, [this] { ++m_socketErrors; });

    const bool opened = m_session->open(m_timeoutMs);
    if (m_report.check(opened, QStringLiteral("the link comes up: ") + m_session->errorText())) {
        const auto reply = ask(XmlCommunication::CAppDescription::makeFragment());
        if (reply && reply->getNumberOfFragments() > 0) {
            const XmlCommunication::CAppDescription description(reply->getFragment(0));
            m_report.check(description.isCompatible(), QStringLiteral("the reply is an application description"));
            m_report.say(QStringLiteral("%1, version %2 (build %3, interface %4)")
                             .arg(description.getAppName(), description.getVersion(), description.getBuild(),
                                  description.getInterface()));
            m_report.set(QStringLiteral("application"), description.getAppName());
        }
    }
    return m_report.endStep();
}

bool Demo::loadFaultTexts()
{
    m_report.beginStep(QStringLiteral("It loads the fault texts from the server"));
    QString path;
    const auto handler = KoltaConnection::getStaticFaultMessageHandler();
    connect(handler.get(), &Kolta::FaultMessageHandler::si_faultReferenceFile, this,
            [&path](const QString& file) { path = file; });
    m_session->connection().initMessageHandler(this, SLOT(faultTextsArrived()));
    m_session->waitFor([this] { return m_faultTextsArrived; }, m_timeoutMs);
    handler->disconnect(this);
    m_report.check(m_faultTextsArrived, QStringLiteral("the server answers with its fault reference"));
    m_report.check(handler->Init(m_session->connection().getName()), QStringLiteral("the fault texts are loaded"));
    m_report.say(QStringLiteral("%1 texts, kept in %2").arg(m_server.installation().faults().size()).arg(path));
    return m_report.endStep();
}

bool Demo::mirrorResources()
{
    m_report.beginStep(QStringLiteral("It mirrors the server's resources"));
    m_resources = std::make_unique<Kolta::KoltaResourceObserver>();
    const QString path = m_server.nodePath(QStringLiteral("Resources"));
    m_report.check(m_resources->init(path), QStringLiteral("there is an overview at ") + path);
    const auto& overview = m_resources->GetCurrentResources();
    m_report.check(overview == m_server.resources(), QStringLiteral("the mirror equals the server's overview"));
    m_report.show(resourceTables(overview));
    m_report.set(QStringLiteral("tuners"), overview.GetTuner().size());
    return m_report.endStep();
}

/// One tuner becomes busy and free again, one is lost and found, one appears and vanishes.
void Demo::changeResources()
{
    const QString first = m_server.resources().GetTuner().constFirst().GetTavikResource().GetGUID();
    const QString last = m_server.resources().GetTuner().constLast().GetTavikResource().GetGUID();
    const auto visitor = KoltaSimulation::makeTuner(m_server.resources().GetTuner().size(), 1);
    m_server.setTunerIdle(first, false);
    m_server.setTunerAccessible(last, false);
    m_server.addTuner(visitor);
    m_server.removeTuner(visitor.GetTavikResource().GetGUID());
    m_server.setTunerAccessible(last, true);
    m_server.setTunerIdle(first, true);
}

bool Demo::followChanges()
{
    m_report.beginStep(QStringLiteral("It hears what changes"));
    constexpr int expected = 6;
    QStringList changes;
    ResourceWatch watch(*m_resources);
    connect(&watch, &ResourceWatch::changed, this, [this, &changes](const QString& text) {
        changes.append(text);
        m_report.say(text);
    });
    changeResources();
    m_report.set(QStringLiteral("changes"), QJsonArray::fromStringList(changes));
    m_report.check(changes.size() == expected,
                   QStringLiteral("%1 changes are announced, not %2").arg(expected).arg(changes.size()));
    m_report.check(m_resources->GetCurrentResources() == m_server.resources(),
                   QStringLiteral("the mirror equals the server's overview"));
    return m_report.endStep();
}

XmlCommon::ptrCXmlMessage Demo::ask(const XmlCommon::CMsgFragment& query)
{
    const int number = m_tracker->submit(makeMessage(CXmlMessage::eSERVICE_QUERY, query));
    m_session->waitFor([this, number] { return bool(m_tracker->reply(number)); }, m_timeoutMs);
    const XmlCommon::ptrCXmlMessage reply = m_tracker->reply(number);
    m_report.check(bool(reply), QStringLiteral("the server answers in time"));
    return reply;
}

bool Demo::askInVain()
{
    m_report.beginStep(QStringLiteral("It asks for a resource that does not exist"));
    const auto reply = ask(KoltaSimulation::makeResourceQuery(QUuid::createUuid().toString()));
    int links = 0;
    if (reply) {
        const QString text = KoltaConnection::getFaultText(reply);
        for (const QString& piece : text.split(QStringLiteral("; "))) {
            links += piece == QLatin1String("Caused by:") ? 1 : 0;
            m_report.say(piece);
        }
        m_report.set(QStringLiteral("fault"), text);
    }
    m_report.check(links == 3, QStringLiteral("the fault comes with a chain of three causes"));
    return m_report.endStep();
}

/// The server leaves the first request unanswered; with the others waiting behind it the link is cut.
void Demo::queueRequestsAndCutLink(int count)
{
    KoltaSimulation::MisbehaviourRule silence;
    silence.kind = KoltaSimulation::Misbehaviour::Silent;
    m_server.addMisbehaviour(silence);
    const quint64 before = m_server.statistics().requests;
    const auto& tuners = m_resources->GetCurrentResources().GetTuner();
    for (int i = 0; i < count; ++i) {
        const QString guid = tuners.at(i % tuners.size()).GetTavikResource().GetGUID();
        m_tracker->submit(makeMessage(CXmlMessage::eSERVICE_QUERY, KoltaSimulation::makeResourceQuery(guid)));
    }
    m_session->waitFor([&] { return m_server.statistics().requests > before; }, m_timeoutMs);
    m_server.clearMisbehaviour();
    m_server.cutLinks();
}

bool Demo::surviveLostLink()
{
    m_report.beginStep(QStringLiteral("The link breaks with requests in the queue"));
    const int openings = m_openings;
    const int socketErrors = m_socketErrors;
    const int first = m_tracker->requests();
    const auto log = connect(m_tracker.get(), &RequestTracker::answered, this, [this, first](int number) {
        m_report.say(QStringLiteral("request %1 is answered").arg(number - first + 1));
    });
    const auto reopened = connect(&m_session->connection(), &KoltaConnection::ConnectionOpened, this, [this] {
        m_report.say(QStringLiteral("the link is up again; what was unanswered is sent again"));
    });
    const auto failed = connect(&m_session->connection(), &KoltaConnection::ConnectionError, this,
                                [this](const QString& error) { m_report.say(QStringLiteral("link lost: ") + error); });
    queueRequestsAndCutLink(requestsOverLostLink);
    m_session->waitFor([this] { return m_tracker->allAnswered(); }, m_timeoutMs);
    for (const auto& connection : {log, reopened, failed})
        disconnect(connection);

    m_report.check(m_socketErrors > socketErrors, QStringLiteral("the loss is reported"));
    m_report.check(m_openings == openings + 1, QStringLiteral("the link is opened again once"));
    m_report.check(m_tracker->allAnswered(), QStringLiteral("every request is answered"));
    m_report.check(m_tracker->inOrder(), QStringLiteral("the answers come in the order of the requests"));
    return m_report.endStep();
}

bool Demo::summarise()
{
    m_report.beginStep(QStringLiteral("Summary"));
    m_report.check(m_report.allWell(), QStringLiteral("all steps before went as they must"));
    if (!m_tracker)
        return m_report.endStep();
    const RequestTracker& books = *m_tracker;
    const int reconnects = qMax(0, m_openings - 1);
    m_report.check(books.lost() == 0, QStringLiteral("no request is lost"));
    m_report.check(books.duplicated() == 0, QStringLiteral("no request is answered twice"));
    Table table({QStringLiteral("REQUESTS"), QStringLiteral("REPLIES"), QStringLiteral("FAULTS"),
                 QStringLiteral("RECONNECTS"), QStringLiteral("LOST"), QStringLiteral("DUPLICATED")});
    const QVector<int> figures{books.requests(), books.replies(), books.faults(),
                               reconnects,       books.lost(),    books.duplicated()};
    QStringList cells;
    for (int column = 0; column < figures.size(); ++column) {
        table.alignRight(column);
        cells.append(QString::number(figures[column]));
    }
    table.addRow(cells);
    m_report.show(table.toText());
    const char* const names[] = {"requests", "replies", "faults", "reconnects", "lost", "duplicated"};
    for (int i = 0; i < figures.size(); ++i)
        m_report.set(QLatin1String(names[i]), figures[i]);
    return m_report.endStep();
}

int runDemo(const QStringList& arguments)
{
    CommandLine line(QStringLiteral("demo"),
                     QStringLiteral("Runs the main job against a simulated installation inside this process."));
    line.addOption({QStringLiteral("installation"), QStringLiteral("Folder with the installation's files."),
                    QStringLiteral("folder"), KoltaSimulation::Installation::sampleFolder()});
    if (const auto exitCode = line.parse(arguments))
        return *exitCode;
    const auto timeout = line.timeoutMs();
    if (!timeout)
        return eExitUsage;
    KoltaSimulation::Installation installation;
    QString error;
    if (!installation.load(line.value(QStringLiteral("installation")), error)) {
        printError(error);
        return eExitFailed;
    }
    return Demo(installation, line.json(), *timeout).run();
}

} // namespace KoltaCli
