#pragma once

#include "page.h"

#include "../filterwords.h"
#include "../rowindex.h"

#include <QTimer>

class QComboBox;
class QLabel;
class QTreeView;

namespace KoltaConsole {

class FrequencyAxis;

/// All tuners: what they reach, above, and in a table, with a filter line; below it why the selected one
/// cannot be had.
class TunersPage : public Page
{
    Q_OBJECT

public:
    TunersPage(Session& session, ActionTable& actions, QWidget* parent);

    bool isFilled() const override;
    QString commandLine() const override;
    void showServer(const QString& address) override;
    QLineEdit* filterLine() const override { return m_filter; }

    const RowIndex& rows() const { return m_rows; }

protected:
    void showEvent(QShowEvent* event) override;

private:
    QLayout* makeTop();
    void makeTable();
    void makeActions();
    void connectAll();
    void applyFilter();
    void remember();
    void restore();
    void select(const QString& key);
    void showCount();
    void followLater();
    void showLanes();
    void showLane(const QString& name);
    void tellCurrent();
    void explain();

    QLineEdit* m_filter;
    QLabel* m_count;
    QComboBox* m_groups;
    FrequencyAxis* m_axis;
    QTreeView* m_table;
    QLabel* m_answer;
    RowIndex m_rows;
    FilterWords m_words;
    QTimer m_following; ///< of the lanes
    QString m_only;
    QString m_currentKey; ///< of the selected row, over a reset
    int m_topRow = 0;
};

} // namespace KoltaConsole
