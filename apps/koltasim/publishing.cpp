#include "publishing.h"

#include <simulation/installation.h>

#ifdef KOLTA_WITH_DISTRIBUTION

#include <distribution/treelink.h>

std::unique_ptr<QObject> publishTree(const KoltaSimulation::Installation& installation,
                                     const Options& options, const PublishingEvents& events, QString& error)
{
    using namespace distribution;
    const QString branch = options.branch.isEmpty() ? installation.serverName() : options.branch;
    auto linkOptions = BrokerAddress::FromCommandLine(options.publish, error)
                           ? LinkOptions::FromConfiguration(options.publish, error, branch)
                           : std::nullopt;
    if (!linkOptions)
        return nullptr;
    linkOptions->takeOver = linkOptions->takeOver || options.takeOver;

    const QString base = installation.basePath();
    const QString administration = base + QStringLiteral("/ADMINISTRATION");
    QStringList roots{base};
    for (const char* const tree : {"DataTree", "RecordMapTree"})
        roots.append(QString(base).replace(QLatin1String("/AdminTree/"),
                                           QStringLiteral("/%1/").arg(QLatin1String(tree))));

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
    link->publish(branch, roots, administration + QStringLiteral("/WorkingState"),
                  std::make_unique<ServerPolicy>(administration));
    return link;
}

#else

std::unique_ptr<QObject> publishTree(const KoltaSimulation::Installation& /*installation*/,
                                     const Options& /*options*/, const PublishingEvents& /*events*/,
                                     QString& error)
{
    error = QStringLiteral("--publish: built without the distribution of value trees (KOLTA_DISTRIBUTION)");
    return nullptr;
}

#endif
