#include <distribution/nameprobe.h>

#include <algorithm>
#include <limits>
#include <utility>

namespace distribution {

namespace {
/// So long the claim of an owner takes behind what was sent later, of a broker that is several machines.
constexpr qint64 kClaimMs = 500;
/// For the message to oneself to come back.
constexpr qint64 kPatienceMs = 5000;
} // namespace

NameProbe::NameProbe(QString branch, const Topics& topics, const Bytes& user, qint64 beatMs, const QUuid& own)
    : m_branch(std::move(branch)), m_user(user), m_topics(topics), m_own(own), m_beatMs(beatMs)
{
}

Output NameProbe::OnUp(qint64 nowMs)
{
    m_endAtMs = nowMs + kPatienceMs;
    Output out = finish();
    out.subscribe = {m_topics.Live(m_branch), m_topics.Beat(m_branch), upTopic()};
    out.publish.push_back(ask(QUuid()));
    return out;
}

Output NameProbe::OnMessage(const Topic& topic, const Bytes& payload, qint64 nowMs)
{
    const auto live = topic.kind == TopicKind::Live ? DecodeLive(payload) : std::nullopt;
    const auto beat = topic.kind == TopicKind::Beat ? DecodeBeat(payload) : std::nullopt;
    const bool isEcho = topic.kind == TopicKind::Up && topic.session == m_session;
    const bool isClaim = live && live->state == LiveState::Alive && live->epoch != m_own;
    if (isClaim) {
        m_host = live->host;
        m_claim = live->epoch;
        // It has to beat now, by its own measure or by ours.
        m_endAtMs = nowMs + std::max(kPatienceMs, std::max(qint64(live->beatMs), m_beatMs) * 5 / 2);
    } else if (beat && beat->epoch != m_own) {
        m_result = Result::Taken;
    } else if (topic.kind == TopicKind::Live) {
        m_endAtMs = nowMs;
    } else if (isEcho && m_claim.isNull()) {
        m_endAtMs = std::min(m_endAtMs, nowMs + kClaimMs);
    }
    Output out = finish();
    if (isClaim)
        out.publish.push_back(ask(m_claim));
    return out;
}

Output NameProbe::OnRefused(qint64 nowMs)
{
    if (m_claim.isNull())
        m_endAtMs = std::min(m_endAtMs, nowMs + kClaimMs);
    return finish();
}

/// For a beat: for what follows the last number of all.
Publication NameProbe::ask(const QUuid& epoch) const
{
    const AskMessage message{epoch, 0, std::numeric_limits<quint64>::max()};
    return {upTopic(), Encode(message), Delivery::AtLeastOnce, false, static_cast<quint32>(kPatienceMs)};
}

Output NameProbe::OnTime(qint64 nowMs)
{
    if (nowMs >= m_endAtMs && m_result == Result::Waiting)
        m_result = Result::Free;
    return finish();
}

Output NameProbe::finish() const
{
    Output out;
    out.wakeAtMs = m_result == Result::Waiting ? m_endAtMs : kNever;
    return out;
}

} // namespace distribution
