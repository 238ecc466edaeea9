#include <distribution/treelink.h>

#include <distribution/branchpublisher.h>
#include <distribution/changecollector.h>
#include <distribution/mirrorlink.h>
#include <distribution/mqttcarrier.h>
#include <distribution/replay.h>
#include <distribution/replaycarrier.h>
#include <distribution/topics.h>
#include <distribution/treecontent.h>

#include <startup/tracesource.h>

#include <values/defaultvaluecreator.h>

#include <QElapsedTimer>
#include <QEventLoop>
#include <QMetaMethod>
#include <QTimer>

#include <algorithm>

namespace distribution {

namespace {

/// For so long after the last news branches that nobody has named are still looked for.
constexpr int kDiscoveryMs = 300;

/// Nothing is to be expected of it for now.
bool isGone(BranchState state)
{
    return state == BranchState::Lost || state == BranchState::Withdrawn || state == BranchState::Forbidden;
}

enum eTracePoint : int { ePublication = 1, eLinkDown = 2, eBranch = 3, eWishFailed = 4 };
constexpr Startup::TraceSource kTrace("platform/distribution/treelink", Startup::eTraceWarning);

} // namespace

QString ToText(BranchState state)
{
    switch (state) {
    case BranchState::Unknown:
        return QStringLiteral("unknown");
    case BranchState::Joining:
        return QStringLiteral("joining");
    case BranchState::Live:
        return QStringLiteral("live");
    case BranchState::Suspect:
        return QStringLiteral("suspect");
    case BranchState::Lost:
        return QStringLiteral("lost");
    case BranchState::Withdrawn:
        return QStringLiteral("withdrawn");
    case BranchState::Forbidden:
        return QStringLiteral("forbidden");
    }
    return QString();
}

TreeLink::TreeLink(values::Tree& tree, CarrierFactory carriers, const LinkOptions& options, QObject* parent)
    : QObject(parent)
    , values::ITreeClient(QStringLiteral("ConnectManager"))
    , m_options(options)
    , m_carriers(std::move(carriers))
    , m_collector(std::make_unique<ChangeCollector>(tree))
    , m_packer(std::make_unique<StatePacker>())
{
    qRegisterMetaType<BranchState>();
    qRegisterMetaType<PublicationState>();
    values::RegisterPlainValues();
    m_collector->SetCompared(options.compared);
}

TreeLink::TreeLink(values::Tree& tree, const LinkOptions& options, QObject* parent)
    : TreeLink(
          tree,
          [mqtt = options.mqtt, replay = options.replay]() -> std::unique_ptr<ICarrier> {
              if (replay)
                  return std::make_unique<ReplayCarrier>(replay);
              return std::make_unique<MqttCarrier>(mqtt);
          },
          options, parent)
{
}

TreeLink::~TreeLink() = default;

bool TreeLink::publish(const QString& branch, const QStringList& roots, const QString& sentinel,
                       std::unique_ptr<IWritePolicy> policy)
{
    const bool isPublished = std::any_of(m_published.begin(), m_published.end(), [&](const auto& publisher) {
        return publisher->GetBranch().name == branch;
    });
    if (isPublished)
        return false;
    const QString objection = WhyNoBranchName(branch);
    if (!objection.isEmpty()) {
        if (!isSignalConnected(QMetaMethod::fromSignal(&TreeLink::si_PublicationFailed)))
            kTrace(ePublication, QStringLiteral("Not published: %1").arg(objection));
        Q_EMIT si_PublicationFailed(branch, PublicationState::NameUnfit, objection);
        return false;
    }
    if (m_mirrors)
        m_mirrors->Exclude({branch, roots, sentinel});
    m_published.push_back(std::make_unique<BranchPublisher>(
        *m_collector, *m_packer, m_carriers(), m_options, PublishedBranch{branch, roots, sentinel},
        std::move(policy), [this, branch](PublicationState state, const QString& reason) {
            const bool isOver = state != PublicationState::Online && state != PublicationState::Waiting;
            const auto failed = QMetaMethod::fromSignal(&TreeLink::si_PublicationFailed);
            // Once: by whoever wants to hear of it, else here.
            if (!reason.isEmpty() && !(isOver && isSignalConnected(failed)))
                kTrace(ePublication, QStringLiteral("Branch \"%1\": %2").arg(branch, reason));
            if (state == PublicationState::Online)
                Q_EMIT si_Published(branch);
            else if (isOver)
                Q_EMIT si_PublicationFailed(branch, state, reason);
        }));
    return true;
}

void TreeLink::withdraw(const QString& branch)
{
    const auto found = std::find_if(m_published.begin(), m_published.end(), [&](const auto& publisher) {
        return publisher->GetBranch().name == branch;
    });
    if (found == m_published.end())
        return;
    if (m_mirrors)
        m_mirrors->Readmit((*found)->GetBranch(), (*found)->GetOwner().GetEpoch());
    (*found)->LetGo();
    m_leaving.push_back(std::move(*found));
    m_published.erase(found);
    QTimer::singleShot(0, this, &TreeLink::deleteLeaving);
}

/// Later, for a program may withdraw a branch when it is told something of it.
void TreeLink::deleteLeaving()
{
    m_leaving.erase(std::remove_if(m_leaving.begin(), m_leaving.end(),
                                   [](const auto& publisher) { return !publisher->IsBusy(); }),
                    m_leaving.end());
    if (!m_leaving.empty())
        QTimer::singleShot(100, this, &TreeLink::deleteLeaving);
}

void TreeLink::mirror(const QStringList& branches)
{
    if (!m_mirrors) {
        MirrorLinkEvents events;
        events.linkChanged = [this](bool isUp, const QString& reason) {
            if (!reason.isEmpty())
                kTrace(eLinkDown, reason);
            Q_EMIT si_LinkChanged(isUp, reason);
        };
        events.branchChanged = [this](const QString& branch, BranchState state) {
            kTrace(eBranch, QStringLiteral("Branch \"%1\" is %2").arg(branch, ToText(state)),
                   Startup::eTraceInfo);
            Q_EMIT si_BranchChanged(branch, state);
        };
        events.wishFailed = [this](const QString& path, const QString& reason) {
            kTrace(eWishFailed, QStringLiteral("A change did not last: %1").arg(reason));
            Q_EMIT si_WishFailed(path, reason);
            restoreCollection(path);
        };
        m_mirrors =
            std::make_unique<MirrorLink>(*m_collector, *m_packer, m_carriers(), m_options, std::move(events));
        for (const auto& publisher : m_published)
            m_mirrors->Exclude(publisher->GetBranch());
    }
    m_mirrors->Mirror(branches);
}

/// The owner of a collection, who would say what it holds, is not there to be asked in a replay.
void TreeLink::restoreCollection(const QString& path)
{
    const values::TreeItem* const item = m_collector->GetTree().Find(path);
    if (replay() && item && IsCollection(TypeOf(*item)))
        replay()->restore();
}

bool TreeLink::isOnline() const
{
    return m_mirrors && m_mirrors->IsUp();
}

int TreeLink::nextTryMs() const
{
    return m_mirrors ? m_mirrors->GetNextTryMs() : -1;
}

QVector<BranchStatus> TreeLink::branches() const
{
    QVector<BranchStatus> all;
    for (const auto& publisher : m_published) {
        BranchStatus status;
        status.name = publisher->GetBranch().name;
        status.isOwn = true;
        status.state =
            publisher->GetState() == PublicationState::Online ? BranchState::Live : BranchState::Lost;
        status.host = m_options.host;
        status.epoch = publisher->GetOwner().GetEpoch();
        status.roots = publisher->GetBranch().roots;
        status.numbers = publisher->GetOwner().GetNumbers();
        status.parts = status.joinedParts = static_cast<int>(status.numbers.size());
        all.append(status);
    }
    const QStringList names = m_mirrors ? m_mirrors->GetBranches() : QStringList();
    for (const QString& name : names) {
        const BranchMirror& mirror = *m_mirrors->Find(name);
        BranchStatus status;
        status.name = name;
        status.state = mirror.GetState();
        status.host = mirror.GetOwner().host;
        status.epoch = mirror.GetEpoch();
        status.roots = mirror.GetRoots();
        if (mirror.GetLastBeatMs() >= 0)
            status.beatAgeMs = m_mirrors->GetNowMs() - mirror.GetLastBeatMs();
        status.numbers = mirror.GetNumbers();
        status.openWishes = mirror.GetOpenWishes();
        status.roundTripMs = mirror.GetRoundTripMs();
        status.sent = m_mirrors->GetSent(name);
        status.received = m_mirrors->GetReceived(name);
        status.parts = mirror.CountParts();
        status.joinedParts = mirror.CountJoinedParts();
        all.append(status);
    }
    std::sort(all.begin(), all.end(), [](const auto& a, const auto& b) { return a.name < b.name; });
    return all;
}

bool TreeLink::read(const QString& branch, QObject* context,
                    std::function<void(const BranchMessage& message)> reader)
{
    return m_mirrors && m_mirrors->Read(branch, context, std::move(reader));
}

bool TreeLink::areLive(const QStringList& branches) const
{
    if (!isOnline())
        return false;
    const QStringList known = m_mirrors->GetBranches();
    const auto stateOf = [this](const QString& name) {
        const BranchMirror* const mirror = m_mirrors->Find(name);
        return mirror ? mirror->GetState() : BranchState::Unknown;
    };
    const auto isLive = [&](const QString& name) { return stateOf(name) == BranchState::Live; };
    if (!branches.isEmpty())
        return std::all_of(branches.begin(), branches.end(), isLive);
    return std::any_of(known.begin(), known.end(), isLive) &&
           std::all_of(known.begin(), known.end(),
                       [&](const QString& name) { return isLive(name) || isGone(stateOf(name)); });
}

bool TreeLink::waitForLive(const QStringList& branches, int milliseconds)
{
    QEventLoop loop;
    QTimer limit, settled;
    limit.setSingleShot(true);
    settled.setSingleShot(true);
    bool isLive = false;
    const auto look = [&] {
        isLive = areLive(branches);
        if ((m_mirrors && m_mirrors->IsRefused()) || (isLive && !branches.isEmpty()))
            loop.quit();
        else if (isLive)
            settled.start(kDiscoveryMs);
        else
            settled.stop();
    };
    connect(this, &TreeLink::si_BranchChanged, &loop, look);
    connect(this, &TreeLink::si_LinkChanged, &loop, look);
    connect(&limit, &QTimer::timeout, &loop, &QEventLoop::quit);
    connect(&settled, &QTimer::timeout, &loop, &QEventLoop::quit);
    limit.start(milliseconds);
    QTimer::singleShot(0, &loop, look);
    loop.exec();
    return isLive;
}

} // namespace distribution
