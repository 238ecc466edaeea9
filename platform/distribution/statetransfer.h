#pragma once

#include <distribution/export.h>
#include <distribution/messages.h>

#include <map>
#include <optional>
#include <vector>

namespace distribution {

/// A channel's state, cut but not packed yet. The contents are shared, so cutting is cheap; Pack() may run on
/// another thread.
struct StateCut
{
    QUuid epoch;
    quint64 number = 0;
    Snapshot snapshot;
    Bytes topic;               ///< without the part's level
    std::size_t partBytes = 0; ///< largest payload of a part
    quint32 clearUpTo = 0; ///< retained parts below this number that the state does not need are taken away
};
/// The publications of a state, in the order of its parts.
KOLTA_DISTRIBUTION_EXPORT std::vector<Publication> Pack(const StateCut& cut);

/// Puts a state together from its parts, in whatever order they come. A part of a newer state lets go of
/// those of an older one.
class KOLTA_DISTRIBUTION_EXPORT StateAssembler
{
public:
    explicit StateAssembler(std::size_t maximumBytes) : m_maximumBytes(maximumBytes) {}

    struct State
    {
        quint64 number = 0;
        Snapshot snapshot;
    };
    enum class Progress { Partial, Complete, Broken };
    /// Complete: `state` has been filled. Broken: the parts did not make a state and are forgotten.
    Progress Take(const StatePart& part, State& state);
    bool IsEmpty() const noexcept { return m_parts.empty(); }
    void Clear()
    {
        m_parts.clear();
        m_bytes = 0;
    }

private:
    std::size_t m_maximumBytes;
    quint64 m_number = 0;
    std::size_t m_count = 0;
    std::size_t m_bytes = 0; ///< of all parts that are here
    quint32 m_checksum = 0;
    std::map<quint16, Bytes> m_parts;
};

} // namespace distribution
