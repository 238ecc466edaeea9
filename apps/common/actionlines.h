#pragma once

#include <koltacommon/eventmodel.h>
#include <koltacommon/ownershipjob.h>
#include <koltacommon/terminationjob.h>

#include <QDateTime>
#include <QString>
#include <QStringList>
#include <QUuid>

namespace Kolta {
class ShortTimeFFPAssignment;
class ShortTimeProfile;
struct ProductionOrder;
} // namespace Kolta

/// \file
/// The lines of `kolta` that do what other programs do: each does the same when it is typed into a POSIX
/// shell or, without the first word, at the prompt of `kolta shell`.

namespace KoltaApps {

/// Makes such lines for one server; for any where `server` is empty.
class ActionLines
{
public:
    explicit ActionLines(const QString& server) : m_server(server) {}

    /// A command, with its words, that changes nothing.
    QString look(const QStringList& words) const { return line(words); }
    /// What the filter lets through of the journal in that file, as a table.
    QString events(const QString& journal, const Kolta::EventFilter& filter) const;
    /// Empty for what no line can say: an order with a record, with a production's GUID or another number of
    /// attempts.
    QString produce(const Kolta::ProductionOrder& order) const;
    /// How the tuner of the same order would be chosen; empty without a class.
    QString explain(const Kolta::ProductionOrder& order) const;
    /// The tuner of an order, without the order; empty when it names neither class nor tuner.
    QString plan(const Kolta::ProductionOrder& order) const;
    /// GUIDs or names, here and below.
    QString stop(const QStringList& processors) const;
    QString stopAll() const;
    QString move(const QString& ffp, const QString& mcp) const;
    /// No processor: the server itself.
    QString own(const QString& processor, Kolta::OwnershipJob::Action action) const;
    QString frontEnd(const QString& processor) const;
    /// `action`: "on", "off", "supply-on" and so on.
    QString power(const QString& action, const QStringList& units) const;
    /// Neither can a line say hopperFlag, nor a type without a name. What is not in use is taken out of use.
    /// `before`: the name that it has so far; empty: that of the profile.
    QString setProfile(const Kolta::ShortTimeProfile& profile, const QString& before = QString()) const;
    QString removeProfiles(const QStringList& names) const;
    QString importProfiles(const QString& file, bool replace) const;
    QString assign(const Kolta::ShortTimeFFPAssignment& assignment) const;
    QString startConversion(const QString& record, const QString& resultType,
                            const QString& production) const;
    QString finishConversion(const QString& record, bool failed, const QString& result) const;
    /// An invalid time: whatever their age.
    QString tidyConversions(int keep, const QDateTime& olderThan, bool failedToo) const;
    /// Of this server, which must have a name.
    QString terminate(Kolta::TerminationJob::Action action) const;

private:
    QString line(const QStringList& words) const;

    const QString m_server;
};

} // namespace KoltaApps
