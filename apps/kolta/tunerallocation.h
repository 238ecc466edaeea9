#pragma once

#include "embeddedinstallation.h"

#include <koltacommon/koltaresourceobserver.h>
#include <koltacommon/tunerclasstree.h>

#include <QString>

#include <memory>

namespace KoltaCli {

/// What the commands on tuner classes work on: the mirrored resources of an embedded installation and the
/// tree of its tuner classes or, where it has none, of default classes.
class TunerAllocation
{
public:
    /// Null when the installation cannot be read; an error was printed.
    static std::unique_ptr<TunerAllocation> start(const CommandLine& line);

    const Kolta::TunerClassTree& tree() const { return *m_tree; }
    const Kolta::KoltaResourceObserver& resources() const { return m_resources; }
    const QString& serverName() const { return m_installation->server().installation().serverName(); }
    /// Whether the classes are default ones.
    bool isDefault() const { return m_isDefault; }
    /// Says so; prints nothing for classes that the installation has.
    void printOrigin() const;
    /// Prints an error that names the classes there are when there is none of that name.
    bool knowsClass(const QString& name) const;

private:
    explicit TunerAllocation(std::shared_ptr<EmbeddedInstallation> installation);
    bool makeTree();

    std::shared_ptr<EmbeddedInstallation> m_installation;
    Kolta::KoltaResourceObserver m_resources;
    std::shared_ptr<Kolta::TunerClassTree> m_tree;
    bool m_isDefault = false;
};

} // namespace KoltaCli
