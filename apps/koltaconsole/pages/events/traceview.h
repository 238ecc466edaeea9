#pragma once

#include <koltaconsole/widgets/rowindex.h>

#include <QTimer>
#include <QWidget>

class QLineEdit;
class QTreeView;
class QTreeWidget;

namespace KoltaConsole {

class FilterBar;
class Session;
class TraceLines;

/// The channels by which this process traces, to be switched on and off, and what it traced recently.
class TraceView : public QWidget
{
    Q_OBJECT

public:
    TraceView(Session& session, QWidget* parent);

    QTreeWidget* channels() const { return m_channels; }
    const RowIndex& rows() const { return m_rows; }
    QLineEdit* filterLine() const;

protected:
    void showEvent(QShowEvent* event) override;

private:
    void makeChannels();
    void makeTable();
    void showChannels();
    void showCount();
    void applyFilter();

    TraceLines& m_lines;
    RowIndex m_rows;
    QTreeWidget* m_channels;
    FilterBar* m_filter;
    QTreeView* m_table;
    QTimer m_showing;
};

} // namespace KoltaConsole
