#include <distribution/nameprobe.h>

#include <algorithm>
#include <utility>

namespace distribution {

namespace {
/// So long the retained claim of an owner takes at most to come.
constexpr qint64 kClaimMs = 500;
} // namespace

NameProbe::NameProbe(QString branch, const Topics& topics, qint64 beatMs, const QUuid& own)
    : m_branch(std::move(branch)), m_topics(topics), m_own(own), m_beatMs(beatMs)
{
}

Output NameProbe::OnUp(qint64 nowMs)
{
    m_endAtMs = nowMs + kClaimMs;
    Output out = finish();
    out.subscribe = {m_topics.Live(m_branch), m_topics.Beat(m_branch)};
    return out;
}

Output NameProbe::OnMessage(const Topic& topic, const Bytes& payload, qint64 nowMs)
{
    if (topic.kind == TopicKind::Live) {
        const auto live = DecodeLive(payload);
        if (live && live->state == LiveState::Alive && live->epoch != m_own) {
            m_host = live->host;
            m_claim = live->epoch;
            // It has to beat now, by its own measure or by ours.
            m_endAtMs = std::max(m_endAtMs, nowMs + std::max(qint64(live->beatMs), m_beatMs) * 5 / 2);
        } else if (m_result == Result::Waiting) {
            m_endAtMs = nowMs;
        }
    } else if (topic.kind == TopicKind::Beat) {
        const auto beat = DecodeBeat(payload);
        if (beat && beat->epoch != m_own)
            m_result = Result::Taken;
    }
    return finish();
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
