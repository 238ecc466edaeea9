#pragma once

#include "embeddedinstallation.h"

#include <koltacommon/koltaresourceobserver.h>
#include <koltacommon/tunerclassresourceselector.h>
#include <koltacommon/tunerclasstree.h>

#include <QString>
#include <QStringList>

#include <memory>

namespace Kolta {
class TunerBookingManager;
}

namespace KoltaCli {

/// What choosing a tuner works on: the mirrored resources of a server and the tree of its tuner classes or,
/// where it has none, of default classes.
class TunerAllocation
{
public:
    /// The classes and resources as they are now. The server must outlive this.
    explicit TunerAllocation(Kolta::KoltaServerInterface& server);
    /// Those of the first server of an installation. Null when that cannot be read; an error was printed.
    static std::unique_ptr<TunerAllocation> start(const CommandLine& line);

    const Kolta::TunerClassTree& tree() const { return *m_tree; }
    const Kolta::KoltaResourceObserver& resources() const;
    const QString& serverName() const;
    /// The server's plans and bookings.
    Kolta::TunerBookingManager& booking() const;
    /// Every tuner of the class in the order of choice; those that are planned are refused.
    Kolta::TunerSelection explain(const QString& className, const QStringList& storages = {}) const;
    /// One that chooses among these.
    Kolta::TunerClassResourceSelector selector() const;
    /// Whether the classes are default ones.
    bool isDefault() const { return m_isDefault; }
    /// Says so; prints nothing for classes that the installation has.
    void printOrigin() const;
    /// Empty when there is a class of that name; else a text that names the classes there are.
    QString problemOfClass(const QString& name) const;
    /// Prints an error that names the classes there are when there is none of that name.
    bool knowsClass(const QString& name) const;

private:
    std::shared_ptr<EmbeddedInstallation> m_installation; ///< null without start()
    Kolta::KoltaServerInterface& m_server;
    std::shared_ptr<Kolta::TunerClassTree> m_tree;
    bool m_isDefault = false;
};

} // namespace KoltaCli
