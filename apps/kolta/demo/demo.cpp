#include "demo.h"

#include <kolta/application/embeddedinstallation.h>
#include <kolta/application/resourcewatch.h>
#include <kolta/cli/commandline.h>
#include <kolta/cli/output.h>
#include <kolta/commands/commands.h>

#include <koltacommon/faultmessagehandler.h>
#include <koltacommon/koltaconnection.h>
#include <xmlmessaging/converters.h>

namespace KoltaCli {

using Kolta::KoltaConnection;

Demo::Demo(const KoltaSimulation::Installation& installation, bool json, int timeoutMs)
    : m_report(json)
    , m_timeoutMs(timeoutMs)
    , m_server(installation)
    , m_productions(m_report, m_server, timeoutMs)
{
}

Demo::~Demo() = default;

int Demo::run()
{
    using Step = bool (Demo::*)();
    // One line each.
    static constexpr Step steps[] = {
        &Demo::startServer,        //
        &Demo::connectAndDescribe, //
        &Demo::loadFaultTexts,     //
        &Demo::mirrorResources,    //
        &Demo::followChanges,      //
        &Demo::askInVain,          //
        &Demo::surviveLostLink,    //
        &Demo::allocateTuners,     //
        &Demo::bringUpServer,      //
        &Demo::startProduction,    //
        &Demo::refuseProduction,   //
        &Demo::moveFfp,            //
        &Demo::endOneMcp,          //
        &Demo::surviveServer,      //
        &Demo::stopProductions,    //
        &Demo::shareShortTime,     //
    };
    for (const Step step : steps) {
        if (!(this->*step)())
            break;
    }
    return summarise() ? eExitOk : eExitFailed;
}

bool Demo::startServer()
{
    m_report.beginStep(QStringLiteral("A server of the installation comes up"));
    const bool listens = m_server.listen();
    if (m_report.check(listens, QStringLiteral("the server listens: ") + m_server.errorString())) {
        m_server.publish();
        m_report.say(
            QStringLiteral("%1, a simulated server, listens on %2 and publishes its overviews below %3")
                .arg(m_server.installation().serverName(), m_server.hostAndPort(),
                     m_server.installation().basePath()));
        m_report.set(QStringLiteral("address"), m_server.hostAndPort());
    }
    return m_report.endStep();
}

bool Demo::connectAndDescribe()
{
    m_report.beginStep(QStringLiteral("The application connects and asks the server who it is"));
    Endpoint endpoint;
    endpoint.address = m_server.address();
    endpoint.port = m_server.port();
    m_session = std::make_unique<Session>(endpoint);
    m_tracker = std::make_unique<RequestTracker>(m_session->connection());

    const bool opened = m_session->open(m_timeoutMs);
    if (m_report.check(opened, QStringLiteral("the link comes up: ") + m_session->errorText())) {
        const auto reply = ask(XmlCommunication::CAppDescription::makeFragment());
        if (reply && reply->getNumberOfFragments() > 0) {
            const XmlCommunication::CAppDescription description(reply->getFragment(0));
            m_report.check(description.isCompatible(),
                           QStringLiteral("the reply is an application description"));
            m_report.say(QStringLiteral("%1, version %2, build %3, interface %4")
                             .arg(description.getAppName(), description.getVersion(), description.getBuild(),
                                  description.getInterface()));
            m_report.set(QStringLiteral("application"), description.getAppName());
        }
    }
    return m_report.endStep();
}

bool Demo::loadFaultTexts()
{
    m_report.beginStep(QStringLiteral("The application loads the texts of faults from the server"));
    QString path;
    const auto handler = KoltaConnection::getStaticFaultMessageHandler();
    connect(handler.get(), &Kolta::FaultMessageHandler::si_faultReferenceFile, this,
            [&path](const QString& file) { path = file; });
    m_session->connection().initMessageHandler(this, SLOT(faultTextsArrived()));
    m_session->waitFor([this] { return m_faultTextsArrived; }, m_timeoutMs);
    handler->disconnect(this);
    m_report.check(m_faultTextsArrived, QStringLiteral("the server answers with its fault reference"));
    if (m_report.check(handler->Init(m_session->connection().getName()),
                       QStringLiteral("the fault texts are loaded"))) {
        const int count = m_server.installation().faults().size();
        m_report.say(
            QStringLiteral("%1 texts, kept in %2 for as long as this demo runs").arg(count).arg(path));
        m_report.set(QStringLiteral("texts"), count);
    }
    return m_report.endStep();
}

bool Demo::mirrorResources()
{
    m_report.beginStep(QStringLiteral("The application mirrors the server's resources"));
    m_resources = std::make_unique<Kolta::KoltaResourceObserver>();
    const QString path = m_server.nodePath(QStringLiteral("Resources"));
    m_report.check(m_resources->init(path), QStringLiteral("there is an overview at ") + path);
    const auto& overview = m_resources->GetCurrentResources();
    m_report.check(overview == m_server.resources(),
                   QStringLiteral("the mirror equals the server's overview"));
    m_report.show(resourceTables(overview));
    m_report.set(QStringLiteral("tuners"), overview.GetTuner().size());
    return m_report.endStep();
}

XmlCommon::ptrCXmlMessage Demo::ask(const XmlCommon::CMsgFragment& query)
{
    const int number = m_tracker->submit(makeMessage(XmlCommon::CXmlMessage::eSERVICE_QUERY, query));
    m_session->waitFor([this, number] { return bool(m_tracker->reply(number)); }, m_timeoutMs);
    const XmlCommon::ptrCXmlMessage reply = m_tracker->reply(number);
    m_report.check(bool(reply), QStringLiteral("the server answers in time"));
    return reply;
}

bool Demo::summarise()
{
    m_report.beginStep(QStringLiteral("Summary"));
    for (const QString& title : m_report.failedSteps())
        m_report.check(false, title);
    if (!m_tracker)
        return m_report.endStep();
    const RequestTracker& books = *m_tracker;
    const QVector<QPair<QString, int>> figures{{QStringLiteral("requests"), books.requests()},
                                               {QStringLiteral("replies"), books.replies()},
                                               {QStringLiteral("faults"), books.faults()},
                                               {QStringLiteral("reconnects"), m_session->reconnects()},
                                               {QStringLiteral("lost"), books.lost()},
                                               {QStringLiteral("duplicated"), books.duplicated()}};
    QStringList header;
    QStringList cells;
    for (const auto& figure : figures) {
        header.append(figure.first.toUpper());
        cells.append(QString::number(figure.second));
        m_report.set(figure.first, figure.second);
    }
    Table table(header);
    for (int column = 0; column < header.size(); ++column)
        table.alignRight(column);
    table.addRow(cells);
    m_report.show(table.toText());
    m_report.check(books.lost() == 0, QStringLiteral("no request is lost"));
    m_report.check(books.duplicated() == 0, QStringLiteral("no request is answered twice"));
    if (m_report.allWell())
        m_report.say(QStringLiteral("Every request was answered once, and in order."));
    return m_report.endStep();
}

int runDemo(const QStringList& arguments)
{
    CommandLine line(
        QStringLiteral("demo"),
        QStringLiteral("Runs the main job against a simulated server inside this process, step by step. "
                       "Neither needs nor changes any configuration."));
    line.addOption({QStringLiteral("installation"),
                    QStringLiteral("Folder with the installation's files (the sample installation)."),
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
    const EmbeddedInstallation::Withdrawal withdrawal;
    return Demo(installation, line.json(), *timeout).run();
}

} // namespace KoltaCli
