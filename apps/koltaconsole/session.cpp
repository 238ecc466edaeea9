#include "session.h"

#include "options.h"
#include "orderdraft.h"
#include "ordersunderway.h"
#include "simulatedinstallation.h"
#include "tracelines.h"

#include <koltacommon/installationevents.h>
#include <koltacommon/journal.h>
#include <koltacommon/koltaconnectionsviewer.h>
#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/koltaserverregistry.h>
#include <koltacommon/processormodel.h>
#include <koltacommon/servermodel.h>
#include <koltacommon/servernodes.h>
#include <koltacommon/shorttimevalues.h>
#include <koltacommon/tunerclassmodel.h>
#include <koltacommon/tunermodel.h>
#include <koltacommon/viewtime.h>

#include <startup/cfgcenter.h>

#ifdef KOLTA_WITH_DISTRIBUTION
#include "treebranches.h"

#include <distribution/replay.h>
#include <distribution/treelink.h>
#endif

#include <QFileInfo>
#include <QHash>
#include <QTimer>
#include <QUrl>

#include <algorithm>

namespace KoltaConsole {

using Kolta::KoltaServerRegistry;
using Kolta::UserRights;

namespace {

constexpr int kGatherMs = 100;
constexpr int kSecondMs = 1000;
constexpr int kForgetMs = 60000;
constexpr int kLeaverDays = 1; ///< that a server is shown after it has left by itself

/// Where nothing says which time zone it is, the C library asks the file system at every conversion of a
/// time, of which a page does thousands.
void nameTimeZone()
{
    if (!qEnvironmentVariableIsSet("TZ"))
        qputenv("TZ", ":/etc/localtime");
}

#ifdef KOLTA_WITH_DISTRIBUTION
/// It is shown, and others take it over.
QString withoutPassword(const QString& url)
{
    QUrl parsed(url);
    if (parsed.password().isEmpty())
        return url;
    parsed.setPassword(QString());
    return parsed.toString();
}
#endif

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
    QTimer gathering;
    QTimer counting;
    QTimer returning; ///< the link is back, the servers perhaps not yet
    QTimer forgetting;

