#pragma once

#include <QCoreApplication>
#include <QString>
#include <QStringList>
#include <QVariant>

/// \file
/// How an item kind is shown in list views: one table of columns, from which its text adapter answers.

namespace Kolta {

/// One column: its title, marked with QT_TRANSLATE_NOOP, and its text.
template<class Item>
struct TextColumn
{
    const char* title;
    QString (*text)(const Item& item);
};

/// The columns of one item kind, left to right. Refers to the table that it is made of.
template<class Item>
class TextColumns
{
public:
    /// `context`: of the translation of the titles.
    template<int N>
    constexpr TextColumns(const char* context, const TextColumn<Item> (&columns)[N])
        : m_context(context), m_columns(columns), m_count(N)
    {
    }

    constexpr int count() const noexcept { return m_count; }
    /// Empty outside the columns, as text() is.
    QString title(int column) const
    {
        return isColumn(column) ? QCoreApplication::translate(m_context, m_columns[column].title) : QString();
    }
    QString text(int column, const Item& item) const
    {
        return isColumn(column) ? m_columns[column].text(item) : QString();
    }
    /// One line "Title: text" for each column that has a text.
    QString tooltip(const Item& item) const
    {
        QStringList lines;
        for (int column = 0; column < m_count; ++column) {
            const QString value = text(column, item);
            if (!value.isEmpty())
                lines.append(title(column) + QLatin1String(": ") + value);
        }
        return lines.join(QLatin1Char('\n'));
    }

private:
    constexpr bool isColumn(int column) const noexcept { return column >= 0 && column < m_count; }

    const char* m_context;
    const TextColumn<Item>* m_columns;
    int m_count;
};

/// Base of the text adapters of items that are shown in columns. Adapter has a static columns(), which gives
/// the TextColumns<Item>.
template<class Adapter, class Item>
class ColumnTextAdapter
{
public:
    /// How many columns there are.
    static int ColumnCount() { return Adapter::columns().count(); }
    /// Empty outside the columns, as every text is.
    static QString GetColumnTitle(int column) { return Adapter::columns().title(column); }
    static QString GetText4Column(int column, const Item& item)
    {
        return Adapter::columns().text(column, item);
    }
    /// None of these items has an icon.
    static QVariant GetIcon4Column(int, const Item&, int, int) { return QVariant(); }
    /// One line for each column that has a text.
    static QString GetText4Tooltip(const Item& item) { return Adapter::columns().tooltip(item); }
};

} // namespace Kolta
