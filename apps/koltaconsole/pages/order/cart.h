#pragma once

#include "offers.h"

#include <koltacommon/actionrights.h>
#include <koltacommon/productionorder.h>
#include <koltacommon/tunerplan.h>
#include <koltaconsole/widgets/marks.h>

#include <QAbstractTableModel>
#include <QPointer>
#include <QTimer>

#include <memory>
#include <vector>

namespace Kolta {
class Operation;
class ProductionJob;
} // namespace Kolta

namespace KoltaConsole {

class Session;

/// Orders that wait to be shared out and started together. Tuners that are given to them are planned here,
/// and given back with the line. A line follows what becomes of its plan and of what it started.
class Cart : public QAbstractTableModel
{
    Q_OBJECT

public:
    enum eColumn : int {
        eNumberColumn,
        eOrderColumn,
        eFrequencyColumn,
        eBandwidthColumn,
        eGetsColumn,
        eCostColumn,
        eStateColumn,
        eColumnCount
    };

    Cart(Session& session, QObject* parent);
    ~Cart() override;

    /// Takes the lines that are on disk, and keeps all there from now on.
    void restore();
    /// `server`: the one that is to run it; empty: any.
    void add(const Kolta::ProductionOrder& order, const QString& server);
    /// Its server has been asked and has not answered: the line has to wait for what comes.
    bool isAsked(int row) const;
    /// Plans that tuner for a line; false, and the line says why, when it cannot be had.
    bool plan(int row, const Offer& offer);
    void remove(int row);
    /// Takes out all that is not on its way.
    void clear();
    /// Gives as many lines as possible a tuner each, on whatever servers they may run, at the least cost for
    /// all, and plans these; the others say with which they conflict.
    void share();
    /// Starts what has a tuner, or needs none. Returns how many.
    int start();
    /// What start() would do, one for each line that it would start.
    QVector<Kolta::UserAction> actionsToStart() const;
    int readyCount() const { return actionsToStart().size(); }
    /// "4 orders, total cost 60, 1 conflict".
    QString summary() const;
    /// A line of `kolta` for each tuner that is planned.
    QString planLines() const;
    /// A line of `kolta` for each that start() would start.
    QString startLines() const;
    Look lookOf(int row) const;

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

Q_SIGNALS:
    void si_Changed();

private:
    enum class State { Waiting, Planned, Conflict, Asked, Running, Ended, Failed };
    struct Line;

    bool isReady(const Line& line) const;
    /// With the tuner that the line gets.
    static Kolta::ProductionOrder orderOf(const Line& line);
    /// Where it runs.
    static QString serverOf(const Line& line);
    void startLine(int row);
    void takeEnd(Line* line, const Kolta::Operation& operation);
    void followRunning(const Line* line);
    void followLater();
    void follow();
    void setState(int row, State state, const QString& text);
    int rowOf(const Line* line) const;
    void save() const;

    Session& m_session;
    std::vector<std::unique_ptr<Line>> m_lines;
    bool m_isKept = false;
    QTimer m_keeping;
    QTimer m_following; ///< of the plans
};

} // namespace KoltaConsole
