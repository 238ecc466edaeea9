#include "filterbar.h"

#include "elidedlabel.h"

#include <QHBoxLayout>
#include <QLineEdit>
#include <QLocale>
#include <QToolButton>
#include <QTreeView>

namespace KoltaConsole {

FilterBar::FilterBar(const QString& hint, const QString& name, QWidget* parent, int width)
    : QWidget(parent)
    , m_layout(new QHBoxLayout(this))
    , m_line(new QLineEdit(this))
    , m_count(new ElidedLabel(this))
    , m_clear(new QToolButton(this))
{
    m_line->setPlaceholderText(hint);
    m_line->setClearButtonEnabled(true);
    m_line->setFixedWidth(width);
    m_line->setAccessibleName(name);
    m_count->setProperty("dim", true);
    m_clear->setText(tr("Clear the filter"));
    m_clear->hide();
    m_layout->setContentsMargins(0, 0, 0, 0);
    m_layout->setSpacing(8);
    m_layout->addWidget(m_line);
    m_layout->addWidget(m_clear);
    m_layout->addWidget(m_count, 1);
    setFocusProxy(m_line);
    connect(m_clear, &QToolButton::clicked, this, [this] {
        m_line->setFocus();
        m_line->clear();
    });
}

QString FilterBar::text() const
{
    return m_line->text();
}

void FilterBar::addWidget(QWidget* widget)
{
    m_layout->insertWidget(m_layout->indexOf(m_clear), widget);
}

void FilterBar::tell(const QString& count, bool isNothing)
{
    m_count->setText(count);
    m_clear->setVisible(isNothing && !m_line->text().isEmpty());
}

void FilterBar::tellCount(int shown, int all, const QString& counted, const QString& nothing)
{
    const QLocale locale;
    const bool isNothing = shown == 0 && all > 0;
    tell(isNothing ? nothing.arg(text()) : counted.arg(locale.toString(shown), locale.toString(all)),
         isNothing);
}

int FilterBar::showRows(QTreeView& table, const std::function<bool(int row)>& fits)
{
    int shown = 0;
    for (int row = 0; row < table.model()->rowCount(); ++row) {
        const bool isShown = fits(row);
        if (table.isRowHidden(row, QModelIndex()) == isShown)
            table.setRowHidden(row, QModelIndex(), !isShown);
        shown += isShown ? 1 : 0;
    }
    return shown;
}

} // namespace KoltaConsole
