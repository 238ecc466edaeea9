#include <distribution/branchpublisher.h>

#include <distribution/treecontent.h>
#include <distribution/wishaudit.h>

#include <startup/tracesource.h>

#include <utility>

namespace distribution {

namespace {

enum eTracePoint : int { eRefused = 1 };
constexpr Startup::TraceSource kTrace("platform/distribution/branchpublisher", Startup::eTraceWarning);

/// After a loss, so long another owner that took the line has to say so.
constexpr int kAgainAfterMs = 300;

OwnerSettings settingsFor(const LinkOptions& options, const PublishedBranch& branch)
{
    OwnerSettings settings;
    settings.branch = branch.name;
    settings.host = options.host;
    settings.roots = branch.roots;
    settings.sentinel = branch.sentinel;
    settings.beatMs = options.beatMs;
    settings.graceMs = options.graceMs;
    settings.logBytes = options.logBytes;
    return settings;
}

} // namespace

BranchPublisher::BranchPublisher(ChangeCollector& collector, StatePacker& packer,
                                 std::unique_ptr<ICarrier> carrier, const LinkOptions& options,
                                 PublishedBranch branch, std::unique_ptr<IWritePolicy> policy,
                                 StateChanged changed)
    : m_options(options)
    , m_branch(std::move(branch))
    , m_topics(options.mqtt.address.prefix.toStdString())
    , m_changed(std::move(changed))
    , m_carrier(std::move(carrier))
    , m_tree(collector, m_branch.roots, [this] { m_driver.Wake(); })
    , m_owner(std::make_unique<BranchOwner>(settingsFor(options, m_branch), m_topics, m_tree,
                                            std::move(policy),
                                            ContentBelow(collector.GetTree(), m_branch.roots)))
    , m_driver(*m_carrier, packer, [this](qint64 nowMs) {
        Output output = m_owner->OnTime(nowMs); // without a line it only enters what has changed
        if (!m_probe)
            return output;
        output = m_probe->OnTime(nowMs);
        endProbe();
        return output;
    })
{
    m_carrier->onUp = [this](std::size_t maximumPayload) { onUp(maximumPayload); };
    m_carrier->onDown = [this](DownReason reason, const QString& text) { onDown(reason, text); };
    m_carrier->onMessage = [this](const Bytes& topic, const Bytes& payload) { onMessage(topic, payload); };
    m_carrier->onRefused = [this](const Bytes& topic, const QString& text) { onRefused(topic, text); };
    m_again.setSingleShot(true);
    m_again.setInterval(kAgainAfterMs);
    QObject::connect(&m_again, &QTimer::timeout, &m_again, [this] { probe(); });
    OwnerEvents events;
    events.displaced = [this] {
        m_isUp = false;
        m_again.stop();
        m_tree.LetGo();
        // The identifier is the other one's now. Later: an input is being dealt with.
        QTimer::singleShot(0, &m_again, [this] {
            m_driver.Stop();
            m_carrier->Close();
        });
        setState(PublicationState::Displaced,
                 QStringLiteral("another process publishes \"%1\" now").arg(m_branch.name));
    };
    events.wishEnded = Audit;
    m_owner->SetEvents(std::move(events));
    probe();
}

BranchPublisher::~BranchPublisher()
{
    if (m_isUp)
        m_driver.Do([this](qint64 nowMs) { return m_owner->Withdraw(nowMs); });
    m_driver.Stop();
    m_carrier->Close();
}

void BranchPublisher::probe()
{
    startProbe();
    m_carrier->Open({}, {});
}

void BranchPublisher::startProbe()
{
    m_probe.emplace(m_branch.name, m_topics, m_options.User(), m_options.beatMs, m_owner->GetEpoch());
}

void BranchPublisher::claim()
{
    m_carrier->Close();
    m_carrier->Open(m_owner->GetWill(), OwnerClientId(m_branch.name));
}

void BranchPublisher::onUp(std::size_t maximumPayload)
{
    if (m_probe) {
        m_driver.Do([this](qint64 nowMs) { return m_probe ? m_probe->OnUp(nowMs) : Output(); });
        return;
    }
    if (!m_displaced.isNull()) {
        // Its mirrors need not wait until its silence proves its end.
        LiveMessage dead;
        dead.epoch = std::exchange(m_displaced, QUuid());
        dead.state = LiveState::Dead;
        m_carrier->Publish({m_topics.Live(m_branch.name), Encode(dead), Delivery::AtLeastOnce, true, 0});
    }
    m_driver.Do([this, maximumPayload](qint64 nowMs) { return m_owner->OnUp(maximumPayload, nowMs); });
    m_isUp = true;
    m_wasUp = true;
}

void BranchPublisher::onDown(DownReason reason, const QString& text)
{
    m_isUp = false;
    if (m_state != PublicationState::Waiting && m_state != PublicationState::Online)
        return;
    if (!m_probe) {
        if (m_wasUp)
            m_driver.Do([this, reason](qint64 nowMs) { return m_owner->OnDown(reason, nowMs); });
        if (m_owner->IsDisplaced())
            return;
        m_carrier->Close();
        m_again.start();
    }
    // What it has not heard while there was no line proves nothing.
    if (m_probe)
        startProbe();
    setState(PublicationState::Waiting, text);
}

void BranchPublisher::onMessage(const Bytes& bytes, const Bytes& payload)
{
    const auto topic = m_topics.Parse(bytes);
    if (!topic)
        return;
    m_driver.DoMessage(
        [this](const Topic& parsed, const Bytes& content, qint64 nowMs) {
            if (!m_probe)
                return m_owner->OnMessage(parsed, content, nowMs);
            Output output = m_probe->OnMessage(parsed, content, nowMs);
            endProbe();
            return output;
        },
        *topic, payload);
    // Nobody has the claim while the broker may still refuse it.
    if (m_isUp && isOwnClaim(*topic, payload))
        setState(PublicationState::Online);
}

bool BranchPublisher::isOwnClaim(const Topic& topic, const Bytes& payload) const
{
    if (topic.kind != TopicKind::Live)
        return false;
    const auto live = DecodeLive(payload);
    return live && live->state == LiveState::Alive && live->epoch == m_owner->GetEpoch();
}

/// Does what the probe has found out, from the event loop: an input is being dealt with.
void BranchPublisher::endProbe()
{
    if (m_probe->GetResult() == NameProbe::Result::Waiting)
        return;
    QTimer::singleShot(0, &m_again, [this] {
        if (!m_probe || m_probe->GetResult() == NameProbe::Result::Waiting)
            return;
        const bool isTaken = m_probe->GetResult() == NameProbe::Result::Taken;
        const QString host = m_probe->GetHost();
        const QUuid holder = m_probe->GetClaim();
        m_probe.reset();
        if (isTaken && m_wasUp)
            end(PublicationState::Displaced,
                QStringLiteral("another process publishes \"%1\" now, on host %2").arg(m_branch.name, host));
        else if (isTaken && !m_options.takeOver)
            end(PublicationState::NameTaken,
                QStringLiteral("the name \"%1\" is taken by host %2").arg(m_branch.name, host));
        else {
            m_displaced = isTaken ? holder : QUuid();
            claim();
        }
    });
}

void BranchPublisher::onRefused(const Bytes& topic, const QString& text)
{
    if (m_probe)
        m_driver.Do([this](qint64 nowMs) { return m_probe ? m_probe->OnRefused(nowMs) : Output(); });
    if (m_probe)
        return;
    // Without these nobody can join or ask for anything.
    if (topic != m_topics.Live(m_branch.name) && topic != m_topics.UpFilter(m_branch.name)) {
        // Once: it is refused again and again.
        if (m_refused.insert(topic).second)
            kTrace(eRefused, QStringLiteral("Branch \"%1\": the broker refuses \"%2\" to the user \"%3\": %4")
                                 .arg(m_branch.name, QString::fromStdString(topic),
                                      QString::fromStdString(m_options.User()), text));
        return;
    }
    end(PublicationState::Forbidden,
        QStringLiteral("the broker does not let the user \"%1\" publish \"%2\": %3")
            .arg(QString::fromStdString(m_options.User()), m_branch.name, text));
}

void BranchPublisher::end(PublicationState state, const QString& reason)
{
    m_tree.LetGo();
    m_driver.Stop();
    m_again.stop();
    m_carrier->Close();
    m_isUp = false;
    setState(state, reason);
}

void BranchPublisher::setState(PublicationState state, const QString& reason)
{
    if (m_state == state && reason.isEmpty())
        return;
    m_state = state;
    m_changed(state, reason);
}

} // namespace distribution
