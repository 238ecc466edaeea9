#pragma once

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QTest>

/// A row of the data table that is being filled, in one call: `addRow("name", 1, "text")`.
template<class... Values>
void addRow(const char* name, const Values&... values)
{
    QTestData& data = QTest::newRow(name);
    (void(data << values), ...);
}

/// What a row may give for a column: its type, and for texts character literals as well.
template<class Column>
struct Cell
{
    using Type = Column;
};
template<>
struct Cell<QString>
{
    struct Type
    {
        Type(const char* utf8) : text(QString::fromUtf8(utf8)) {}
        Type(const QString& given) : text(given) {}
        operator QString() const { return text; }
        QString text;
    };
};

/// The data table that is being filled: columns of these types with the names in `columns`, then row by row
/// in one call each.
///
///     const Rows<QByteArray, int> row("stream position");
///     row("no hash", "\n<", 1);
template<class... Columns>
class Rows
{
public:
    explicit Rows(const char* columns)
    {
        static QMap<QByteArray, QList<QByteArray>> lasting; // Qt Test keeps no copies of names
        QList<QByteArray>& names = lasting[columns];
        if (names.isEmpty())
            names = QByteArray(columns).split(' ');
        int column = 0;
        (QTest::addColumn<Columns>(names.at(column++).constData()), ...);
    }
    void operator()(const char* name, const typename Cell<Columns>::Type&... cells) const
    {
        QTestData& row = QTest::newRow(name);
        (void(row << static_cast<Columns>(cells)), ...);
    }
};
