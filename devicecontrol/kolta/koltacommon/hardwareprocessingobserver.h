#pragma once

#include <koltacommon/abstractrgvalueobserver.h>
#include <koltacommon/export.h>
#include <koltacommon/guidindex.h>
#include <koltacommon/modelmetatypes.h>
#include <koltacommon/wholetextwriter.h>

#include <resourcemodel/hwprocessing.h>

#include <QSet>

#include <memory>

namespace Kolta {

/// The client's mirror of one server's list of hardware processing, which clients also write. Each entry
/// belongs to the MCP whose GUID it carries.
///
/// Bound to the server's base path followed by "/ADMINISTRATION/HardwareProcessing". Whoever changes the list
/// here changes the mirror and writes the whole list back; this observer's signals do not tell of that, those
/// of all others do. Where another process has changed the list at the same moment both changes are in it in
/// the end, and the signals tell of that list. Unbound, only the mirror changes. GUIDs are compared as texts,
/// exactly. Lives on the value tree's thread.
class KOLTA_COMMON_EXPORT HardwareProcessingObserver
    : public AbstractRGValueObserver<RESOURCEMANAGEMENT::HWProcessingOverview>,
      public WholeTextWriter
{
    Q_OBJECT

public:
    explicit HardwareProcessingObserver(QObject* parent = nullptr);
    /// Calls init(path) unless `path` is empty.
    explicit HardwareProcessingObserver(const QString& path, QObject* parent = nullptr);
    ~HardwareProcessingObserver() override;

    /// The mirror; good until the next change.
    const RESOURCEMANAGEMENT::HWProcessingOverview& getActiveHWProcessors() const;
    /// The mirror's XML text; the empty text, with a trace line, when it cannot be written.
    QString getActiveHWProcessorsAsString() const;
    /// The first entry with that GUID; null when there is none. Good until the next change.
    const RESOURCEMANAGEMENT::HWProcessing* findActiveHWProcessors(const QString& guid) const;

    /// Appends the entry. Nothing happens when it has no GUID or an entry with that GUID is there; an entry
    /// that cannot be written as XML is traced and not taken. Null is ignored.
    void appendHardwareProcessingInfo(const RESOURCEMANAGEMENT::HWProcessing& entry);
    void appendHardwareProcessingInfo(std::shared_ptr<RESOURCEMANAGEMENT::HWProcessing> entry);
    /// Removes the entry with that GUID, wherever it stands more than once. False, and nothing is written,
    /// when there is none.
    bool removeHardwareProcessingInfo(const QString& guid);
    /// Removes the entries with these GUIDs and writes the list once. False, and nothing is written, when
    /// there are none.
    bool removeHardwareProcessingInfos(const QSet<QString>& guids);
    /// Empties the list.
    void resetHardwareProcessingList();
    /// Removes every entry whose GUID is not among `knownGuids`; entries without GUID stay. The list is
    /// written whether or not anything was removed.
    void synchronizeKnownProcessors(const QSet<QString>& knownGuids);

    void onValueChange(const RESOURCEMANAGEMENT::HWProcessingOverview& oldOverview,
                       const RESOURCEMANAGEMENT::HWProcessingOverview& newOverview) override;
    void onVtDelete() override {}
    void onVtUser() override {}

protected:
    /// Removes from the mirror only.
    bool removeHardwareProcessingInfoNoPersist(const QString& guid);
    /// Writes `overview` into the bound value; nothing happens when nothing is bound. False, with a trace
    /// line and the value unchanged, when it cannot be written as XML.
    bool persistValues(RESOURCEMANAGEMENT::HWProcessingOverview& overview);

private:
    QString mergeTexts(const QString& before, const QString& mine, const QString& valid) const override;
    void onMerged() override { UpdateAll(); }
    bool removeAll(const QSet<QString>& guids);

    struct EntryGuid
    {
        static const QString& of(const RESOURCEMANAGEMENT::HWProcessing& entry) { return entry.GetGUID(); }
    };
    mutable GuidIndex<RESOURCEMANAGEMENT::HWProcessing, EntryGuid> m_index; ///< built on use after a change
};

} // namespace Kolta
