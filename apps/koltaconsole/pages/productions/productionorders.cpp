#include "productionorders.h"

#include "productionsmodel.h"

#include <common/actionlines.h>
#include <koltacommon/frontendstart.h>
#include <koltacommon/guidtext.h>
#include <koltacommon/installationevents.h>
#include <koltacommon/koltaproductioncontrol.h>
#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/movejob.h>
#include <koltacommon/stopjob.h>
#include <koltacommon/viewtime.h>
#include <koltaconsole/session/runningprocessors.h>
#include <koltaconsole/session/serverfacts.h>
#include <koltaconsole/session/session.h>

#include <QMap>
#include <QSet>

namespace KoltaConsole {

using Kolta::OwnershipJob;
using Kolta::UserAction;

namespace {

bool isForced(OwnershipJob::Action action)
{
    return action == OwnershipJob::Action::ForceTake || action == OwnershipJob::Action::ForceRelease;
}

UserAction actionOf(OwnershipJob::Action action)
{
    if (isForced(action))
        return UserAction::ForceOwnership;
    return action == OwnershipJob::Action::Take ? UserAction::TakeOwnership : UserAction::ReleaseOwnership;
}

/// As a sentence of its own.
QString sentence(QString text)
{
    if (!text.isEmpty())
        text[0] = text.at(0).toUpper();
    return text.endsWith(QLatin1Char('.')) || text.isEmpty() ? text : text + QLatin1Char('.');
}

} // namespace

ProductionOrders::ProductionOrders(Session& session, const ProductionsModel& model, QObject* parent)
    : QObject(parent), m_session(session), m_model(model)
{
}

QString ProductionOrders::objectionToChange() const
{
    if (m_session.isReadOnly())
        return m_session.whyReadOnly();
    return m_session.link().isUp ? QString() : tr("It needs the link to the broker.");
}

QString ProductionOrders::objectionTo(const ProductionRow* row, const QVector<UserAction>& actions) const
{
    if (!row)
        return tr("Nothing is selected.");
    if (row->kind == ProductionRow::Kind::Ended)
        return tr("%1 has ended.").arg(row->name);
    if (row->kind == ProductionRow::Kind::Ordered)
        return row->lookInFull.isEmpty() ? tr("%1 does not run yet.").arg(row->name)
                                         : tr("%1 does not run: %2.").arg(row->name, row->lookInFull);
    if (!row->isRunning())
        return tr("That is no processor.");
    if (row->isStale || !m_session.isThere(row->server))
        return tr("%1 is away; %2 is what was known last.").arg(row->server, row->name);
    if (m_pending.contains(row->key))
        return tr("%1: %2.").arg(row->name, m_pending.value(row->key).inFull);
    return m_session.areUsersKnown() ? sentence(Kolta::objectionTo(actions)) : QString();
}

QString ProductionOrders::objectionToStop(const QStringList& keys) const
{
    if (keys.isEmpty())
        return tr("Nothing is selected.");
    for (const QString& key : keys) {
        const ProductionRow* const row = m_model.find(key);
        const QVector<UserAction> actions =
            row ? QVector<UserAction>{Kolta::actionToRun(row->type)} : QVector<UserAction>();
        if (const QString objection = objectionTo(row, actions); !objection.isEmpty())
            return objection;
    }
    return QString();
}

QString ProductionOrders::objectionToMove(const QStringList& keys) const
{
    if (keys.size() > 1)
        return tr("One FFP is moved at a time.");
    const ProductionRow* const row = keys.isEmpty() ? nullptr : m_model.find(keys.first());
    const QString objection = objectionTo(row, {UserAction::MoveFfp});
    if (objection.isEmpty() && row->type != QLatin1String("FFP"))
        return tr("Only FFPs can be moved.");
    return objection;
}

QString ProductionOrders::objectionToMove(const QString& ffp, const QString& mcp) const
{
    const QString objection = objectionToMove(QStringList(ffp));
    const ProductionRow* const target = m_model.find(mcp);
    if (objection.isEmpty() && !target)
        return tr("The MCP has gone.");
    return objection.isEmpty() ? sentence(KoltaConsole::objectionToMove(*m_model.find(ffp), *target))
                               : objection;
}

QString ProductionOrders::objectionToOwn(const QStringList& keys, OwnershipJob::Action action) const
{
    if (keys.size() > 1)
        return tr("One processor is taken at a time.");
    const ProductionRow* const row = keys.isEmpty() ? nullptr : m_model.find(keys.first());
    const QString objection = objectionTo(row, {actionOf(action)});
    if (!objection.isEmpty())
        return objection;
    const bool takes = action == OwnershipJob::Action::Take || action == OwnershipJob::Action::ForceTake;
    if (takes && row->isMine)
        return tr("%1 is operated from here already.").arg(row->name);
    if (action == OwnershipJob::Action::Release && !row->isMine)
        return tr("%1 is not operated from here.").arg(row->name);
    if (action == OwnershipJob::Action::ForceTake && row->owner.isEmpty())
        return tr("Nobody operates %1; asking is enough.").arg(row->name);
    return QString();
}

/// What would be started is today's, and not of a recording.
QString ProductionOrders::objectionToFrontEnd(const QStringList& keys) const
{
    if (m_session.replay())
        return m_session.whyReadOnly();
    if (keys.size() > 1)
        return tr("One front end is started at a time.");
    const ProductionRow* const row = keys.isEmpty() ? nullptr : m_model.find(keys.first());
    const QString objection = objectionTo(row, {UserAction::ShowFrontEnd});
    if (!objection.isEmpty())
        return objection;
    QString type, address;
    const auto& control = m_session.server(row->server)->getProductionControl();
    return control.getDriverTypeAndAddress(row->guid, type, address)
               ? QString()
               : tr("%1 has no driver that tells how it is reached.").arg(row->name);
}

bool ProductionOrders::mayMove() const
{
    return objectionToChange().isEmpty() &&
           (!m_session.areUsersKnown() || Kolta::objectionTo(UserAction::MoveFfp).isEmpty());
}

QStringList ProductionOrders::victims(const QStringList& keys) const
{
    QStringList result;
    const QSet<QString> wanted(keys.begin(), keys.end());
    int within = -1; // how deep the one stands that ends with all it holds
    for (const RunningProcessor& processor : runningProcessors(m_session)) {
        if (within < 0 || processor.depth <= within)
            within = wanted.contains(processor.key) ? processor.depth : -1;
        if (within < 0)
            continue;
        result.append(processor.owner.isEmpty() || processor.isMine
                          ? tr("%1 on %2").arg(processor.name, processor.server)
                          : tr("%1 on %2, %3").arg(processor.name, processor.server, processor.ownerInFull));
    }
    return result;
}

bool ProductionOrders::isGrave(const QStringList& keys) const
{
    if (victims(keys).size() > 1)
        return true;
    const ProductionRow* const row = keys.isEmpty() ? nullptr : m_model.find(keys.first());
    return row && !row->owner.isEmpty() && !row->isMine;
}

bool ProductionOrders::refuse(const QString& what, const QString& objection)
{
    const QString change = objectionToChange();
    const QString& reason = change.isEmpty() ? objection : change;
    if (reason.isEmpty())
        return false;
    m_session.tellRefusal(what, reason);
    return true;
}

/// Marks the rows until the operation has ended. The session tells of an end that is none.
void ProductionOrders::follow(Kolta::Operation& operation, const ProductionRow& row, const QStringList& keys,
                              const QString& doing, const QString& purpose)
{
    m_session.events().followOperation(operation, row.server, purpose);
    const QString text = tr("%1 since %2").arg(doing, timeText(Kolta::ViewTime::now()));
    for (const QString& key : keys)
        m_pending.insert(key, {doing, text});
    operation.deleteWhenFinished();
    operation.then(this, [this, keys](const Kolta::Operation&) {
        for (const QString& key : keys)
            m_pending.remove(key);
        Q_EMIT si_PendingChanged();
    });
    Q_EMIT si_PendingChanged();
}

void ProductionOrders::stop(const QStringList& keys)
{
    if (refuse(tr("stop"), objectionToStop(keys)))
        return;
    QMap<QString, QStringList> byServer;
    for (const QString& key : keys)
        byServer[m_model.find(key)->server].append(key);
    for (auto server = byServer.cbegin(); server != byServer.cend(); ++server) {
        QVector<QUuid> guids;
        QStringList names;
        for (const QString& key : server.value()) {
            const ProductionRow& row = *m_model.find(key);
            const QUuid production = Kolta::guidFromText(row.production);
            guids.append(production.isNull() ? Kolta::guidFromText(row.guid) : production);
            names.append(row.name);
        }
        const ProductionRow row = *m_model.find(server.value().first());
        auto* const job = new Kolta::StopJob(*m_session.server(server.key()), guids, this);
        follow(*job, row, server.value(), tr("stopping"),
               tr("stop %1").arg(names.join(QStringLiteral(", "))));
    }
}

void ProductionOrders::move(const QString& ffp, const QString& mcp)
{
    if (refuse(tr("move"), objectionToMove(ffp, mcp)))
        return;
    const ProductionRow row = *m_model.find(ffp);
    const ProductionRow* const target = m_model.find(mcp);
    auto* const job = new Kolta::MoveJob(*m_session.server(row.server), Kolta::guidFromText(row.guid),
                                         Kolta::guidFromText(target->guid), this);
    follow(*job, row, {ffp}, tr("moving"), tr("move %1 to %2").arg(row.name, target->name));
}

void ProductionOrders::own(const QString& key, OwnershipJob::Action action)
{
    if (refuse(tr("ownership"), objectionToOwn(QStringList(key), action)))
        return;
    const ProductionRow row = *m_model.find(key);
    auto* const job = new OwnershipJob(*m_session.server(row.server), row.guid, action, this);
    follow(*job, row, {key}, tr("asking"), tr("ownership of %1").arg(row.name));
}

void ProductionOrders::showFrontEnd(const QString& key)
{
    const QString objection = objectionToFrontEnd(QStringList(key));
    if (!objection.isEmpty()) {
        m_session.tell(tr("front end: %1").arg(objection), Kolta::Event::Weight::Attention);
        return;
    }
    const ProductionRow& row = *m_model.find(key);
    Kolta::FrontEndStart start;
    QString problem = tr("its driver tells nothing that could be started");
    if (m_session.server(row.server)
            ->getProductionControl()
            .findGuiStartParameters(Kolta::guidFromText(row.guid), start.executable, start.arguments,
                                    start.workingDirectory))
        problem = start.runOnItsOwn();
    if (problem.isEmpty())
        m_session.tell(tr("front end of %1 started").arg(row.name), Kolta::Event::Weight::Note);
    else
        m_session.tell(tr("front end of %1 cannot be started: %2").arg(row.name, problem),
                       Kolta::Event::Weight::Attention);
}

QString ProductionOrders::stopLine(const QStringList& keys) const
{
    QSet<QString> servers;
    for (const QString& key : keys) {
        if (const ProductionRow* const row = m_model.find(key))
            servers.insert(row->server);
    }
    const QString server = servers.size() == 1 ? *servers.begin() : QString();
    const QStringList words = wordsFor(keys, server);
    return words.isEmpty() ? QString() : KoltaApps::ActionLines(server).stop(words);
}

QString ProductionOrders::moveLine(const QString& ffp, const QString& mcp) const
{
    const ProductionRow* const from = m_model.find(ffp);
    if (!from || !m_model.find(mcp))
        return QString();
    const QStringList words = wordsFor({ffp, mcp}, from->server);
    return KoltaApps::ActionLines(from->server).move(words.at(0), words.at(1));
}

QString ProductionOrders::ownLine(const QString& key, OwnershipJob::Action action) const
{
    const ProductionRow* const row = m_model.find(key);
    return row ? KoltaApps::ActionLines(row->server).own(wordsFor({key}, row->server).first(), action)
               : QString();
}

QString ProductionOrders::frontEndLine(const QString& key) const
{
    const ProductionRow* const row = m_model.find(key);
    return row ? KoltaApps::ActionLines(row->server).frontEnd(wordsFor({key}, row->server).first())
               : QString();
}

/// Their names, or their GUIDs where names do not tell them from all others that such a line could mean.
QStringList ProductionOrders::wordsFor(const QStringList& keys, const QString& server) const
{
    const QVector<RunningProcessor> running = runningProcessors(m_session, server);
    QStringList words;
    for (const QString& key : keys) {
        if (const ProductionRow* const row = m_model.find(key))
            words.append(meantBy(row->name, server, running) == QStringList(key) ? row->name : row->guid);
    }
    return words;
}

} // namespace KoltaConsole
