#include "session.h"

#include "keptsettings.h"
#include "options.h"
#include "orderdraft.h"
#include "ordersunderway.h"
#include "serverfactslist.h"
#include "shorttimememory.h"
#include "simulatedinstallation.h"
#include "tracelines.h"

#include <koltacommon/installationevents.h>
#include <koltacommon/journal.h>
#include <koltacommon/koltaconnectionsviewer.h>
#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/koltaserverregistry.h>
#include <koltacommon/processormodel.h>
#include <koltacommon/servermodel.h>
#include <koltacommon/shorttimevalues.h>
#include <koltacommon/tunerclassmodel.h>
#include <koltacommon/tunermodel.h>
#include <koltacommon/viewtime.h>

#include <simulation/installation.h>
#include <usermanagement/activeuserproxy.h>

#ifdef KOLTA_WITH_DISTRIBUTION
#include "branchmessages.h"
#include "treebranches.h"

#include <common/linkoptions.h>
#include <common/usersfile.h>

#include <distribution/replay.h>
#include <distribution/treelink.h>
#endif

#include <QFileInfo>
#include <QHash>

namespace KoltaConsole {

using Kolta::KoltaServerRegistry;
using Kolta::UserRights;

namespace {

/// Where nothing says which time zone it is, the C library asks the file system at every conversion of a
/// time, of which a page does thousands.
void nameTimeZone()
{
    if (!qEnvironmentVariableIsSet("TZ"))
        qputenv("TZ", ":/etc/localtime");
}

} // namespace

struct Session::Parts
{
    TraceLines trace;
    std::unique_ptr<SimulatedInstallation> simulation;
#ifdef KOLTA_WITH_DISTRIBUTION
    std::unique_ptr<distribution::TreeLink> link;
    std::unique_ptr<TreeBranches> branches;
#endif
    Kolta::ServerModel servers;
    Kolta::TunerModel tuners;
    Kolta::TunerClassModel classes;
    Kolta::ProcessorModel processors;
    Kolta::InstallationEvents events;
    Kolta::Journal journal;
    OrderDraft draft;
    OrdersUnderWay ordersUnderWay{events};
    ServerFactsList facts{servers, [this] { return oddBranches(); }};
    ShortTimeMemory shortTimeMemory{values::Tree::Instance()};

