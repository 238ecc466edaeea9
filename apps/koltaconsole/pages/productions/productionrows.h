#pragma once

#include "timelinedelegate.h"

#include <koltacommon/event.h>
#include <koltaconsole/widgets/filterwords.h>

#include <QCoreApplication>
#include <QHash>
#include <QString>

#include <functional>
#include <vector>

namespace KoltaConsole {

class Session;

/// A row of the page of productions, with those below it. A value.
struct ProductionRow
{
    enum class Kind {
        Server,
        Running,
        Ordered, ///< here, and does not run: it is being started, or was refused
        EndedGroup,
        Ended
    };

    Kind kind = Kind::Running;
    QString key; ///< unlike those of all other rows
    QString server;
    QString guid;
    QString type; ///< "MCP"
    QString name;
    Look look;          ///< of servers with the whole text of the row
    QString lookInFull; ///< since when or why, of what is on its way or was refused
    QString pending;    ///< what somebody asked for here and is under way, "moving since 12:03:10"
    double frequency = 0.0;
    double bandwidth = 0.0;
    QString hardware;
    QString owner;
    QString ownerInFull;
    QString production;  ///< GUID; of SCPs and MCPs
    QString holderKey;   ///< of the row that holds it
    bool isMine = false; ///< this program owns it
    bool isStale = false;
    QDateTime ended;
    bool sawEnd = false; ///< otherwise it ended some time after
    Timeline timeline;
    std::vector<ProductionRow> children;

    bool isGroup() const { return kind == Kind::Server || kind == Kind::EndedGroup; }
    bool isRunning() const { return kind == Kind::Running; }
    /// Whether a view shows the same, but for the time that goes on.
    bool looksLike(const ProductionRow& other) const;
    bool matches(const FilterWords& words) const;
};

/// Why that FFP cannot go to that row, in a few words; empty when it can.
QString objectionToMove(const ProductionRow& ffp, const ProductionRow& target);

/// Gathers what runs and what has ended from the models and the journal of the session.
class ProductionRows
{
    Q_DECLARE_TR_FUNCTIONS(KoltaConsole::ProductionRows)

public:
    /// What somebody asked for and what is still under way, by the row's key.
    struct Deed
    {
        QString doing;  ///< "moving"
        QString inFull; ///< "moving since 12:03:10"
    };
    using Pending = QHash<QString, Deed>;
    /// Whether what has ended is to be shown.
    using Wanted = std::function<bool(const ProductionRow& ended)>;

    explicit ProductionRows(Session& session) : m_session(session) {}

    /// All that the journal knows of processors, or what it knows anew.
    void readEnded();
    void readEnded(const QVector<Kolta::EventSubject>& subjects);
    /// Servers with what runs on them, by name, and at the end of what has ended and is wanted the latest.
    std::vector<ProductionRow> gather(const Pending& pending, const Wanted& isWanted);

private:
    ProductionRow rowOf(const QModelIndex& index, const Pending& pending);
    ProductionRow serverRow(const QString& address) const;
    void addOrdered(ProductionRow& server) const;
    ProductionRow endedGroup(const Wanted& isWanted) const;
    Timeline timelineOf(const QString& server, const QString& guid) const;
    static Look lookOfEnd(const ProductionRow& row);
    void noteEnd(const Kolta::EventSubject& subject);
    void forget();

    Session& m_session;
    QDateTime m_now;
    QDate m_day;                           ///< for which the ends are told
    QHash<QString, ProductionRow> m_known; ///< by server and GUID, what was last seen of it
    QHash<Kolta::EventSubject, ProductionRow> m_ended;
};

} // namespace KoltaConsole
