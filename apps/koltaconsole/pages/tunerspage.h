#pragma once

#include "page.h"

#include "../filterwords.h"
#include "../rowindex.h"

class QLabel;
class QTreeView;

namespace KoltaConsole {

/// All tuners in a table, with a filter line; below it who has the selected one.
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

private:
    void makeTable();
    void applyFilter();
    void remember();
    void restore();
    void showCount();
    void explain();

    QLineEdit* m_filter;
    QLabel* m_count;
    QTreeView* m_table;
    QLabel* m_answer;
    RowIndex m_rows;
    FilterWords m_words;
    QString m_only;
    QString m_currentKey; ///< of the selected row, over a reset
    int m_topRow = 0;
};

} // namespace KoltaConsole
