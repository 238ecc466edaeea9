#include <simulation/administration.h>

#include <simulation/installation.h>
#include <simulation/resourcestate.h>

#include <koltacommon/powercontrolcmd.h>
#include <resourcemodel/requests.h>
#include <startup/tracesource.h>

#include <QTimer>

#include <optional>

namespace KoltaSimulation {

using RESOURCEMANAGEMENT::ResourceOverview;

namespace {

enum eTracePoint : int { eNoRecord = 61, eNoPowerCommand = 418 };
constexpr Startup::TraceSource kTrace("simulation/administration", Startup::eTraceWarning);

/// Reads a record that a client wrote into a request node. False, with a trace line, when it is none.
template<class Record>
bool readRecord(const QString& text, Record& record)
{
    try {
        return record.SetXmlString(text, true);
    } catch (const REPORTGENERATOR::RGException& failure) {
        kTrace(
            eNoRecord,
            QStringLiteral("A request node holds no %1: %2").arg(record.GetObjectName(), failure.GetText()));
        return false;
    }
}

} // namespace

Administration::Administration(const Installation& installation, ResourceState& resources,
                               MisbehaviourPlan& plan)
    : m_installation(installation)
    , m_resources(resources)
    , m_nodes(installation, [this](const Wish& wish) { obey(wish); })
    , m_productions(installation, resources, plan, m_nodes)
    , m_shortTime(installation)
    , m_startupStep(installation.startupStep())
{
    connect(&m_startup, &StartupSequence::advanced, this, &Administration::followStartup);
    connect(&m_productions, &ProductionHost::resourcesChanged, this, &Administration::resourcesChanged);
    // Also when the same happens twice: who asked waits for the word.
    connect(&m_productions, &ProductionHost::noticed, this,
            [this](const QString& text) { m_nodes.sayText(ServerNodes::name(ServerNodes::eStatus), text); });
    connect(&m_productions, &ProductionHost::processorsStopped, this, [this](const QVector<QUuid>& guids) {
        if (m_owners.remove(guids))
            showOwners();
    });
}

void Administration::publish(values::Tree& tree)
{
    withdraw();
    m_tree = &tree;
    appear();
}

void Administration::withdraw()
{
    disappear();
    m_tree = nullptr;
}

void Administration::disappear()
{
    ++m_life;
    m_startup.cancel();
    m_productions.end();
    m_owners.clear();
    m_nodes.withdraw();
    // Unless somebody who was told of that made the server appear again.
    if (!m_nodes.isPublished())
        m_shortTime.withdraw();
}

void Administration::appear()
{
    if (!m_tree || m_nodes.isPublished())
        return;
    const int life = m_life;
    m_shortTime.publish(*m_tree);
    // Whoever was told may have made the server disappear, or appear before this call does.
    if (life != m_life || m_nodes.isPublished())
        return;
    m_productions.begin();
    m_startup.begin(startupStates(), m_startupStep);
    m_productions.setRefusal(m_startup.isRunning()
                                 ? QStringLiteral("%1 is starting").arg(m_installation.serverName())
                                 : QString());
    m_nodes.publish(*m_tree, texts(), m_startup.state());
}

QVector<NodeText> Administration::texts() const
{
    const bool running = m_startup.isRunning();
    QVector<NodeText> texts = m_productions.texts();
    texts.append({ServerNodes::name(ServerNodes::eResources), m_resources.overview().GetXmlString()});
    texts.append({ServerNodes::name(ServerNodes::eOwners), m_owners.overview().GetXmlString()});
    texts.append({ServerNodes::name(ServerNodes::eStartupErrors), running ? QString() : startupErrors()});
    texts.append({ServerNodes::name(ServerNodes::eStartupProgress), QString::number(m_startup.progress())});
    texts.append({ServerNodes::name(ServerNodes::eInternalState),
                  running ? QStringLiteral("starting") : QStringLiteral("running")});
    texts.append({ServerNodes::name(ServerNodes::eStatus), stateName(m_startup.state())});
    return texts;
}

/// What the server finds missing as it comes up, a line each.
QString Administration::startupErrors() const
{
    if (!m_installation.isTellingErrors())
        return QString();
    QStringList errors;
    for (const auto& tuner : m_resources.overview().GetTuner()) {
        if (!tuner.GetAccessible())
            errors.append(
                QStringLiteral("Tuner %1 is not accessible").arg(tuner.GetTavikResource().GetName()));
    }
    for (const auto& unit : m_resources.overview().GetProcessingUnit()) {
        if (!isRegistered(unit))
            errors.append(QStringLiteral("Processing unit %1 is not registered")
                              .arg(unit.GetTavikResource().GetName()));
    }
    return errors.join(QLatin1Char('\n'));
}

/// Every state up to the one in which the server is up; 0 is for clients that see no server.
QVector<int> Administration::startupStates() const
{
    QVector<int> states;
    for (const int state : m_installation.workingStates().keys()) {
        if (state > 0 && state < m_installation.initialWorkingState())
            states.append(state);
    }
    states.append(m_installation.initialWorkingState());
    return states;
}

QString Administration::stateName(int state) const
{
    return m_installation.workingStates().value(state);
}

void Administration::followStartup()
{
    const bool running = m_startup.isRunning();
    if (!running)
        m_productions.setRefusal(QString());
    m_nodes.setText(ServerNodes::name(ServerNodes::eStartupProgress), QString::number(m_startup.progress()));
    if (!running) {
        m_nodes.setText(ServerNodes::name(ServerNodes::eStartupErrors), startupErrors());
        m_nodes.setText(ServerNodes::name(ServerNodes::eInternalState), QStringLiteral("running"));
    }
    setStatus(stateName(m_startup.state()));
    m_nodes.setWorkingState(m_startup.state());
}

void Administration::setWorkingState(int state)
{
    if (m_startup.isRunning()) {
        m_startup.cancel();
        m_productions.setRefusal(QString());
        m_nodes.setText(ServerNodes::name(ServerNodes::eInternalState), QStringLiteral("running"));
    }
    m_nodes.setWorkingState(state);
}

void Administration::showResources()
{
    m_nodes.setText(ServerNodes::name(ServerNodes::eResources), m_resources.overview().GetXmlString());
}

void Administration::obey(const Wish& wish)
{
    switch (wish.node) {
    case ServerNodes::eChangedTuners:
        changeTuners(wish.text);
        break;
    case ServerNodes::eChangedPUs:
        changeProcessingUnits(wish.text);
        break;
    case ServerNodes::eChangedSUs:
        changeStorageUnits(wish.text);
        break;
    case ServerNodes::eUnitPowerControl:
        switchPower(wish.text);
        break;
    case ServerNodes::eOwnerRequest:
        changeOwner(wish.text);
        break;
    case ServerNodes::eRequestsNode:
        m_productions.request(wish.name, wish.text);
        break;
    case ServerNodes::eStopResource:
        m_productions.stop(wish.text);
        break;
    case ServerNodes::eStopAll:
        m_productions.stopAll();
        break;
    case ServerNodes::eReset:
    case ServerNodes::eQuit:
        shutDownLater(wish.node == ServerNodes::eReset);
        break;
    default: // nothing is heard of the others
        break;
    }
}

void Administration::changeTuners(const QString& text)
{
    // Both records come through the same node; only the root element tells them apart.
    if (text.contains(QLatin1String("<TunerManagementRequest"))) {
        RESOURCEMANAGEMENT::TunerManagementRequest request;
        if (readRecord(text, request) && m_resources.replaceTuners(request.GetTuner()))
            Q_EMIT resourcesChanged();
        return;
    }
    ResourceOverview overview;
    if (readRecord(text, overview) && m_resources.replaceTuners(overview.GetTuner()))
        Q_EMIT resourcesChanged();
}

void Administration::changeProcessingUnits(const QString& text)
{
    ResourceOverview overview;
    if (!readRecord(text, overview) || !m_resources.replaceProcessingUnits(overview.GetProcessingUnit()))
        return;
    m_productions.stopLost();
    Q_EMIT resourcesChanged();
}

void Administration::changeStorageUnits(const QString& text)
{
    ResourceOverview overview;
    if (readRecord(text, overview) && m_resources.replaceStorageUnits(overview.GetStorageUnit()))
        Q_EMIT resourcesChanged();
}

void Administration::switchPower(const QString& text)
{
    // The scope tells a real server which supply to switch; here a unit has one supply only.
    const std::optional<Kolta::PowerControlCmd> command = Kolta::PowerControlCmd::fromString(text);
    if (!command) {
        kTrace(eNoPowerCommand,
               QStringLiteral("Found \"%1\" in UnitPowerControl, expected SCOPE@ON@GUIDS").arg(text));
    } else if (m_resources.switchUnits(command->units(), command->isOn())) {
        m_productions.stopLost();
        Q_EMIT resourcesChanged();
    }
}

void Administration::changeOwner(const QString& text)
{
    RESOURCEMANAGEMENT::OwnerRequest request;
    if (!readRecord(text, request))
        return;
    const QString problem = m_owners.obey(request, m_productions.runs(OwnerList::ownedBy(request)));
    if (problem.isEmpty())
        showOwners();
    else
        setStatus(QStringLiteral("Ownership refused: %1").arg(problem));
}

void Administration::showOwners()
{
    m_nodes.setText(ServerNodes::name(ServerNodes::eOwners), m_owners.overview().GetXmlString());
}

/// Not at once: who wrote the wish has not returned yet.
void Administration::shutDownLater(bool returns)
{
    QTimer::singleShot(0, this, [this, returns, life = m_life] {
        if (life == m_life)
            shutDown(returns);
    });
}

void Administration::shutDown(bool returns)
{
    const int life = m_life;
    m_startup.cancel();
    m_nodes.setText(ServerNodes::name(ServerNodes::eInternalState), QStringLiteral("stopping"));
    const int closing = m_installation.closingWorkingState();
    if (life == m_life && closing >= 0) {
        setStatus(stateName(closing));
        m_nodes.setWorkingState(closing);
    }
    if (life == m_life) {
        m_productions.setRefusal(QStringLiteral("%1 is shutting down").arg(m_installation.serverName()));
        m_productions.stopAll();
        m_productions.settle();
    }
    if (life == m_life)
        Q_EMIT ended(returns);
}

} // namespace KoltaSimulation
