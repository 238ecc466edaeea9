#pragma once

#include <koltacommon/guidindex.h>
#include <koltacommon/processorledger.h>
#include <koltacommon/tunerbookingmanager.h>

#include <resourcemodel/processors.h>
#include <resourcemodel/resources.h>

#include <QDateTime>
#include <QHash>
#include <QObject>
#include <QPointer>
#include <QStringList>
#include <QVariant>

#include <array>
#include <memory>
#include <vector>

namespace Kolta {

class KoltaServerInterface;
class TunerClassTree;

/// A tuner as views show it.
struct TunerEntry
{
    QString key; ///< the GUID; of the second and later ones with it, its number behind that
    RESOURCEMANAGEMENT::Tuner record;
    QString tunerClass; ///< name; empty when no class lists it
    TunerBookingManager::eTunerState state = TunerBookingManager::eInaccessible;
    QString user;    ///< "MCP 3, operator", or "planned here"; empty when nobody is known
    QString holder;  ///< the same in full
    QDateTime since; ///< when the state began; invalid unless that was seen
    QDateTime seen;  ///< otherwise when it was seen first, so that it began before

    /// What the entry says for a role of ViewRoles.
    QVariant value(int role) const;
};

/// The tuners of one server with all that its parts say about each, for models. Follows the mirrors, the
/// bookings and the running processors, and stands still while the server is away.
class TunerBoard : public QObject
{
    Q_OBJECT

public:
    /// What is wanted besides the states, which cost least.
    enum class Detail { States, ClassesAndUsers };
    static constexpr int kStateCount = 4;

    /// Stands still when the server has died.
    TunerBoard(KoltaServerInterface& server, Detail detail);
    ~TunerBoard() override;

    /// In the order of the overview.
    const std::vector<TunerEntry>& tuners() const noexcept { return m_tuners; }
    const TunerEntry& tuner(int place) const { return m_tuners[static_cast<std::size_t>(place)]; }
    int count(TunerBookingManager::eTunerState state) const
    {
        return m_counts[static_cast<std::size_t>(state)];
    }
    /// Those of the tuners with that GUID, in their order.
    std::vector<int> placesOf(const QString& guid) const;
    /// The classes with their tuners, whose records may be older; null without this detail.
    const TunerClassTree* classes() const noexcept { return m_classes.get(); }

Q_SIGNALS:
    // A receiver may delete this.
    /// The tuners at these places, in their order, are others; the rest, and all keys and classes, are the
    /// same.
    void changed(const std::vector<int>& places);
    /// Anything may be different.
    void rebuilt();

private:
    using State = TunerBookingManager::eTunerState;
    /// Who works with a tuner.
    struct User
    {
        QString processor; ///< GUID
        QString production;
        QString text;
        QString holder;

        bool operator==(const User& other) const
        {
            return processor == other.processor && production == other.production && text == other.text;
        }
    };
    using Users = QHash<QString, User>; ///< by the tuner's GUID

    bool isAway() const;
    void readAll();
    void readResources();
    void readUsers();
    void readClasses();
    void readState(const QString& guid);
    void readLateStates();
    bool takeTuners(const QVector<RESOURCEMANAGEMENT::Tuner>& tuners, std::vector<int>& places);
    void rebuildTuners(const QVector<RESOURCEMANAGEMENT::Tuner>& tuners);
    bool refreshClasses(const std::vector<int>& places);
    void buildClasses();
    Users usersNow() const;
    User userOf(const ProcessorIndex::Processor& processor, const QString& tunerGuid) const;
    bool takeUser(TunerEntry& entry) const;
    bool takeState(TunerEntry& entry);
    State stateOf(const TunerEntry& entry) const;
    std::vector<int> placesOfAll(const QStringList& guids) const;

    const QPointer<KoltaServerInterface> m_server;
    const Detail m_detail;
    QVector<RESOURCEMANAGEMENT::Tuner> m_list; ///< shared with the mirror
    GuidIndex<RESOURCEMANAGEMENT::Tuner> m_index;
    std::vector<TunerEntry> m_tuners;
    std::array<int, kStateCount> m_counts{};
    std::shared_ptr<TunerClassTree> m_classes;
    bool m_hasDefaultClasses = false;
    std::unique_ptr<ProcessorLedger> m_processors;
    Users m_users;
    QStringList m_lateStates; ///< GUIDs whose states are others for the bookings
    bool m_isFirstLook = true;
};

} // namespace Kolta
