#pragma once

#include "offers.h"

#include <koltacommon/candidatesmodel.h>
#include <koltacommon/ordercandidates.h>
#include <koltaconsole/widgets/filterwords.h>
#include <koltaconsole/widgets/serverorder.h>
#include <koltaconsole/widgets/stillrows.h>

#include <QSortFilterProxyModel>
#include <QTreeView>

namespace KoltaConsole {

/// The tuners that come into question for the draft of an order: first those that can take it, the cheapest
/// of all servers first, then those that are refused, dim, with the reason and since when. While it is hidden
/// nobody looks for any: it has the rows of before, and offers nothing.
class CandidatesTable : public QTreeView
{
    Q_OBJECT

public:
    CandidatesTable(Session& session, QWidget* parent);

    /// Only what that server has; empty: all that the order may have.
    void showServer(const QString& address);
    /// Hides the rows that do not fit, where they stand: ranks stay. Says how many are shown.
    int applyFilter(const FilterWords& words);
    /// What the order gets: the row that somebody chose and that is not hidden, else the first. None when
    /// nothing can take it.
    Offer offer() const;
    /// It gets the first, which the filter hides.
    bool isOfferHidden() const;
    /// The tuner that somebody pointed at elsewhere is not among the rows.
    bool isWishedMissing() const;
    /// Of the servers that may have some, those that are missed and cannot be asked now.
    QStringList awayServers() const;
    /// Why the chosen row cannot take it; empty when it can, or none was chosen.
    QString refusal() const;
    /// Whether somebody chose another one than the first.
    bool isOwnChoice() const;
    int acceptedCount() const;
    int refusedCount() const;
    const QAbstractItemModel& rows() const { return m_rows; }
    /// For the fields: "20 MHz – 3.6 GHz", what all of them together reach; empty for nothing.
    QString reach() const;
    /// How many are refused since they are too narrow.
    int tooNarrowCount() const;
    /// Why there are none, where servers say so or are away; empty otherwise.
    QString problem() const;

Q_SIGNALS:
    /// The rows, or the chosen one, are others.
    void si_Changed();
    /// The tuner that somebody pointed at elsewhere is the chosen row now.
    void si_WishedChosen();

private:
    class Rows : public QSortFilterProxyModel
    {
    public:
        explicit Rows(const Session& session) : m_session(session) {}
        /// The server that the order wants, and the one that is shown alone; empty: all.
        void setServers(const QString& wanted, const QString& shown);
        bool hasServer(const QString& address) const;
        /// Nobody can have its tuner now, while others are there.
        bool isAway(const QModelIndex& source) const;
        /// It can take the order.
        bool isAccepted(const QModelIndex& index) const;
        /// The rank among all that are shown; none while all is only known from before.
        QVariant data(const QModelIndex& index, int role) const override;

    protected:
        bool filterAcceptsRow(int row, const QModelIndex& parent) const override;
        bool lessThan(const QModelIndex& a, const QModelIndex& b) const override;

    private:
        QString reasonOf(const QModelIndex& index, const QString& own) const;
        QString refusalOf(const QModelIndex& index, const QString& own) const;

        const Session& m_session;
        mutable ServerOrder m_serverOrder;
        QString m_wanted;
        QString m_shown;
    };

    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void follow();
    void catchUp();
    void chooseWished();
    int chosenRow() const;
    bool isAway(const QString& address) const;
    bool isStale(int row) const;
    Kolta::OrderCandidate candidate(int row) const;

    Session& m_session;
    StillRows m_still;
    Kolta::CandidatesModel m_model;
    Rows m_rows;
    QString m_only;
    QString m_wished; ///< GUID of the tuner that is to be chosen once its row is there
};

} // namespace KoltaConsole
