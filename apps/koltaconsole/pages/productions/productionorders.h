#pragma once

#include "productionrows.h"

#include <koltacommon/actionrights.h>
#include <koltacommon/ownershipjob.h>

#include <QObject>

namespace Kolta {
class KoltaServerInterface;
class Operation;
} // namespace Kolta

namespace KoltaConsole {

class ProductionsModel;

/// What can be asked for on the page of productions. Whatever was decided before is looked at again when it
/// is asked for: the row may have gone between a click and its confirmation. What is not possible then
/// becomes an event.
class ProductionOrders : public QObject
{
    Q_OBJECT

public:
    ProductionOrders(Session& session, const ProductionsModel& model, QObject* parent);

    // Why not, as a sentence; empty when it can be. Rows are named by their keys.

    QString objectionToStop(const QStringList& keys) const;
    /// To move that row anywhere.
    QString objectionToMove(const QStringList& keys) const;
    QString objectionToMove(const QString& ffp, const QString& mcp) const;
    QString objectionToOwn(const QStringList& keys, Kolta::OwnershipJob::Action action) const;
    QString objectionToFrontEnd(const QStringList& keys) const;

    /// Whether link and rights let FFPs be moved at all.
    bool mayMove() const;

    /// All that would end, those within others too, shown or not, with their owners where those are others.
    QStringList victims(const QStringList& keys) const;
    /// Whether the end hits several, or somebody else's.
    bool isGrave(const QStringList& keys) const;

    void stop(const QStringList& keys);
    void move(const QString& ffp, const QString& mcp);
    void own(const QString& key, Kolta::OwnershipJob::Action action);
    void showFrontEnd(const QString& key);

    // The `kolta` lines that do the same.

    QString stopLine(const QStringList& keys) const;
    QString moveLine(const QString& ffp, const QString& mcp) const;
    QString ownLine(const QString& key, Kolta::OwnershipJob::Action action) const;
    QString frontEndLine(const QString& key) const;

    const ProductionRows::Pending& pending() const noexcept { return m_pending; }

Q_SIGNALS:
    void si_PendingChanged();

private:
    QString objectionTo(const ProductionRow* row, const QVector<Kolta::UserAction>& actions) const;
    QString objectionToChange() const;
    bool refuse(const QString& what, const QString& objection);
    void follow(Kolta::Operation& operation, const ProductionRow& row, const QStringList& keys,
                const QString& doing, const QString& purpose);
    QStringList wordsFor(const QStringList& keys, const QString& server) const;

    Session& m_session;
    const ProductionsModel& m_model;
    ProductionRows::Pending m_pending;
};

} // namespace KoltaConsole
