#pragma once

#include "servers.h"

#include <koltacommon/servertuners.h>

#include <memory>
#include <optional>

namespace KoltaCli {

/// The one server whose tuners and tuner classes a command works on.
class TunerChoice
{
public:
    /// Its classes and tuners as they are now. Prints an error and gives nothing when there is no such server
    /// or there are several.
    static std::optional<TunerChoice> start(const CommandLine& line);

    Server& server() const { return *m_server; }
    const Kolta::ServerTuners& tuners() const { return *m_tuners; }
    /// Says so when the classes are none of the installation's.
    void printOrigin() const;
    /// Prints an error that names the classes there are when there is none of that name.
    bool knowsClass(const QString& name) const;

private:
    explicit TunerChoice(Servers servers, Server& server);

    Servers m_servers;
    Server* m_server;
    std::unique_ptr<Kolta::ServerTuners> m_tuners;
};

} // namespace KoltaCli
