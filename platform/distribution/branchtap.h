#pragma once

#include <distribution/branchmessage.h>
#include <distribution/carrier.h>
#include <distribution/topics.h>

#include <QHash>
#include <QObject>
#include <QPointer>
#include <QUuid>

#include <map>
#include <optional>
#include <utility>
#include <vector>

namespace distribution {

class BranchMirror;

/// Reads along what passes between a mirror and the owner of its branch, and tells readers as long as there
/// are any. It is asked before the mirror takes a message, so that identifiers still have their paths.
class BranchTap
{
public:
    /// `mirror` outlives this.
    BranchTap(const BranchMirror& mirror, const QUuid& session) : m_mirror(mirror), m_session(session) {}

    void Add(QObject* context, BranchReader reader) { m_readers.push_back({context, std::move(reader)}); }
    /// Whether nobody reads any more.
    bool IsIdle();
    void OnReceived(const Topic& topic, const Bytes& payload, qint64 nowMs);
    void OnSent(const Bytes& payload, qint64 nowMs);

private:
    struct Reader
    {
        QPointer<QObject> context;
        BranchReader read;
    };
    std::optional<BranchMessage> received(const Topic& topic, const Bytes& payload, qint64 nowMs);
    std::optional<BranchMessage> entries(const Topic& topic, const Bytes& payload, qint64 nowMs);
    std::optional<BranchMessage> sent(const Bytes& payload, qint64 nowMs);
    void tell(std::optional<BranchMessage> message, std::size_t bytes);

    const BranchMirror& m_mirror;
    const QUuid m_session;
    std::vector<Reader> m_readers;
    QUuid m_epoch;                                          ///< of the wishes whose times are known
    std::map<std::pair<quint16, quint64>, qint64> m_sentMs; ///< of wishes, by channel and number
};

} // namespace distribution
