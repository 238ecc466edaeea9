#include <koltacommon/userrights.h>

#include <startup/mainthread.h>
#include <startup/tracesource.h>

#include <QMetaEnum>

#include <utility>

namespace Kolta {

namespace {

enum eTracePoint : int { eRight = 10 };
constexpr Startup::TraceSource kTrace("devicecontrol/kolta/koltacommon/userrights");

using Nax::ActiveUserProxy;

const QMetaEnum& rightsEnum()
{
    static const QMetaEnum rights = QMetaEnum::fromType<UserRights::eManagementRights>();
    return rights;
}

} // namespace

UserRights::UserRights()
{
    qRegisterMetaType<Nax::IActiveUserEvent::tagRIGHTEVENT>();
    Startup::LiveOnMainThread(this); // whichever thread comes first
}

UserRights& UserRights::Instance()
{
    // Never destroyed, so that static objects may ask it to their end.
    static UserRights* const rights = new UserRights;
    return *rights;
}

void UserRights::Initialize()
{
    ActiveUserProxy::Instance().RegisterCallback(this);
}

bool UserRights::InitForStandalone(const QString& configuration)
{
    return ActiveUserProxy::Instance().SetConfiguration(configuration);
}

void UserRights::Reset()
{
    m_activeUserID = -1;
    m_rights = {};
}

QString UserRights::GetActiveUserName() const
{
    return ActiveUserProxy::Instance().GetActiveUserName();
}

int UserRights::GetRightCount(eManagementRight right) const
{
    return ActiveUserProxy::Instance().GetRightCount(GetRightNameByValue(right, true));
}

int UserRights::GetNumberOfRights()
{
    static const int number = rightsEnum().keyCount();
    return number;
}

QString UserRights::GetRightNameByIndex(int index, bool withPrefix)
{
    return withPrefixIf(withPrefix, rightsEnum().key(index));
}

QString UserRights::GetRightNameByValue(eManagementRight right, bool withPrefix)
{
    return withPrefixIf(withPrefix, rightsEnum().valueToKey(right));
}

UserRights::eManagementRight UserRights::GetRightValueByIndex(int index)
{
    const bool exists = index >= 0 && index < GetNumberOfRights();
    return static_cast<eManagementRight>(exists ? rightsEnum().value(index) : 0);
}

void UserRights::printRights() const
{
    for (int i = 0; i < GetNumberOfRights(); ++i) {
        const bool has = IsUserAllowedTo(GetRightValueByIndex(i));
        kTrace(eRight, QStringLiteral("\t%1: %2")
                           .arg(GetRightNameByIndex(i, false),
                                has ? QStringLiteral("true") : QStringLiteral("false")));
    }
}

bool UserRights::onUpdateRights(tagRIGHTEVENT event)
{
    Nax::User user; // nobody
    bool userChanged = false;
    bool rightsChanged = false;
    switch (event) {
    case eRightsUpdated:
    case eUserUpdated:
        user = ActiveUserProxy::Instance().GetActiveUser();
        rightsChanged = GetCurrentRights(user);
        userChanged = user.id != std::exchange(m_activeUserID, user.id);
        break;
    case eUserLoggedOut:
    case eUserGone:
        userChanged = m_activeUserID != -1;
        rightsChanged = m_rights != eManagementRights();
        Reset();
        break;
    default: // negative numbers, too
        return false;
    }
    if (userChanged)
        Q_EMIT si_UserChanged(user.id, user.name);
    if (rightsChanged)
        Q_EMIT si_UserRightsChanged(event);
    return true;
}

/// Takes over what the user may do; true when the rights are others than before.
bool UserRights::GetCurrentRights(const Nax::User& user)
{
    eManagementRights rights;
    for (int i = 0; i < GetNumberOfRights(); ++i) {
        if (user.rights.value(GetRightNameByIndex(i, true)) > 0)
            rights |= GetRightValueByIndex(i);
    }
    return rights != std::exchange(m_rights, rights);
}

/// The key as a name; empty for null.
QString UserRights::withPrefixIf(bool withPrefix, const char* key)
{
    if (!key)
        return QString();
    return (withPrefix ? QStringLiteral("VeskManagement.") : QString()) + QLatin1String(key);
}

} // namespace Kolta
