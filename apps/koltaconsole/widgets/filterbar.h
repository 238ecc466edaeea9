#pragma once

#include <QWidget>

#include <functional>

class QHBoxLayout;
class QLineEdit;
class QToolButton;
class QTreeView;

namespace KoltaConsole {

class ElidedLabel;

/// A filter line and how much of how many fits it; where nothing does, a button clears the line.
class FilterBar : public QWidget
{
    Q_OBJECT

public:
    static constexpr int kWidth = 330;

    FilterBar(const QString& hint, const QString& name, QWidget* parent, int width = kWidth);

    QLineEdit* line() const noexcept { return m_line; }
    QString text() const;
    /// Between the line and the count.
    void addWidget(QWidget* widget);
    /// Nothing fits: `count` says so.
    void tell(const QString& count, bool isNothing);
    /// By the texts "%1 of %2 links" and "No link matches \"%1\".", which is for rows of which none fits.
    void tellCount(int shown, int all, const QString& counted, const QString& nothing);
    /// Hides the top rows of a table that do not fit, where they stand: the chosen one stays chosen. Says how
    /// many are shown.
    static int showRows(QTreeView& table, const std::function<bool(int row)>& fits);

private:
    QHBoxLayout* m_layout;
    QLineEdit* m_line;
    ElidedLabel* m_count;
    QToolButton* m_clear;
};

} // namespace KoltaConsole
