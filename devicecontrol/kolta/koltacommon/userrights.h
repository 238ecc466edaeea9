#pragma once

#include <koltacommon/export.h>
#include <usermanagement/activeuserproxy.h>

#include <QFlags>
#include <QMetaType>
#include <QObject>
#include <QString>

Q_DECLARE_METATYPE(Nax::IActiveUserEvent::tagRIGHTEVENT)

namespace Kolta {

/// What the user who is logged in to the installation may do, as far as this library's applications are
/// concerned: the user management's rights as a set of flags.
///
/// Knows nothing of a user until it is registered with Initialize() and hears of one. Lives on the main
/// thread; everything but Instance() and the static look-ups is called there, and the signals are emitted
/// there. A slot may change the rights again: it hears of that at once, before the signals that are still
/// due.
class KOLTA_COMMON_EXPORT UserRights : public QObject, public Nax::IActiveUserEvent
{
    Q_OBJECT

public:
    /// The right's full name in the user management is its key with "VeskManagement." before it.
    enum eManagementRight {
        StartManager = 0x1, // 0x2 is left free on purpose
        AdministrateSubsystem = 0x4,
        TerminateServices = 0x8,
        StartAndStopMcp = 0x10,
        StartAndStopReplayMcp = 0x20,
        StartAndStopScp = 0x40,
        StartAndStopReplayScp = 0x80,
        StartAndStopFfp = 0x100,
        ManageDsc = 0x200,
        ManageShortTime = 0x400,
        StopJobsAndTasks = 0x800,
        ManageConnections = 0x1000,
        ChangeTunerIdStrategy = 0x2000,
        ViewDscResultsInFFP = 0x4000,
        RequestOwnership = 0x8000,
        ForceOwnership = 0x10000,
        ArchiveRecordings = 0x20000,
        DeleteRecordings = 0x40000,
        CommentRecordings = 0x80000,
        ManagePirmIDs = 0x100000,
        ManageProcessingState = 0x200000,
        ExtendLogConfiguration = 0x400000
    };
    Q_DECLARE_FLAGS(eManagementRights, eManagementRight)
    Q_FLAG(eManagementRights)

    /// The process-wide instance, made on first use by whichever thread, also before there is an application
    /// object. It lives until the process ends.
    static UserRights& Instance();

    /// Hears of the active user from now on; when somebody is logged in already, at once.
    void Initialize();
    /// Takes the users from the file `configuration` instead of a running user management. False when it is
    /// refused, which is traced; nobody has any right then.
    bool InitForStandalone(const QString& configuration);
    /// Back to no user and no rights, without a signal, until the next event.
    void Reset();

    /// -1 for no user.
    qint32 GetActiveUserID() const noexcept { return m_activeUserID; }
    /// As the user management has it at this moment.
    QString GetActiveUserName() const;

    /// Whether the user has every one of `rights`.
    bool IsUserAllowedTo(eManagementRights rights) const noexcept { return (m_rights & rights) == rights; }
    /// Whether the user has at least one of `rights`, or `rights` is empty.
    bool IsUserAllowedToDoAnyOf(eManagementRights rights) const noexcept
    {
        return !rights || (m_rights & rights);
    }
    /// How often the user may use the right at a time, as the user management has it at this moment.
    /// Information for the user: nothing here or at a server counts or enforces it, since no process sees all
    /// that the user does.
    int GetRightCount(eManagementRight right) const;

    // Any thread.
    static int GetNumberOfRights();
    /// Empty when there is no such index.
    static QString GetRightNameByIndex(int index, bool withPrefix);
    /// Empty for what is not the value of exactly one right.
    static QString GetRightNameByValue(eManagementRight right, bool withPrefix);
    /// No right (0) when there is no such index.
    static eManagementRight GetRightValueByIndex(int index);

    /// Traces one line per right: its name and whether the user has it.
    void printRights() const;

    /// Called by the user management. False, and nothing else, for events that are none of the enumeration's.
    bool onUpdateRights(tagRIGHTEVENT event) override;

Q_SIGNALS:
    /// Another user than before; -1 and an empty name for none. Comes before the signal of the rights.
    void si_UserChanged(long userID, const QString& userName);
    /// The set of rights is another than before.
    void si_UserRightsChanged(Nax::IActiveUserEvent::tagRIGHTEVENT event);

private:
    UserRights();
    bool GetCurrentRights(const Nax::User& user);
    static QString withPrefixIf(bool withPrefix, const char* key);

    qint32 m_activeUserID = -1;
    eManagementRights m_rights;
};

Q_DECLARE_OPERATORS_FOR_FLAGS(UserRights::eManagementRights)

} // namespace Kolta
