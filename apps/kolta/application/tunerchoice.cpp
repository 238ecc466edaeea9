#include "tunerchoice.h"

#include <kolta/cli/output.h>

#include <koltacommon/koltaserverinterface.h>

#include <utility>

namespace KoltaCli {

TunerChoice::TunerChoice(Servers servers, Server& server)
    : m_servers(std::move(servers))
    , m_server(&server)
    , m_tuners(std::make_unique<Kolta::ServerTuners>(server))
{
}

std::optional<TunerChoice> TunerChoice::start(const CommandLine& line)
{
    auto servers = Servers::start(line);
    Server* const server = servers ? servers->only() : nullptr;
    return server ? std::optional(TunerChoice(std::move(*servers), *server)) : std::nullopt;
}

void TunerChoice::printOrigin() const
{
    if (m_tuners->isDefault())
        printLine(QStringLiteral("%1 has no tuner classes; these are made from its tuners and demand classes")
                      .arg(m_server->getAddress()));
}

bool TunerChoice::knowsClass(const QString& name) const
{
    const QString problem = m_tuners->problemOfClass(name);
    if (!problem.isEmpty())
        printError(problem);
    return problem.isEmpty();
}

} // namespace KoltaCli
