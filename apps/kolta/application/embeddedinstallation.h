#pragma once

#include "temporaryconfiguration.h"
#include "treemirror.h"

#include <common/endpoint.h>
#include <kolta/cli/command.h>

#include <koltacommon/servernodes.h>
#include <simulation/installation.h>
#include <simulation/simulatedserver.h>

#include <QString>
#include <QVector>

#include <memory>
#include <optional>
#include <vector>

namespace Kolta {
class KoltaServerInterface;
}

namespace KoltaCli {

/// Where a command that looks at an installation gets its servers and its value tree from: from other
/// processes whose tree is mirrored here, or else from simulated servers inside the process, published in the
/// process-wide value tree while this object lives. Of these nothing goes over the network unless the command
/// calls listen() of a server. Within a shell all commands get the shell's.
///
/// Observers must be declared behind the installation, so that they die first.
class EmbeddedInstallation
{
public:
    ~EmbeddedInstallation();
    EmbeddedInstallation(const EmbeddedInstallation&) = delete;
    EmbeddedInstallation& operator=(const EmbeddedInstallation&) = delete;

    /// --installation, which may be given several times: one server each; --tree and what belongs to it;
    /// before them a command's own.
    static QVector<Option> options(const QVector<Option>& own = {});
    /// The one that is shared, or else the tree that TreeMirror::urlOf() names, or else one that is loaded
    /// and published as --installation says; without that option it is told that the servers are simulated.
    /// Prints an error and gives null when that fails, and when an option asks for another than the shared
    /// one.
    static std::shared_ptr<EmbeddedInstallation> start(const CommandLine& line);
    /// The same, of which only these servers are needed; all when none is named. Of a tree's servers those
    /// that are not live are told, and it fails when none is.
    static std::shared_ptr<EmbeddedInstallation> startFor(const CommandLine& line, const QStringList& wanted);
    /// The same; but takes the servers of a tree as they are, and fails when there are none.
    static std::shared_ptr<EmbeddedInstallation> reach(const CommandLine& line);
    static std::shared_ptr<EmbeddedInstallation> reachFor(const CommandLine& line, const QStringList& wanted);
    /// The same, but does without any.
    static std::shared_ptr<EmbeddedInstallation> look(const CommandLine& line);
    /// A simulated one, without a word about it.
    static std::shared_ptr<EmbeddedInstallation> simulate(const CommandLine& line);

    /// Makes this the one that start() gives to everybody for as long as it lives.
    static void share(const std::shared_ptr<EmbeddedInstallation>& installation);
    static bool isShared();
    /// And its servers are mirrored.
    static bool isMirrorShared();
    /// Where a server of the shared installation listens; null for a name that none has, and for one that
    /// does not listen.
    static std::optional<KoltaApps::Endpoint> endpointOf(const QString& serverName);
    /// While this lives the shared installation, if there is one, is neither published nor shared, and nobody
    /// knows its servers: for a command that publishes and shares an installation of its own.
    class Withdrawal
    {
    public:
        Withdrawal();
        ~Withdrawal();
        Withdrawal(const Withdrawal&) = delete;
        Withdrawal& operator=(const Withdrawal&) = delete;

    private:
        std::shared_ptr<EmbeddedInstallation> m_withdrawn;
    };

    /// Whether the servers are simulated in this process, and not mirrored.
    bool isSimulated() const noexcept { return !m_mirror; }
    /// See TreeMirror::settle(); at once where the servers are simulated here.
    QString settle(int milliseconds) const { return m_mirror ? m_mirror->settle(milliseconds) : QString(); }
    /// Null while the servers are simulated.
    TreeMirror* treeMirror() const noexcept { return m_mirror.get(); }
    /// The simulated ones in the order of the command line; at least one, unless they are mirrored.
    const std::vector<std::unique_ptr<KoltaSimulation::SimulatedServer>>& servers() const
    {
        return m_servers;
    }
    /// What an application has of these servers, in the same order; made on first use and kept, with plans
    /// and mirrors, until this dies. The one place from which commands get the servers that they work on.
    QVector<Kolta::KoltaServerInterface*> interfaces();
    /// The first simulated one.
    KoltaSimulation::SimulatedServer& server() const { return *m_servers.front(); }
    /// The name of the first server that is there; empty when none is.
    QString firstName() const { return firstNode().name; }
    /// Where the files of the first one lie; those of the sample, its users for instance, where the servers
    /// are mirrored.
    const QString& folder() const noexcept { return m_folder; }

    /// Binds an observer to an administrative node of the first server. Prints an error and gives false when
    /// the node is not there, or when its first text is none that the observer understands.
    template<class Observer>
    bool mirror(Observer& observer, Kolta::ServerNodes::eNode node) const
    {
        QString error;
        const auto watch = QObject::connect(&observer, &Observer::si_ParsingError,
                                            [&error](const QString& text) { error = text; });
        const bool bound = observer.init(Kolta::ServerNodes::path(firstNode().basePath, node));
        QObject::disconnect(watch);
        return report(bound, Kolta::ServerNodes::name(node), error);
    }

private:
    EmbeddedInstallation() = default;
    using MirrorStart = std::unique_ptr<TreeMirror> (*)(const CommandLine& line, const QStringList& wanted);
    static std::shared_ptr<EmbeddedInstallation> startWith(const CommandLine& line, const QStringList& wanted,
                                                           MirrorStart startMirror);
    struct Node
    {
        QString name;
        QString basePath;
        bool isLive = true;
    };
    QVector<Node> nodes() const;
    Node firstNode() const;
    bool add(const QString& folder);
    void publish() const;
    void forgetInterfaces() const;
    bool report(bool bound, const QString& name, const QString& error) const;

    /// While the servers are simulated; who looks at an installation is the user, with users and passwords of
    /// the user's configuration.
    std::optional<TemporaryConfiguration> m_configuration;
    QString m_folder;
    std::unique_ptr<TreeMirror> m_mirror; ///< null while the servers are simulated
    std::vector<std::unique_ptr<KoltaSimulation::SimulatedServer>> m_servers;
};

} // namespace KoltaCli
