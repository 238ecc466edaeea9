#pragma once

#include <koltaconsole/pages/page.h>
#include <koltaconsole/widgets/filterwords.h>
#include <koltaconsole/widgets/rowindex.h>

#include <QTimer>

class QComboBox;
class QLabel;
class QPushButton;

namespace KoltaConsole {

class FilterBar;
class FrequencyAxis;
class GroupedTable;

/// All tuners: what they reach, above, and in a table, with a filter line; below it why the selected one
/// cannot be had.
class TunersPage : public Page
{
    Q_OBJECT

public:
    TunersPage(Session& session, ActionTable& actions, QWidget* parent);

    bool isFilled() const override;
    QString commandLine() const override;
    void showClasses(const QStringList& names) override;
    void save(QSettings& settings) const override;
    void restore(const QSettings& settings) override;
    QLineEdit* filterLine() const override;

    const RowIndex& rows() const { return m_rows; }

protected:
    void followServer() override;
    void showEvent(QShowEvent* event) override;

private:
    QLayout* makeTop();
    void makeTable();
    void makeActions();
    void orderCurrent();
    void connectAll();
    void applyFilter();
    void applyGroups();
    void remember();
    void restoreRows();
    void select(const QString& key);
    void choose(const QString& key);
    QModelIndex currentTuner() const;
    void showCount();
    void writeCount();
    QString nothingText() const;
    void followLater();
    void showLanes();
    void showLane(const QString& name);
    void tellCurrent();
    void explain();

    FilterBar* m_filter;
    QComboBox* m_groups;
    FrequencyAxis* m_axis;
    QPushButton* m_grouped = nullptr;
    RowIndex m_rows;
    GroupedTable* m_table;
    QLabel* m_answer;
    FilterWords m_words;
    QTimer m_following; ///< of the lanes
    bool m_isGrouped = false;
    QStringList m_classes; ///< the chosen one, then those within it; empty: all
    QString m_currentKey;  ///< of the selected row, over a reset
    int m_currentRow = -1; ///< where the tuners had it
    int m_topRow = 0;
};

} // namespace KoltaConsole
