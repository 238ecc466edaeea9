#pragma once

#include "servers.h"

#include <QMultiHash>
#include <QString>
#include <QUuid>
#include <QVector>

namespace KoltaCli {

/// A running processor as people and programs are told of it.
struct ProcessorEntry
{
    Server* server = nullptr;
    QString guid; ///< as the server writes it
    QString name;
    QString kind;       ///< class name, "MCP" for instance
    QString production; ///< GUID; empty for a processor within another
    QString mcp;        ///< GUID of the MCP that it is in; empty for what is in none
    QString tuner;      ///< GUID; empty for none
    QString demandClass;
    QString unit; ///< GUID of the processing unit
    double frequency = 0.0;
    double bandwidth = 0.0;
    int depth = 0; ///< how many processors it is within
};

/// All that runs on some servers at one moment.
class ProcessorDirectory
{
public:
    explicit ProcessorDirectory(const QVector<Server*>& servers);

    /// Per server in the order of its overview, what a processor holds behind it.
    const QVector<ProcessorEntry>& all() const& noexcept { return m_entries; }
    QVector<ProcessorEntry> all() const&& { return m_entries; }
    /// The processor that `text` means: the GUID of a production or a processor in any letter case, with or
    /// without braces, or a display name that only one has. A `kind` leaves out all others. Null, with the
    /// reason in `problem`, when there is none or several.
    const ProcessorEntry* find(const QString& text, const QString& kind, QString& problem) const;
    /// The only processor of that kind; null, with the reason in `problem`, when there is none or several, of
    /// which the option with the kind's name could name one.
    const ProcessorEntry* findOnly(const QString& kind, QString& problem) const;

private:
    void add(Server& server);

    QVector<ProcessorEntry> m_entries;
    QMultiHash<QUuid, int> m_byGuid; ///< places of processors and productions
    QMultiHash<QString, int> m_byName;
};

} // namespace KoltaCli
