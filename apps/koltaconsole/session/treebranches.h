#pragma once

#include "serverfacts.h"

#include <koltacommon/linksmodel.h>

#include <QHash>
#include <QObject>

#include <cstddef>

namespace distribution {
class TreeLink;
enum class BranchState;
} // namespace distribution

namespace KoltaConsole {

/// The line to the broker and the branches behind it, with their figures since this was made.
class TreeBranches : public QObject, public Kolta::IBranchSource
{
    Q_OBJECT

public:
    /// `link` outlives this.
    TreeBranches(distribution::TreeLink& link, const QString& broker);

    QVector<Kolta::BranchFigures> branches() const override;
    /// Those that are not as they should be, by name.
    QHash<QString, SeenBranch> odd() const;
    /// Changes made here that the branch's owner has not decided on.
    std::size_t openWishes(const QString& branch) const;

private:
    struct Past
    {
        QDateTime liveSince; ///< invalid: it is not live
        bool wasLive = false;
        int reconnections = 0;
        QString lastFault;
        QDateTime lastFaultAt;

        void fail(const QString& fault);
    };

    static void enter(Past& past, bool isLive, const QString& fault);
    void takeBranch(const QString& name, distribution::BranchState state);

    distribution::TreeLink& m_link;
    const QString m_broker;
    Past m_line;
    QHash<QString, Past> m_pasts;
};

} // namespace KoltaConsole
