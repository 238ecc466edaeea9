#include <simulation/commandrights.h>

namespace KoltaSimulation {

bool CommandRights::load(const QString& file, QString& error)
{
    m_asked = true;
    return m_users.load(file, error);
}

QString CommandRights::rightFor(const QString& component)
{
    // Whoever may put recordings away may make them; everything else is the administrators'.
    return component == QLatin1String("Recording") ? QStringLiteral("VeskManagement.ArchiveRecordings")
                                                   : QStringLiteral("VeskManagement.AdministrateSubsystem");
}

bool CommandRights::allow(const QString& user, const QString& component) const
{
    if (!m_asked)
        return true;
    const Nax::User* const known = m_users.findByName(user);
    return known && known->rights.contains(rightFor(component));
}

} // namespace KoltaSimulation
