#pragma once

#include <resourcemodel/resources.h>

#include <QHash>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QVector>

namespace KoltaSimulation {

/// The resources of a server and what was changed in them since somebody last asked.
class ResourceState
{
public:
    /// GUIDs in the order of the changes, each at most once per list.
    struct Changes
    {
        QStringList added;
        QStringList changed;
        QStringList removed;
        bool isEmpty() const { return added.isEmpty() && changed.isEmpty() && removed.isEmpty(); }
    };

    explicit ResourceState(const RESOURCEMANAGEMENT::ResourceOverview& overview);

    const RESOURCEMANAGEMENT::ResourceOverview& overview() const noexcept { return m_overview; }
    /// XML text of the tuner, processing unit or storage unit with that GUID; empty when there is none.
    QString recordXml(const QString& guid) const;

    /// The tuner with that GUID; null when there is none. Good until the next change.
    const RESOURCEMANAGEMENT::Tuner* tuner(const QString& guid) const;

    // The changing operations return whether they changed anything.

    /// A tuner that is held is not made idle.
    bool setTunerIdle(const QString& guid, bool idle);
    bool setTunerAccessible(const QString& guid, bool accessible);
    /// False when its GUID is taken.
    bool addTuner(const RESOURCEMANAGEMENT::Tuner& tuner);
    bool removeTuner(const QString& guid);
    /// Replace the records that have the same GUIDs; GUIDs that are not known are left out.
    bool replaceTuners(const QVector<RESOURCEMANAGEMENT::Tuner>& changed);
    bool replaceProcessingUnits(const QVector<RESOURCEMANAGEMENT::ProcessingUnit>& changed);
    bool replaceStorageUnits(const QVector<RESOURCEMANAGEMENT::StorageUnit>& changed);
    /// Switches power: a tuner without it is not accessible, a unit without it is not registered.
    bool switchUnits(const QStringList& guids, bool on);
    /// A held tuner is never idle, whoever says so, until it is released.
    bool holdTuner(const QString& guid);
    bool releaseTuner(const QString& guid);

    Changes takeChanges();

private:
    enum class List { Tuner, ProcessingUnit, StorageUnit };
    struct Place
    {
        List list;
        int index;
    };
    template<class Record>
    void indexRecords(const QVector<Record>& records, List list);
    void rebuildIndex();
    /// Index of the record in that list, -1 when it is not there.
    int indexIn(List list, const QString& guid) const;
    bool switchUnit(const QString& guid, bool on);
    template<class Record>
    bool replaceRecords(List list, const QVector<Record>& changed, QVector<Record>& records);
    template<class Record>
    Record corrected(Record record) const;
    void noteChanged(const QString& guid);
    void countTuners();

    RESOURCEMANAGEMENT::ResourceOverview m_overview;
    QHash<QString, Place> m_places;
    QSet<QString> m_held; ///< GUIDs of tuners
    Changes m_changes;
    QSet<QString> m_noted; ///< GUIDs in m_changes.added and m_changes.changed
};

} // namespace KoltaSimulation