    /// Of those that are not as they should be, by name.
    QHash<QString, SeenBranch> oddBranches() const;
};

QHash<QString, SeenBranch> Session::Parts::oddBranches() const
{
    QHash<QString, SeenBranch> conditions;
#ifdef KOLTA_WITH_DISTRIBUTION
    for (const distribution::BranchStatus& branch :
         link ? link->branches() : QVector<distribution::BranchStatus>()) {
        switch (branch.state) {
        case distribution::BranchState::Suspect:
            conditions.insert(branch.name, {BranchCondition::Silent, branch.beatAgeMs});
            break;
        case distribution::BranchState::Withdrawn:
            conditions.insert(branch.name, {BranchCondition::Withdrawn, branch.beatAgeMs});
            break;
        case distribution::BranchState::Forbidden:
            conditions.insert(branch.name, {BranchCondition::Forbidden, branch.beatAgeMs});
            break;
        default:
            break;
        }
    }
#endif
    return conditions;
}

Session::Session() : d(std::make_unique<Parts>())
{
    d->gathering.setSingleShot(true);
    connect(&d->gathering, &QTimer::timeout, this, &Session::readFacts);
    d->counting.setSingleShot(true);
    d->counting.setInterval(kSecondMs);
    connect(&d->counting, &QTimer::timeout, this, &Session::readFacts);
    d->returning.setSingleShot(true);
    d->returning.setInterval(Kolta::InstallationEvents::kReturnMs);
    connect(&d->returning, &QTimer::timeout, this, [this] {
        m_outOfSightSince = QDateTime();
        gather();
    });
    d->forgetting.setInterval(kForgetMs);
    connect(&d->forgetting, &QTimer::timeout, this, &Session::forgetLeavers);
    d->forgetting.start();
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
    parts.servers.followRegistry(registry);
    parts.tuners.followRegistry(registry);
    parts.classes.followRegistry(registry);
    parts.processors.followRegistry(registry);
    parts.events.followRegistry(registry);
    const bool hasFile = options.servers == 0 && !session->replay();
    session->startJournal(hasFile ? Kolta::Journal::pathFor(options.url) : QString(), options.isRemembered);
    Session* const own = session.get();
    const auto gather = [own] { own->gather(); };
    connect(&parts.servers, &QAbstractItemModel::dataChanged, own, gather);
    connect(&parts.servers, &QAbstractItemModel::rowsInserted, own, gather);
    connect(&parts.servers, &QAbstractItemModel::rowsRemoved, own, gather);
    connect(&parts.servers, &QAbstractItemModel::rowsMoved, own, gather);
    own->readFacts();
    return session;
}

Session::~Session()
{
    disconnect();
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
    startUsers(SimulatedInstallation::folder() + QStringLiteral("/users.xml"));
    return true;
}

#ifdef KOLTA_WITH_DISTRIBUTION

bool Session::mirror(const Options& options, QString& error)
{
    QString problem;
    auto link = distribution::LinkOptions::FromConfiguration(options.url, problem);
    if (!link) {
        error = QStringLiteral("--tree: %1").arg(problem);
        if (problem.contains(QLatin1String("expected mqtt")))
            error += QStringLiteral(" or replay:FILE[?speed=N][&from=TIME]");
        return false;
    }
    link->compared = Kolta::ServerNodes::pathEnds(Kolta::ServerNodes::eWhole);
    m_url = withoutPassword(options.url);
    m_link = {false, false, QDateTime::currentDateTime(), tr("connecting")};
    d->link = std::make_unique<distribution::TreeLink>(values::Tree::Instance(), *link);
    if (replay())
        beginReplay();
    d->events.setLeaverCheck([this](const QString& server) {
        return d->oddBranches().value(server).condition == BranchCondition::Withdrawn;
    });
    d->branches = std::make_unique<TreeBranches>(*d->link, m_url);
    connect(d->link.get(), &distribution::TreeLink::si_LinkChanged, this, &Session::noteLink);
    connect(d->link.get(), &distribution::TreeLink::si_BranchChanged, this, &Session::gather);
    connect(d->link.get(), &distribution::TreeLink::si_WishFailed, this, &Session::si_WishFailed);
    d->link->mirror(link->branches);
    startUsers(Startup::CfgCenter::Instance().Text(QStringLiteral("Users"), QStringLiteral("File")));
    return true;
}

/// Events have the recording's times, and nobody is to believe that something could be done.
void Session::beginReplay()
{
    m_isReadOnly = true;
    m_url = tr("replay of %1").arg(QFileInfo(replay()->file()).fileName());
    d->events.setTimeSource([this] { return now(); });
    Kolta::ViewTime::setSource([this] { return now(); });
    m_link.since = now();
    if (!replay()->cut().isEmpty())
        tell(QStringLiteral("%1: %2").arg(replay()->file(), replay()->cut()),
             Kolta::Event::Weight::Attention);
}

QString Session::treeUrl() const
{
    if (!replay())
        return isSimulated() ? QString() : m_url;
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

bool Session::mirror(const Options& /*options*/, QString& error)
{
    error = QStringLiteral("built without the distribution of value trees (KOLTA_DISTRIBUTION)");
    return false;
}

#endif

/// What simulated servers did is of no interest later, and a picture leaves no trace.
void Session::startJournal(const QString& file, bool isWritten)
{
    if (!file.isEmpty() && !(isWritten ? d->journal.open(file) : d->journal.read(file)))
        tell(tr("the journal is kept in memory alone: %1").arg(d->journal.problem()),
             Kolta::Event::Weight::Attention);
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

void Session::noteLink(bool isUp, const QString& reason)
{
    const bool isOther = m_link.isUp != isUp;
    if (isOther)
        m_link.since = now();
    m_link.isUp = isUp;
    m_link.text = reason;
    if (isOther && m_link.wasUp) {
        d->events.setOutOfSight(!isUp);
        if (isUp)
            d->returning.start();
        else
            d->returning.stop();
        if (!isUp && !m_outOfSightSince.isValid())
            m_outOfSightSince = m_link.since;
    }
    if (isOther) {
        Kolta::Event event;
        event.kind = Kolta::Event::Kind::Link;
        event.weight = isUp ? Kolta::Event::Weight::Note : Kolta::Event::Weight::Alarm;
        event.subject.type = Kolta::EventSubject::Type::Link;
        event.subject.guid = m_url;
        event.text = isUp ? tr("the broker is there") : tr("the broker is gone: %1").arg(reason);
        d->events.tell(event);
    }
    m_link.wasUp = m_link.wasUp || isUp;
    gather();
    Q_EMIT si_LinkChanged();
}

void Session::startUsers(const QString& file)
{
    UserRights::Instance().Initialize();
    m_areUsersKnown = !file.isEmpty() && UserRights::Instance().InitForStandalone(file);
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
    std::size_t open = 0;
#ifdef KOLTA_WITH_DISTRIBUTION
    for (const distribution::BranchStatus& branch :
         d->link ? d->link->branches() : QVector<distribution::BranchStatus>()) {
        if (branch.name == server)
            open += branch.openWishes;
    }
#else
    Q_UNUSED(server)
#endif
    return open;
}

OrderDraft& Session::draft() const
{
    return d->draft;
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

ServerFacts Session::factsOf(const QString& address) const
{
    const auto found = std::find_if(m_facts.begin(), m_facts.end(),
                                    [&](const ServerFacts& facts) { return facts.address == address; });
    return found == m_facts.end() ? ServerFacts() : *found;
}

bool Session::isSettled() const
{
    return !m_facts.isEmpty() && m_link.isUp &&
           std::none_of(m_facts.begin(), m_facts.end(),
                        [](const ServerFacts& facts) { return facts.condition == Condition::Starting; });
}

int Session::attentionCount() const
{
    return static_cast<int>(std::count_if(m_facts.begin(), m_facts.end(),
                                          [](const ServerFacts& facts) { return facts.needsAttention(); }));
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

/// What changes meanwhile is looked at together.
void Session::gather()
{
    if (!d->gathering.isActive())
        d->gathering.start(kGatherMs);
}

/// Of a server that the link cannot show what was so before stays true, until it can be seen again.
ServerFacts Session::factsAt(int row, const SeenBranch& branch) const
{
    const QString address = d->servers.index(row, 0).data().toString();
    ServerFacts now = KoltaConsole::readFacts(d->servers, row, branch.condition);
    now.beatAgeMs = branch.beatAgeMs;
    ServerFacts last = factsOf(address);
    const bool isReturning = d->returning.isActive() && last.isOutOfSight;
    if (!isOutOfSight() && !(isReturning && now.condition == Condition::Vanished))
        return now;
    if (last.address.isEmpty())
        last = now;
    if (!last.isStale())
        last.lastKnown = m_outOfSightSince;
    last.isOutOfSight = true;
    return last;
}

void Session::forgetLeavers()
{
    const QDateTime limit = now().addDays(-kLeaverDays);
    for (const ServerFacts& facts : qAsConst(m_facts)) {
        if (facts.hasLeft() && !facts.isOutOfSight && facts.lastKnown.isValid() && facts.lastKnown < limit)
            KoltaServerRegistry::Instance().removeServer(facts.address);
    }
}

void Session::readFacts()
{
    QVector<ServerFacts> facts;
    const QHash<QString, SeenBranch> branches = d->oddBranches();
    for (int row = 0; row < d->servers.rowCount(); ++row) {
        const QString address = d->servers.index(row, 0).data().toString();
        facts.append(factsAt(row, branches.value(address)));
    }
    std::sort(facts.begin(), facts.end(), [](const ServerFacts& a, const ServerFacts& b) {
        if (a.condition != b.condition)
            return a.condition < b.condition;
        // Those that are well keep their places.
        if (a.needsAttention() && a.since != b.since)
            return a.since < b.since;
        return a.sortText < b.sortText;
    });
    m_facts = facts;
    // How long it has been silent is told by the second.
    if (std::any_of(facts.begin(), facts.end(),
                    [](const ServerFacts& each) { return each.condition == Condition::Silent; }))
        d->counting.start();
    Q_EMIT si_FactsChanged();
}

} // namespace KoltaConsole
