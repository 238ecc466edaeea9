#pragma once

#include <koltacommon/shorttimemodels.h>
#include <koltaconsole/widgets/rowindex.h>

#include <QTimer>
#include <QWidget>

#include <optional>
#include <vector>

class QLabel;
class QLineEdit;
class QTreeView;

namespace KoltaConsole {

class ActionTable;
class FilterBar;
class ResultsPlot;
class Session;

/// Results in the library's columns, with values to sort them by.
struct SortableResult : Kolta::ShortTimeResult_TextAdapter
{
    static QVariant GetSortValue4Column(int column, const Kolta::ShortTimeResult& result);
};
/// Answers Kolta::ViewRoles::SearchRole as well.
class ResultModel : public Kolta::ItemMapModel<Kolta::ShortTimeResultItemMap, SortableResult>
{
public:
    ResultModel() { keepLastKnown(); }

protected:
    QVariant itemData(const Row& row, int column, int role) const override;
};

/// What short-time profiles found, over time and frequency and as a table, newest on top.
class ResultsView : public QWidget
{
    Q_OBJECT

public:
    /// What is drawn and listed at most.
    static constexpr int kMost = 100000;

    ResultsView(Session& session, ActionTable& actions, QWidget* parent);

    void showServer(const QString& address);
    /// That prints the collection; empty while no server is shown.
    QString line() const;
    QLineEdit* filterLine() const;
    const ResultModel& model() const { return m_model; }
    ResultsPlot& plot() const { return *m_plot; }

protected:
    void showEvent(QShowEvent* event) override;

private:
    void makeTable();
    void makeAction();
    void follow();
    void applyFilter();
    void gather();
    void draw();
    int shapeOf(const QString& profile);
    void showLegend();
    void tellLegend();

    Session& m_session;
    ActionTable& m_actions;
    QString m_server;
    ResultModel m_model;
    RowIndex m_rows;
    ResultsPlot* m_plot;
    QTreeView* m_table;
    FilterBar* m_filter;
    QLabel* m_heading;
    QLabel* m_legend;
    std::vector<std::optional<QString>> m_shapes; ///< names of profiles, by shape
    QHash<QString, int> m_counts;                 ///< of what the filter lets through, by profile
    QTimer m_gathering;
    bool m_isDue = true;
};

} // namespace KoltaConsole
