#include <koltacommon/stopjob.h>

#include <koltacommon/guidtext.h>
#include <koltacommon/koltaprocessorobserver.h>
#include <koltacommon/koltaproductioncontrol.h>
#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/productionjob.h>

#include <algorithm>

namespace Kolta {

StopJob::StopJob(KoltaServerInterface& server, const QVector<QUuid>& guids, QObject* parent)
    : ServerOperation(server, parent)
{
    for (const QUuid& guid : guids)
        m_targets.append({guid, QString(), State::Running, QString()});
}

StopJob* StopJob::all(KoltaServerInterface& server, QObject* parent)
{
    auto* const job = new StopJob(server, {}, parent);
    job->m_all = true;
    return job;
}

void StopJob::ask()
{
    if (m_all)
        collectAll();
    const KoltaProcessorObserver& processors = server()->getProcessorObserver();
    for (Target& target : m_targets) {
        if (target.guid.isNull())
            return refuse(Reason::InvalidOrder, tr("a null GUID names no production"));
        const QString guid = target.guid.toString();
        target.processor = processors.FindProcessor(guid) ? guid : processors.GetGUIDForProductionID(guid);
        expect(target.guid);
    }
    if (m_targets.isEmpty())
        return settleDone();
    setAsked();
    setProgress(tr("waiting for %1 to stop").arg(serverName()));
    askForOpen();
}

void StopJob::collectAll()
{
    for (const QString& id : server()->getProcessorObserver().GetProductionIDs())
        m_targets.append({guidFromText(id), QString(), State::Running, QString()});
}

/// Asks for what is not settled; the answers may come meanwhile and end this.
void StopJob::askForOpen()
{
    if (m_all)
        return server()->getProductionControl().StopAllProductions();
    QList<QUuid> guids;
    for (const Target& target : qAsConst(m_targets)) {
        if (target.state == State::Running)
            guids.append(target.guid);
    }
    server()->getProductionControl().StopProductions(guids);
}

bool StopJob::runs(const Target& target) const
{
    const KoltaProcessorObserver& processors = server()->getProcessorObserver();
    return processors.FindProcessor(target.processor) ||
           !processors.GetGUIDForProductionID(target.guid.toString()).isEmpty();
}

/// Settles the open targets that fulfil the condition, and this with the last of them.
template<class Condition>
void StopJob::settleTargets(State state, const QString& text, Condition condition)
{
    if (isFinished())
        return;
    bool isOpen = false;
    QStringList refusals;
    for (Target& target : m_targets) {
        if (target.state == State::Running && condition(target)) {
            target.state = state;
            target.text = text;
        }
        isOpen = isOpen || target.state == State::Running;
        if (target.state == State::Refused && !refusals.contains(target.text))
            refusals.append(target.text);
    }
    if (isOpen)
        return;
    if (refusals.isEmpty())
        settleDone();
    else
        settle(State::Refused, effectSoFar(), Reason::RefusedByServer, refusals.join(QStringLiteral("; ")));
}

void StopJob::ended(const QUuid& production)
{
    settleTargets(State::Done, QString(), [&](const Target& target) { return target.guid == production; });
}

void StopJob::processorsStopped(const QSet<QString>& processors)
{
    settleTargets(State::Done, QString(),
                  [&](const Target& target) { return processors.contains(target.processor); });
}

void StopJob::statusSaid(const QString& text)
{
    settleTargets(State::Refused, text, [&](const Target& target) {
        return text.contains(target.guid.toString(QUuid::WithoutBraces), Qt::CaseInsensitive);
    });
}

void StopJob::operational(bool on)
{
    if (!wasAsked())
        return;
    m_return.reset();
    m_awaitsReturn = true;
    if (!on)
        return setProgress(tr("waiting for %1 to return").arg(serverName()));
    m_return = ringIn(ProductionJob::kReturnMs, [this] {
        m_awaitsReturn = false;
        settleTargets(State::Done, QString(),
                      [this](const Target& target) { return !target.processor.isEmpty() && !runs(target); });
    });
    askAgain();
}

void StopJob::mirrorChanged(ServerDesk::Mirror mirror)
{
    if (mirror == ServerDesk::Mirror::Processors && m_return)
        askAgain();
}

/// Once after a return, as soon as something shows that it still runs, or could not be seen before either.
void StopJob::askAgain()
{
    const bool isOpen = std::any_of(m_targets.begin(), m_targets.end(), [this](const Target& target) {
        return target.state == State::Running && (target.processor.isEmpty() || runs(target));
    });
    if (m_awaitsReturn && isOpen && desk() && desk()->isConnected()) {
        m_awaitsReturn = false;
        const ServerDesk::Asking asking(*this);
        askForOpen();
    }
}

Operation::Effect StopJob::effectSoFar() const
{
    const bool anyDone = std::any_of(m_targets.begin(), m_targets.end(),
                                     [](const Target& target) { return target.state == State::Done; });
    return anyDone ? Effect::Done : Effect::None;
}

void StopJob::cleanUp()
{
    m_return.reset();
    ServerOperation::cleanUp();
}

} // namespace Kolta
