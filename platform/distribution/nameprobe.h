#pragma once

#include <distribution/defaults.h>
#include <distribution/export.h>
#include <distribution/output.h>
#include <distribution/topics.h>

#include <QString>
#include <QUuid>

namespace distribution {

/// Finds out whether a branch's name is free before an owner claims it: over a connection of its own with a
/// random client identifier it asks who claims to have the name for a beat, since a claim of life without one
/// proves nothing. Soon after a message to itself has come back, on however slow a line, there is no claim.
/// Inputs and outputs as with BranchOwner.
class KOLTA_DISTRIBUTION_EXPORT NameProbe
{
public:
    enum class Result { Waiting, Free, Taken };

    /// `user`: the broker's name for this process. `own`: epoch of an owner in this process, whose claim of
    /// life is no obstacle.
    NameProbe(QString branch, const Topics& topics, const Bytes& user, qint64 beatMs = Defaults::kBeatMs,
              const QUuid& own = QUuid());

    /// Listening starts anew.
    Output OnUp(qint64 nowMs);
    Output OnMessage(const Topic& topic, const Bytes& payload, qint64 nowMs);
    /// The broker has refused something.
    Output OnRefused(qint64 nowMs);
    Output OnTime(qint64 nowMs);

    Result GetResult() const noexcept { return m_result; }
    /// Of the owner that has the name, as far as it is known.
    const QString& GetHost() const noexcept { return m_host; }
    /// Epoch of its claim of life; null: none was heard.
    const QUuid& GetClaim() const noexcept { return m_claim; }

private:
    Output finish() const;
    Bytes upTopic() const { return m_topics.Up(m_branch, m_user, m_session); }
    Publication ask(const QUuid& epoch) const;

    QString m_branch;
    Bytes m_user;
    QUuid m_session = QUuid::createUuid();
    Topics m_topics;
    QString m_host;
    QUuid m_own;
    QUuid m_claim;
    qint64 m_beatMs;
    qint64 m_endAtMs = kNever;
    Result m_result = Result::Waiting;
};

} // namespace distribution
