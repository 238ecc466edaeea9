#include "survey.h"

#include <koltacommon/koltaserverinterface.h>

#include <map>

namespace KoltaCli {

Survey::Survey(std::shared_ptr<EmbeddedInstallation> installation, QStringList wanted)
    : m_installation(std::move(installation)), m_wanted(std::move(wanted))
{
}

QVector<Option> Survey::options(const QVector<Option>& own)
{
    return Servers::options(own);
}

std::unique_ptr<Survey> Survey::start(const CommandLine& line)
{
    auto installation = EmbeddedInstallation::look(line);
    if (!installation)
        return nullptr;
    return std::unique_ptr<Survey>(new Survey(std::move(installation), line.values("server")));
}

QVector<SurveyedServer> Survey::servers() const
{
    using Standing = TreeMirror::Standing;
    std::map<QString, SurveyedServer> found;
    const auto isWanted = [this](const QString& name) {
        return m_wanted.isEmpty() || m_wanted.contains(name);
    };
    // Who was asked for and is not there is missing.
    for (const QString& name : m_wanted)
        found[name] = {name, QStringLiteral("missing"), Standing::Gone, -1, std::nullopt};
    const auto branches = mirror() ? mirror()->branches() : QVector<TreeMirror::Branch>();
    for (const TreeMirror::Branch& branch : branches) {
        if (isWanted(branch.name))
            found[branch.name] = {branch.name, branch.state, branch.standing, branch.beatAgeMs, std::nullopt};
    }
    for (Server* const server : m_installation->interfaces()) {
        const QString& name = server->getAddress();
        if (!isWanted(name))
            continue;
        SurveyedServer& entry = found[name];
        if (!mirror())
            entry = {name, QStringLiteral("live"), Standing::Live, -1, std::nullopt};
        entry.figures = ServerFigures::of(*server);
    }
    QVector<SurveyedServer> servers;
    for (const auto& [name, server] : found)
        servers.append(server);
    return servers;
}

} // namespace KoltaCli
