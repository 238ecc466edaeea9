#pragma once

#include <koltacommon/apptypes.h>
#include <koltacommon/export.h>
#include <koltacommon/guidindex.h>

#include <resourcemodel/processors.h>

#include <QHash>
#include <QVector>

namespace Kolta {

/// All processors of one overview in one list, in the order in which a walk visits them (a processor before
/// those that it holds, an SCP's FHP included), and found by GUID in constant time.
///
/// Of several processors with one GUID the first counts. The index holds a shared copy of its overview, so
/// its pointers stay good as long as it lives; they point into the overview that it was built from as long as
/// nobody edits that. Copies are cheap. Not thread-safe, not even for reading.
class KOLTA_COMMON_EXPORT ProcessorIndex
{
public:
    struct Processor
    {
        eAppType kind = eAppUnknown;
        int holder = -1; ///< place of the processor that holds it; -1 for SCPs and MCPs
        const REPORTGENERATOR::IRGObject* object = nullptr;
        const RESOURCEMANAGEMENT::KoltaProcessor* record = nullptr;

        const RESOURCEMANAGEMENT::TavikResource& GetTavikResource() const
        {
            return record->GetTavikResource();
        }
        const QString& guid() const { return GetTavikResource().GetGUID(); }
        /// Whether both stand in a part of the overview that did not change: equal then, with what holds
        /// them.
        bool isSameAs(const Processor& other) const { return record == other.record; }
    };

    ProcessorIndex() = default;
    explicit ProcessorIndex(const RESOURCEMANAGEMENT::ProcessorOverview& overview);
    /// The same, making use of the index of an earlier overview that differs little.
    ProcessorIndex(const RESOURCEMANAGEMENT::ProcessorOverview& overview, const ProcessorIndex& earlier);

    /// Whether this is the index of exactly those lists (not of equal ones).
    bool isFor(const RESOURCEMANAGEMENT::ProcessorOverview& overview) const;

    const QVector<Processor>& processors() const noexcept { return m_processors; }
    bool isEmpty() const noexcept { return m_processors.isEmpty(); }
    /// Place of the processor with that GUID, compared as text; -1 when there is none. An empty text finds
    /// nothing. `hint` is where it probably stands.
    int find(const QString& guid, int hint = -1) const;
    /// Whether the processor at that place is the one that its GUID finds: it has a GUID, and no other with
    /// the same one stands before it.
    bool isFirst(int place) const;
    /// GUID of the processor that holds the one at `place`; empty for SCPs and MCPs.
    QString holderGuid(int place) const;
    /// Place of the first SCP, else the first MCP, with that production ID; -1 when there is none.
    int findProduction(const QString& productionId) const;
    /// Places of the processors that the tuner feeds: SCPs and MCPs by their data source, FFPs by their own
    /// tuner GUID.
    QVector<int> findFedBy(const QString& tunerGuid) const;

    /// Whether no GUID occurs twice.
    bool isUnique() const { return m_byGuid.isUnique(); }
    /// Whether the processor at `place` is, unchanged, the one at `otherPlace` of the other index.
    bool isUnchanged(int place, const ProcessorIndex& other, int otherPlace) const
    {
        return otherPlace < other.m_processors.size() &&
               m_processors.at(place).isSameAs(other.m_processors.at(otherPlace));
    }
    /// Whether the processors at both places, this one's and the other's, are of one kind, with equal own
    /// data, and held by processors with equal GUIDs.
    bool sameAt(int place, const ProcessorIndex& other, int otherPlace) const;

private:
    void flatten(int expected);
    void makeIndex(const ProcessorIndex& earlier);
    void makeCrossReferences() const;

    RESOURCEMANAGEMENT::ProcessorOverview m_overview;
    QVector<Processor> m_processors;
    GuidIndex<Processor> m_byGuid;
    mutable bool m_crossReferenced = false; ///< the two below are made on first use
    mutable QHash<QString, int> m_byProduction;
    mutable QHash<QString, QVector<int>> m_byTuner;
};

} // namespace Kolta
