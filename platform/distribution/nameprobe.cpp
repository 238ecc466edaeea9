#include <distribution/nameprobe.h>

#include <algorithm>
#include <utility>

namespace distribution {

NameProbe::NameProbe(QString branch, const Topics& topics, qint64 beatMs)
    : m_branch(std::move(branch)), m_topics(topics), m_waitMs(beatMs * 5 / 2)
{
}

Output NameProbe::OnUp(qint64 nowMs)
{
    m_endAtMs = nowMs + m_waitMs;
    Output out = finish();
    out.subscribe = {m_topics.Live(m_branch), m_topics.Beat(m_branch)};
    return out;
}

Output NameProbe::OnMessage(const Topic& topic, const Bytes& payload, qint64 nowMs)
{
    if (topic.kind == TopicKind::Live) {
        const auto live = DecodeLive(payload);
        if (live && live->state == LiveState::Alive) {
            m_host = live->host;
            // An owner that beats more seldom than this one would needs a longer look.
            m_endAtMs = std::max(m_endAtMs, nowMs + qint64(live->beatMs) * 5 / 2);
        }
    } else if (topic.kind == TopicKind::Beat && DecodeBeat(payload)) {
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
    out.wakeAtMs = m_result == Result::Waiting ? m_endAtMs : never;
    return out;
}

} // namespace distribution
