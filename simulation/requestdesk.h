#pragma once

#include <simulation/commandmemory.h>
#include <simulation/commandrights.h>
#include <simulation/requesthandler.h>

#include <QString>

#include <functional>
#include <unordered_map>

namespace KoltaSimulation {

/// Where the requests of all links of one server come in: counts them, sees to it that a command is executed
/// once, has them answered, and writes down what was ordered.
class RequestDesk
{
public:
    /// Takes one line for people.
    using Tell = std::function<void(const QString& line)>;

    /// All must outlive this.
    RequestDesk(const Installation& installation, const ResourceState& resources,
                ServerStatistics& statistics);

    /// See SimulatedServer::setUsers().
    bool setUsers(const QString& file, QString& error) { return m_rights.load(file, error); }
    const CommandRights& rights() const noexcept { return m_rights; }
    /// Counts a request that has come.
    void count(const XmlCommon::CXmlMessage& request);
    /// The reply to `request`, which came from `peer`; the link's `settings` may change.
    XmlCommon::CXmlMessage answer(const XmlCommon::CXmlMessage& request, const QString& peer,
                                  LinkSettings& settings, const Tell& tell);

private:
    ServerStatistics& m_statistics;
    CommandRights m_rights;
    CommandMemory m_commands;
    RequestHandler m_handler;
    std::unordered_map<quint32, quint64> m_seenIds; ///< one bit per request ID that has come, 64 to an entry
};

} // namespace KoltaSimulation
