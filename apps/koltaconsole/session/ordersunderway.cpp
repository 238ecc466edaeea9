#include "ordersunderway.h"

#include <koltacommon/installationevents.h>
#include <koltacommon/productionjob.h>

#include <algorithm>

namespace KoltaConsole {

using Kolta::Operation;
using Kolta::ProductionJob;

namespace {

/// Whether somebody or a rule was against it.
bool isRefusal(Operation::Reason reason)
{
    switch (reason) {
    case Operation::Reason::Unsuitable:
    case Operation::Reason::NoTuner:
    case Operation::Reason::RefusedByServer:
    case Operation::Reason::RefusedByOwner:
    case Operation::Reason::Conflict:
    case Operation::Reason::NotPermitted:
        return true;
    default:
        return false;
    }
}

QString nameOf(const ProductionJob& job)
{
    return job.tuner().GetTavikResource().GetDisplayName();
}

} // namespace

void OrdersUnderWay::follow(ProductionJob& job, const QString& server, const QString& purpose)
{
    m_events.followOperation(job, server, purpose);
    const quint64 number = ++m_last;
    Entry entry;
    entry.number = number;
    entry.server = server;
    entry.order = job.order();
    entry.job = &job;
    entry.began = QDateTime::currentDateTime();
    m_entries.push_back(entry);
    // Which production it is, and on which tuner, is known only then.
    connect(&job, &Operation::progressed, this, [this, number] {
        for (Entry& each : m_entries) {
            if (each.number != number || !each.job)
                continue;
            each.order = each.job->order();
            each.tuner = nameOf(*each.job);
        }
        Q_EMIT si_Changed();
    });
    connect(&job, &QObject::destroyed, this, [this, number] {
        const auto isOpen = [number](const Entry& each) {
            return each.number == number && !each.ended.isValid();
        };
        if (std::any_of(m_entries.begin(), m_entries.end(), isOpen))
            remove(number);
    });
    job.then(this, [this, number](const Operation& operation) { takeEnd(number, operation); });
    Q_EMIT si_Changed();
}

void OrdersUnderWay::takeEnd(quint64 number, const Operation& operation)
{
    if (operation.state() == Operation::State::Done || operation.isCancelled())
        return remove(number);
    for (Entry& each : m_entries) {
        if (each.number != number)
            continue;
        const auto& job = static_cast<const ProductionJob&>(operation);
        each.order = job.order();
        each.tuner = nameOf(job);
        each.job.clear();
        each.ended = QDateTime::currentDateTime();
        each.isRefused = isRefusal(operation.reason());
        each.reason = operation.text();
    }
    Q_EMIT si_Changed();
}

void OrdersUnderWay::remove(quint64 number)
{
    m_entries.erase(std::remove_if(m_entries.begin(), m_entries.end(),
                                   [number](const Entry& each) { return each.number == number; }),
                    m_entries.end());
    Q_EMIT si_Changed();
}

void OrdersUnderWay::forget(const QDateTime& now)
{
    const auto isOld = [&now](const Entry& each) {
        return each.ended.isValid() && each.ended.secsTo(now) > kKeepSeconds;
    };
    m_entries.erase(std::remove_if(m_entries.begin(), m_entries.end(), isOld), m_entries.end());
}

} // namespace KoltaConsole
