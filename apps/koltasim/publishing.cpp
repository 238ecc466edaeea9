#include "publishing.h"

#include <simulation/audit.h>
#include <simulation/installation.h>
#include <simulation/simulatedserver.h>

#include <koltacommon/guidtext.h>
#include <koltacommon/servernodes.h>

#ifdef KOLTA_WITH_DISTRIBUTION

#include <common/linkoptions.h>

#include <distribution/topics.h>
#include <distribution/treelink.h>
#include <distribution/wishaudit.h>
#include <values/command.h>

namespace {

using distribution::Operation;
using KoltaSimulation::SimulatedServer;

distribution::ServerPlaces clientsPlaces(const QString& base)
{
    using namespace Kolta::ServerNodes;
    return {names(eFolder), names(eRequest, eFolder), names(eWhole), shortTimePath(base)};
}

/// Whether commands on a collection take items away. Several in one may, too; nothing but tidying up makes
/// such.
bool removesItems(const distribution::Bytes& commands)
{
    values::ByteReader in(commands.data(), commands.size());
    values::CommandHeader header;
    while (!in.AtEnd() && values::ReadCommandHeader(in, header) && in.Skip(header.payload)) {
        if (header.id != values::eCommandMapSetAt)
            return true;
    }
    return !in.AtEnd();
}

/// What clients may write, if their users have the rights.
class Door final : public distribution::IWritePolicy
{
public:
    Door(const SimulatedServer& server, const QString& administration)
        : m_server(server)
        , m_administration(administration + QLatin1Char('/'))
        , m_places(administration, clientsPlaces(server.installation().basePath()))
    {
    }
    bool Allows(const Request& request) const override
    {
        return m_places.Allows(request) && objectionTo(request).isEmpty();
    }
    QString WhyNot(const Request& request) const override
    {
        return m_places.Allows(request) ? objectionTo(request) : m_places.WhyNot(request);
    }
    void Execute(const distribution::Writer& writer, const std::function<void()>& wish) override
    {
        const KoltaSimulation::OrdererScope scope(
            {QString::fromStdString(writer.user), distribution::PlaceOf(writer)});
        wish();
    }

private:
    QString objectionTo(const Request& request) const
    {
        using namespace Kolta::ServerNodes;
        if (request.operation == Operation::Remove)
            return QString();
        const QString user = QString::fromStdString(request.writer.user);
        // Collections stand beside the administrative node.
        if (request.operation == Operation::Commands)
            return m_server.rights().objectionToChange(user, request.path.section(QLatin1Char('/'), -1),
                                                       removesItems(request.content));
        const QString node = request.path.mid(m_administration.size());
        const auto* const there = values::Tree::Instance().FindAs<values::StringValue>(request.path);
        const QString text = request.operation == Operation::Announce
                                 ? (there ? there->GetValue() : QString())
                                 : QString::fromStdString(request.content);
        const QString stopped =
            node == name(eStopResource) ? m_server.kindOf(Kolta::guidFromText(text)) : QString();
        return m_server.rights().objectionTo(user, node, text, stopped);
    }

    const SimulatedServer& m_server;
    const QString m_administration;
    const distribution::ServerPolicy m_places;
};

std::optional<distribution::LinkOptions> linkOptionsOf(const Options& options, const QString& branch,
                                                       QString& error)
{
    using namespace distribution;
    const QString objection = branch.isEmpty() ? QString() : WhyNoBranchName(branch);
    if (!objection.isEmpty()) {
        error = QStringLiteral("%1: %2").arg(
            QLatin1String(options.branch.isEmpty() ? "--publish" : "--branch"), objection);
        return std::nullopt;
    }
    auto linkOptions = BrokerAddress::FromCommandLine(options.publish, error)
                           ? KoltaApps::linkOptions(options.publish, error, branch)
                           : std::nullopt;
    if (!linkOptions) {
        error.prepend(QStringLiteral("--publish: "));
        return std::nullopt;
    }
    linkOptions->takeOver = linkOptions->takeOver || options.takeOver;
    return linkOptions;
}

} // namespace

bool canPublish(const Options& options, QString& error)
{
    return options.publish.isEmpty() || linkOptionsOf(options, options.branch, error);
}

std::unique_ptr<QObject> publishTree(const SimulatedServer& server, const Options& options,
                                     const PublishingEvents& events, QString& error)
{
    using namespace distribution;
    const KoltaSimulation::Installation& installation = server.installation();
    const QString branch = options.branch.isEmpty() ? installation.serverName() : options.branch;
    const auto linkOptions = linkOptionsOf(options, branch, error);
    if (!linkOptions)
        return nullptr;

    const QString& base = installation.basePath();
    const QString administration = base + Kolta::ServerNodes::kAdministration;
    const QStringList roots{base, Kolta::ServerNodes::dataPath(base),
                            Kolta::ServerNodes::recordMapPath(base)};

    auto link = std::make_unique<TreeLink>(values::Tree::Instance(), *linkOptions);
    QObject::connect(link.get(), &TreeLink::si_Published, link.get(),
                     [events, wasTold = false](const QString& name) mutable {
                         if (!std::exchange(wasTold, true))
                             events.published(name);
                     });
    QObject::connect(link.get(), &TreeLink::si_PublicationFailed, link.get(),
                     [events](const QString&, PublicationState state, const QString& reason) {
                         events.failed(state != PublicationState::Forbidden, reason);
                     });
    link->publish(branch, roots, Kolta::ServerNodes::path(base, Kolta::ServerNodes::eWorkingState),
                  std::make_unique<Door>(server, administration));
    return link;
}

#else

bool canPublish(const Options& options, QString& error)
{
    error = QStringLiteral("--publish: built without the distribution of value trees (KOLTA_DISTRIBUTION)");
    return options.publish.isEmpty();
}

std::unique_ptr<QObject> publishTree(const KoltaSimulation::SimulatedServer& /*server*/,
                                     const Options& options, const PublishingEvents& /*events*/,
                                     QString& error)
{
    canPublish(options, error);
    return nullptr;
}

#endif
