#pragma once

#include <usermanagement/export.h>
#include <usermanagement/userdirectory.h>

#include <QObject>
#include <QString>

#include <memory>
#include <mutex>
#include <optional>
#include <vector>

class QFileSystemWatcher;
class QTimer;

namespace Nax {

/// Hears that the active user or the user's rights have changed. The destructor deregisters it, also in the
/// middle of a call.
class KOLTA_USERMANAGEMENT_EXPORT IActiveUserEvent
{
public:
    enum tagRIGHTEVENT : int {
        eRightsUpdated = 0, ///< the same user may do other things than before
        eUserUpdated = 1,   ///< somebody has logged in, or the user is called otherwise
        eUserLoggedOut = 5, ///< nobody is logged in any more
        eUserGone = 6       ///< the user who was logged in does not exist any more; nobody is logged in
    };

    virtual ~IActiveUserEvent();
    /// Called on the main thread. May register and destroy callbacks, itself included, and change who is
    /// logged in. True when the event meant something to the callback.
    virtual bool onUpdateRights(tagRIGHTEVENT event) = 0;

protected:
    IActiveUserEvent() = default;
    /// Copies are not registered.
    IActiveUserEvent(const IActiveUserEvent&) {}
    IActiveUserEvent& operator=(const IActiveUserEvent&) { return *this; }

private:
    friend class ActiveUserProxy;
    bool m_registered = false;
};

/// What a process knows of the user who is logged in to the installation.
///
/// Here the users come from a file (see UserDirectory) instead of a running user management. The file is read
/// again when it changes on disk. A file that cannot be read or parsed is refused with a trace line that
/// names the file, the line and what was expected; then nobody is logged in and nobody has any right.
///
/// Callbacks are called on the main thread only, and registered and destroyed there. All else may be called
/// from any thread; what it changes is told at once on the main thread, through its event loop from others.
class KOLTA_USERMANAGEMENT_EXPORT ActiveUserProxy : public QObject
{
    Q_OBJECT

public:
    /// The process-wide instance, made on first use. It lives until the process ends.
    static ActiveUserProxy& Instance();

    /// -1 while nobody is logged in.
    qint32 GetActiveUserID() const;
    /// Empty while nobody is logged in.
    QString GetActiveUserName() const;
    /// ID, name and rights of one moment; a default-made user while nobody is logged in.
    User GetActiveUser() const;
    /// Whether the active user holds the right of that full name, "VeskManagement.StartManager" for instance.
    bool HasRight(const QString& fullName) const;
    /// How often the active user may use the right at a time; 0 for a right that is not held. Anything above
    /// 0 grants it; the number is for people to read.
    int GetRightCount(const QString& fullName) const;
    /// Takes the users from `file` from now on, and logs in whom it says to be logged in. An empty name
    /// stands for no users. False when the file is refused, see ConfigurationError().
    bool SetConfiguration(const QString& file);
    /// Calls `callback` from now on, which is not owned; when somebody is logged in, at once. Callbacks are
    /// called in the order of their registration. Null and those that are registered already are ignored.
    void RegisterCallback(IActiveUserEvent* callback);

    // What a running user management does by itself.

    /// Logs a user of the file in instead of the one before. Nothing changes, and the result is false, when
    /// there is none of that name. Holds for this process; the file stays as it is.
    bool LogIn(const QString& userName);
    void LogOut();
    /// Reads the file again. Somebody who was logged in here stays so unless the file logs in somebody else
    /// than before or no longer knows that user. False when the file is refused.
    bool Reload();
    /// Why the file was refused; empty while it is good.
    QString ConfigurationError() const;
    /// In the order of the file.
    QStringList GetUserNames() const;

private:
    friend class IActiveUserEvent;

    ActiveUserProxy();
    ~ActiveUserProxy() override;
    bool readFile();
    void become(const User* user, IActiveUserEvent::tagRIGHTEVENT whenNobody,
                std::unique_lock<std::mutex> lock);
    void callAll(IActiveUserEvent::tagRIGHTEVENT event, quint64 number);
    void deregister(const IActiveUserEvent* callback);
    void watchFile();

    mutable std::mutex m_mutex; ///< guards the fields down to m_changes
    QString m_file;
    UserDirectory m_users;
    User m_active;
    std::optional<QString>
        m_loggedInByFile; ///< its last entry; none before it was read and once it was refused
    QString m_error;
    quint64 m_changes = 0; ///< numbers the events

    // Main thread only.
    std::vector<IActiveUserEvent*> m_callbacks; ///< null where one has gone during a call
    int m_depth = 0;                            ///< calls that run
    quint64 m_told = 0;                         ///< number of the newest event that was told
    std::unique_ptr<QFileSystemWatcher> m_watcher;
    std::unique_ptr<QTimer> m_settled; ///< runs out when a changed file has been left alone for a moment
};

} // namespace Nax
