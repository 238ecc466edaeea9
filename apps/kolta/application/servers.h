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
    static std::optional<Servers> start(const CommandLine& line);
    /// Takes them once they have come up; prints an error when that does not happen in time.
    static std::optional<Servers> startUp(const CommandLine& line);

    const QVector<Server*>& all() const noexcept { return m_servers; }
    /// The single one; prints an error and gives null when there are several.
    Server* only() const;
    QStringList names() const { return namesOf(m_servers); }
    const EmbeddedInstallation& installation() const { return *m_installation; }
    EmbeddedInstallation& installation() { return *m_installation; }

private:
    static QStringList namesOf(const QVector<Server*>& servers);
    bool keepNamed(const QStringList& names);
    bool waitUntilUp(int timeoutMs) const;

    std::shared_ptr<EmbeddedInstallation> m_installation;
    QVector<Server*> m_servers;
};

} // namespace KoltaCli
