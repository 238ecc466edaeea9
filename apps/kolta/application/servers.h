#pragma once

#include "embeddedinstallation.h"

#include <kolta/cli/commandline.h>

#include <QStringList>
#include <QVector>

#include <memory>
#include <optional>

namespace KoltaCli {

using Server = Kolta::KoltaServerInterface;

/// Whether the server has come up.
bool isUp(const Server& server);
/// The places below the server's administrative node, as the library's parts take them.
QString administrationPath(const Server& server);

/// The servers that a command works on: those of its installation, or of these the ones that --server names.
class Servers
{
public:
    /// --installation and --server, with a command's own before them.
    static QVector<Option> options(const QVector<Option>& own = {});
    /// Takes them as they are. Prints an error and gives nothing when there are none.
    static std::optional<Servers> reach(const CommandLine& line);
    /// Takes those that are live and tells which are not; prints an error and gives nothing when none is.
    static std::optional<Servers> start(const CommandLine& line);
    /// The same once they have come up; prints an error when that does not happen in time.
    static std::optional<Servers> startUp(const CommandLine& line);

    const QVector<Server*>& all() const noexcept { return m_servers; }
    /// The single one; prints an error and gives null when there are several, also when the others are not
    /// live: an order must not go to another server because of that.
    Server* only() const;
    QStringList names() const { return namesOf(m_servers); }
    const EmbeddedInstallation& installation() const { return *m_installation; }
    EmbeddedInstallation& installation() { return *m_installation; }

private:
    static QStringList namesOf(const QVector<Server*>& servers);
    static std::optional<Servers> take(std::shared_ptr<EmbeddedInstallation> installation,
                                       const QStringList& wanted);
    bool keepNamed(const QStringList& names);
    void keepLive();
    bool waitUntilUp(int timeoutMs) const;

    std::shared_ptr<EmbeddedInstallation> m_installation;
    QVector<Server*> m_servers;
    QStringList m_chosen; ///< also those that are not live
};

} // namespace KoltaCli
