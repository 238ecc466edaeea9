#include "profilesaving.h"

#include "profilefields.h"
#include "shorttimemaps.h"

#include <koltacommon/installationevents.h>
#include <koltacommon/maprequestjobs.h>
#include <koltaconsole/session/session.h>
#include <koltaconsole/session/wishwatch.h>

#include <QVector>

#include <algorithm>

namespace KoltaConsole {

using Kolta::Operation;
using Kolta::ShortTimeFFPAssignment;
using Kolta::ShortTimeFFPAssignmentItemMap;
using Kolta::ShortTimeProfile;
using Kolta::ShortTimeProfileItemMap;

ProfileSaving::ProfileSaving(Session& session, const QString& server, const QString& before,
                             const ShortTimeProfile& profile, QObject* parent)
    : QObject(parent), m_session(session), m_server(server), m_before(before), m_profile(profile)
{
}

ShortTimeProfileItemMap* ProfileSaving::profiles() const
{
    return shortTimeMap<ShortTimeProfileItemMap>(m_session, m_server);
}

void ProfileSaving::tellGone()
{
    Q_EMIT si_Ended(tr("%1 has gone; it may have happened").arg(m_server));
}

/// Goes on when the server has decided, and is still there.
void ProfileSaving::decided(const std::function<void(const QString& reason)>& then)
{
    new WishWatch(
        m_session, m_server, profiles()->GetPath(),
        [this, then](const QString& reason) {
            if (profiles())
                then(reason);
            else
                tellGone();
        },
        this);
}

void ProfileSaving::begin()
{
    ShortTimeProfile wanted = m_profile;
    // The type of one that exists is its owner's to change.
    if (profiles()->Contains(wanted.name))
        wanted.type = profiles()->At(wanted.name).type;
    profiles()->SetAt(wanted.name, wanted, nullptr);
    decided([this, wanted](const QString& reason) {
        if (profiles()->Contains(wanted.name) &&
            differingFields(profiles()->At(wanted.name), wanted).isEmpty())
            askForType();
        else
            Q_EMIT si_Ended(reason.isEmpty() ? tr("others have changed it meanwhile") : reason);
    });
}

void ProfileSaving::follow(Operation& operation, const QString& subject, const std::function<void()>& then)
{
    m_session.events().followOperation(operation, m_server, subject);
    operation.deleteWhenFinished();
    operation.then(this, [this, then](const Operation& ended) {
        if (ended.state() != Operation::State::Done && m_problem.isEmpty())
            m_problem = ended.text();
        then();
    });
}

void ProfileSaving::askForType()
{
    if (profiles()->At(m_profile.name).type == m_profile.type)
        return moveAssignments();
    auto* const job = new Kolta::ProfileTypeJob(*profiles(), m_profile.name, m_profile.type, this);
    follow(*job, tr("type of profile %1").arg(m_profile.name), [this] {
        if (m_problem.isEmpty())
            moveAssignments();
        else
            Q_EMIT si_Ended(m_problem);
    });
}

void ProfileSaving::moveAssignments()
{
    if (!isRenaming()) {
        Q_EMIT si_Ended(QString());
        return;
    }
    auto* const map = shortTimeMap<ShortTimeFFPAssignmentItemMap>(m_session, m_server);
    QVector<ShortTimeFFPAssignment> moved;
    if (map) {
        for (const auto& entry : map->data()) {
            if (entry.second.profiles.contains(m_before))
                moved.append(entry.second);
        }
    }
    m_open = moved.size();
    for (ShortTimeFFPAssignment& assignment : moved) {
        assignment.profiles.removeAll(m_profile.name);
        std::replace(assignment.profiles.begin(), assignment.profiles.end(), m_before, m_profile.name);
        auto* const job = new Kolta::AssignmentJob(*map, assignment, this);
        follow(*job, tr("assignment of %1").arg(assignment.ffpGuid), [this] {
            if (--m_open == 0)
                removeOld();
        });
    }
    if (moved.isEmpty())
        removeOld();
}

/// While an FFP still looks for the old one it stays.
void ProfileSaving::removeOld()
{
    if (!profiles())
        return tellGone();
    if (!m_problem.isEmpty()) {
        Q_EMIT si_Ended(tr("%1 is still there: %2").arg(m_before, m_problem));
        return;
    }
    profiles()->EraseAt(m_before);
    decided([this](const QString& reason) {
        Q_EMIT si_Ended(profiles()->Contains(m_before) ? tr("%1 is still there: %2").arg(m_before, reason)
                                                       : QString());
    });
}

} // namespace KoltaConsole
