#pragma once

#include <koltacommon/operation.h>
#include <koltacommon/shorttimeffpassignmentitemmap.h>
#include <koltacommon/shorttimeprofileitemmap.h>

#include <QObject>
#include <QString>

#include <functional>

namespace KoltaConsole {

class Session;

/// One profile on its way to its server, as far as that lets it come: first what was typed, then its type,
/// which is the server's to change. With another name the assignments follow, and only then the old one goes.
class ProfileSaving : public QObject
{
    Q_OBJECT

public:
    /// `before`: the name that it had; empty for a new one.
    ProfileSaving(Session& session, const QString& server, const QString& before,
                  const Kolta::ShortTimeProfile& profile, QObject* parent);

    void begin();
    const QString& server() const noexcept { return m_server; }
    const Kolta::ShortTimeProfile& profile() const noexcept { return m_profile; }
    bool isRenaming() const { return !m_before.isEmpty() && m_before != m_profile.name; }

Q_SIGNALS:
    /// Nothing follows. `problem`: why it is not, or not all of it, as it was wanted; empty: it is.
    void si_Ended(const QString& problem);

private:
    Kolta::ShortTimeProfileItemMap* profiles() const;
    void tellGone();
    void decided(const std::function<void(const QString& reason)>& then);
    void askForType();
    void moveAssignments();
    void follow(Kolta::Operation& operation, const QString& subject, const std::function<void()>& then);
    void removeOld();

    Session& m_session;
    const QString m_server;
    const QString m_before;
    const Kolta::ShortTimeProfile m_profile;
    int m_open = 0;    ///< assignments that have not been answered
    QString m_problem; ///< of the assignments
};

} // namespace KoltaConsole