    /// Of the servers' branches, by name.
    QHash<QString, SeenBranch> oddBranches() const;
};

QHash<QString, SeenBranch> Session::Parts::oddBranches() const
{
#ifdef KOLTA_WITH_DISTRIBUTION
    return branches ? branches->odd() : QHash<QString, SeenBranch>();
#else
    return {};
#endif
}

Session::Session() : d(std::make_unique<Parts>())
{
    connect(&d->facts, &ServerFactsList::si_Changed, this, &Session::si_FactsChanged);
    auto& rights = UserRights::Instance();
    connect(&rights, &UserRights::si_UserChanged, this, &Session::si_UserChanged);
    connect(&rights, &UserRights::si_UserRightsChanged, this, &Session::si_UserChanged);
}

std::unique_ptr<Session> Session::start(const Options& options, QString& error)
{
    nameTimeZone();
    std::unique_ptr<Session> session(new Session);
    session->m_isReadOnly = options.isReadOnly;
    Kolta::registerShortTimeValues();
    if (options.servers > 0 ? !session->simulate(options, error) : !session->mirror(options, error))
        return nullptr;
    auto& registry = KoltaServerRegistry::Instance();
    registry.setDiscovery(true);
    Parts& parts = *session->d;
    parts.draft.setInstallation(session->m_url);
    parts.servers.followRegistry(registry);
    parts.tuners.followRegistry(registry);
    parts.classes.followRegistry(registry);
    parts.processors.followRegistry(registry);
    parts.events.followRegistry(registry);
    const bool hasFile = options.servers == 0 && !session->replay();
    session->startJournal(hasFile ? Kolta::Journal::pathFor(options.url) : QString(), options.isRemembered);
    session->tellOfUsers();
    if (options.isRemembered)
        KeptSettings::setFailureTaker([s = session.get()](const QString& file) { s->noteSettings(file); });
    parts.facts.read();
    return session;
}

Session::~Session()
{
    disconnect();
    KeptSettings::setFailureTaker({});
    auto& registry = KoltaServerRegistry::Instance();
    registry.setDiscovery(false);
    registry.removeAllServers();
    if (m_areUsersKnown)
        UserRights::Instance().InitForStandalone(QString());
    Kolta::ViewTime::setSource(nullptr);
}

bool Session::simulate(const Options& options, QString& error)
{
    d->simulation = std::make_unique<SimulatedInstallation>();
    if (!d->simulation->start(options, error))
        return false;
    m_url = tr("simulated");
    m_link = {true, true, QDateTime::currentDateTime(), tr("simulated in this process")};
    startUsers(KoltaSimulation::Installation::sampleFolder() + QStringLiteral("/users.xml"));
    return true;
}

#ifdef KOLTA_WITH_DISTRIBUTION

QString Session::problemOfTree(const QString& url)
{
    QString problem;
    return KoltaApps::linkOptions(url, problem) ? QString() : problem;
}

bool Session::mirror(const Options& options, QString& error)
{
    QString problem;
    auto link = KoltaApps::linkOptions(options.url, problem);
    if (!link) {
        error =
            options.urlSource.isEmpty() ? problem : QStringLiteral("%1: %2").arg(options.urlSource, problem);
        return false;
    }
    m_url = link->mqtt.address.ToText();
    if (const auto address = distribution::BrokerAddress::FromUrl(options.url, problem))
        m_treeUrl = address->ToUrl(); // others find the user of an access file themselves
    m_link = {false, false, QDateTime::currentDateTime(), tr("connecting")};
    d->link = std::make_unique<distribution::TreeLink>(values::Tree::Instance(), *link);
    if (replay())
        beginReplay();
    d->events.setLeaverCheck([this](const QString& server) {
        return d->oddBranches().value(server).condition == BranchCondition::Withdrawn;
    });
    d->branches = std::make_unique<TreeBranches>(*d->link, m_url);
    connect(d->link.get(), &distribution::TreeLink::si_LinkChanged, this, &Session::noteLink);
    connect(d->link.get(), &distribution::TreeLink::si_BranchChanged, &d->facts, &ServerFactsList::gather);
    connect(d->link.get(), &distribution::TreeLink::si_WishFailed, this, &Session::si_WishFailed);
    d->link->mirror(link->branches);
    startUsers(KoltaApps::usersFile());
    return true;
}

/// Events have the recording's times, and nobody is to believe that something could be done.
void Session::beginReplay()
{
    m_isReadOnly = true;
    m_url = tr("replay of %1").arg(QFileInfo(replay()->file()).fileName());
    Kolta::ViewTime::setSource([this] { return now(); });
    m_link.since = now();
    const auto tellCut = [this] {
        if (const QString cut = replay()->cut(); !cut.isEmpty())
            tell(QStringLiteral("%1: %2").arg(replay()->file(), cut), Kolta::Event::Weight::Attention);
    };
    tellCut();
    connect(replay(), &distribution::Replay::si_Cut, this, tellCut);
}

QString Session::treeUrl() const
{
    if (!replay())
        return m_treeUrl;
    distribution::ReplayAddress address;
    address.file = QFileInfo(replay()->file()).absoluteFilePath();
    if (replay()->position() > replay()->begin())
        address.from = now().toString(Qt::ISODateWithMs);
    return address.ToUrl();
}

distribution::Replay* Session::replay() const
{
    return d->link ? d->link->replay() : nullptr;
}

QDateTime Session::now() const
{
    const distribution::Replay* const played = replay();
    return played ? played->timeAt(played->position()) : QDateTime::currentDateTime();
}

#else

QString Session::treeUrl() const
{
    return QString();
}

distribution::Replay* Session::replay() const
{
    return nullptr;
}

QDateTime Session::now() const
{
    return QDateTime::currentDateTime();
}

QString Session::problemOfTree(const QString& /*url*/)
{
    return QStringLiteral("built without the distribution of value trees (KOLTA_DISTRIBUTION)");
}

bool Session::mirror(const Options& options, QString& error)
{
    error = problemOfTree(options.url);
    return false;
}

#endif

/// What simulated servers did is of no interest later, and a picture leaves no trace.
void Session::startJournal(const QString& file, bool isWritten)
{
    if (!file.isEmpty() && !(isWritten ? d->journal.open(file) : d->journal.read(file)))
        tell(tr("the journal is kept in memory alone: %1").arg(d->journal.problem()),
             Kolta::Event::Weight::Attention);
    connect(&d->journal, &Kolta::Journal::writingFailed, this, [this] {
        tell(tr("from now on the journal is kept in memory alone: %1").arg(d->journal.problem()),
             Kolta::Event::Weight::Attention);
    });
    d->events.followUser(UserRights::Instance());
    d->events.followConnections(Kolta::KoltaConnectionsViewer::Instance());
    d->journal.follow(d->events);
}

void Session::tell(const QString& text, Kolta::Event::Weight weight)
{
    Kolta::Event event;
    event.time = now();
    event.weight = weight;
    event.text = text;
    d->journal.take(event);
}

/// Once: the next one has the same reason.
void Session::noteSettings(const QString& file)
{
    if (!m_settingsProblem.isEmpty())
        return;
    m_settingsProblem = tr("Layout and drafts are kept in memory alone: %1 cannot be written.").arg(file);
    tell(m_settingsProblem, Kolta::Event::Weight::Attention);
    Q_EMIT si_SettingsFailed();
}

void Session::tellRefusal(const QString& what, const QString& reason)
{
    tell(tr("%1: not asked for. %2").arg(what, reason), Kolta::Event::Weight::Attention);
}

/// In a replay, what the recorder met with.
QString Session::linkText(bool isUp, const QString& reason) const
{
    if (!replay())
        return isUp ? tr("the broker is there") : tr("the broker is gone: %1").arg(reason);
    if (!isUp)
        return tr("the recorder had lost the broker: %1").arg(reason);
    return m_link.wasUp ? tr("the recorder had the broker again") : tr("the recording begins");
}

void Session::noteLink(bool isUp, const QString& reason)
{
    const bool isOther = m_link.isUp != isUp;
    if (isOther)
        m_link.since = now();
    m_link.isUp = isUp;
    m_link.text = withoutAddress(reason, m_url);
    if (isOther && m_link.wasUp) {
        d->events.setOutOfSight(!isUp);
        d->facts.setOutOfSight(!isUp);
    }
    if (isOther) {
        Kolta::Event event;
        event.kind = Kolta::Event::Kind::Link;
        event.weight = isUp || replay() ? Kolta::Event::Weight::Note : Kolta::Event::Weight::Alarm;
        event.subject.type = Kolta::EventSubject::Type::Link;
        event.subject.guid = m_url;
        event.text = linkText(isUp, reason);
        d->events.tell(event);
    }
    m_link.wasUp = m_link.wasUp || isUp;
    d->facts.gather();
    Q_EMIT si_LinkChanged();
}

void Session::startUsers(const QString& file)
{
    UserRights::Instance().Initialize();
    m_areUsersKnown = !file.isEmpty();
    if (m_areUsersKnown)
        UserRights::Instance().InitForStandalone(file);
}

/// Of the file of users, once there is a journal: what that has read stands before all else.
void Session::tellOfUsers()
{
    const QString problem = Nax::ActiveUserProxy::Instance().ConfigurationError();
    if (m_areUsersKnown && !problem.isEmpty())
        tell(tr("Nobody has any right here until the file of users is mended: %1").arg(problem),
             Kolta::Event::Weight::Attention);
}

Kolta::ServerModel& Session::servers() const
{
    return d->servers;
}

Kolta::TunerModel& Session::tuners() const
{
    return d->tuners;
}

Kolta::TunerClassModel& Session::classes() const
{
    return d->classes;
}

Kolta::ProcessorModel& Session::processors() const
{
    return d->processors;
}

Kolta::InstallationEvents& Session::events() const
{
    return d->events;
}

Kolta::Journal& Session::journal() const
{
    return d->journal;
}

std::size_t Session::openWishes(const QString& server) const
{
#ifdef KOLTA_WITH_DISTRIBUTION
    return d->branches ? d->branches->openWishes(server) : 0;
#else
    Q_UNUSED(server)
    return 0;
#endif
}

OrderDraft& Session::draft() const
{
    return d->draft;
}

const ShortTimeMemory& Session::shortTimeMemory() const
{
    return d->shortTimeMemory;
}

OrdersUnderWay& Session::ordersUnderWay() const
{
    return d->ordersUnderWay;
}

TraceLines& Session::trace() const
{
    return d->trace;
}

const Kolta::IBranchSource* Session::branches() const
{
#ifdef KOLTA_WITH_DISTRIBUTION
    return d->branches.get();
#else
    return nullptr;
#endif
}

MessageTap Session::messagesOfBranch(const QString& name) const
{
#ifdef KOLTA_WITH_DISTRIBUTION
    const auto all = d->link ? d->link->branches() : QVector<distribution::BranchStatus>();
    if (std::any_of(all.begin(), all.end(),
                    [&name](const auto& each) { return each.name == name && !each.isOwn; }))
        return messagesOf(*d->link, name);
#endif
    Q_UNUSED(name)
    return {};
}

int Session::nextTryMs() const
{
#ifdef KOLTA_WITH_DISTRIBUTION
    return d->link && !m_link.isUp ? d->link->nextTryMs() : -1;
#else
    return -1;
#endif
}

Kolta::KoltaServerInterface* Session::server(const QString& address) const
{
    return KoltaServerRegistry::Instance().server(address);
}

bool Session::isThere(const QString& address) const
{
    const Kolta::KoltaServerInterface* const known = server(address);
    return known && known->getState() != Kolta::SERVER_STATES::eDisconnected && !factsOf(address).isStale();
}

const QVector<ServerFacts>& Session::facts() const noexcept
{
    return d->facts.all();
}

ServerFacts Session::factsOf(const QString& address) const
{
    return d->facts.of(address);
}

bool Session::isSettled() const
{
    return !facts().isEmpty() && m_link.isUp && !d->facts.isAnyStarting();
}

int Session::attentionCount() const
{
    return d->facts.attentionCount();
}

bool Session::isSimulated() const noexcept
{
    return d->simulation != nullptr;
}

QString Session::whyReadOnly() const
{
    return replay() ? tr("This is a replay, in which nothing can be changed.")
                    : tr("The console was started to look only.");
}

QString Session::userName() const
{
    return UserRights::Instance().GetActiveUserName();
}

int Session::rightCount() const
{
    int count = 0;
    for (int place = 0; place < UserRights::GetNumberOfRights(); ++place)
        count += UserRights::Instance().IsUserAllowedTo(UserRights::GetRightValueByIndex(place)) ? 1 : 0;
    return count;
}

bool Session::mayDo(UserRights::eManagementRights rights) const
{
    return !m_areUsersKnown || UserRights::Instance().IsUserAllowedTo(rights);
}

SimulatedInstallation* Session::simulation() const
{
    return d->simulation.get();
}

} // namespace KoltaConsole
