#include <koltaconsole/widgets/rowindex.h>

#include <koltacommon/viewroles.h>

#include <support/test.h>

#include <QAbstractItemModelTester>
#include <QSortFilterProxyModel>
#include <QStandardItemModel>

#include <map>
#include <random>

using KoltaConsole::RowIndex;
namespace Roles = Kolta::ViewRoles;

namespace {

/// A flat table of numbered words that can be changed in all ways.
class Words : public QAbstractTableModel
{
public:
    struct Word
    {
        int key;
        int number;
        QString text;
    };
    QVector<Word> words;

    int rowCount(const QModelIndex& parent = QModelIndex()) const override
    {
        return parent.isValid() ? 0 : words.size();
    }
    int columnCount(const QModelIndex& parent = QModelIndex()) const override
    {
        return parent.isValid() ? 0 : 2;
    }
    QVariant data(const QModelIndex& index, int role) const override
    {
        const Word& word = words.at(index.row());
        if (role == Roles::SearchRole)
            return word.text;
        if (role == Roles::KeyRole)
            return word.key;
        if (role == Roles::SortRole)
            return index.column() == 0 ? QVariant(word.number) : QVariant(word.text);
        return {};
    }
    void change(int first, int last, const std::function<void(Word&)>& how)
    {
        std::for_each(words.begin() + first, words.begin() + last + 1, how);
        Q_EMIT dataChanged(index(first, 0), index(last, 1));
    }
    void insert(int row, const QVector<Word>& fresh)
    {
        beginInsertRows({}, row, row + fresh.size() - 1);
        for (int i = 0; i < fresh.size(); ++i)
            words.insert(row + i, fresh.at(i));
        endInsertRows();
    }
    void remove(int first, int last)
    {
        beginRemoveRows({}, first, last);
        words.remove(first, last - first + 1);
        endRemoveRows();
    }
    void move(int row, int to) // to another place than its own
    {
        beginMoveRows({}, row, row, {}, to < row ? to : to + 1);
        words.move(row, to);
        endMoveRows();
    }
    void turnRound()
    {
        Q_EMIT layoutAboutToBeChanged();
        std::reverse(words.begin(), words.end());
        Q_EMIT layoutChanged();
    }
};

/// What Qt makes of the same, with equal rows in their own order.
class Reference : public QSortFilterProxyModel
{
protected:
    bool lessThan(const QModelIndex& a, const QModelIndex& b) const override
    {
        const QVariant first = a.data(Roles::SortRole), second = b.data(Roles::SortRole);
        if (first == second)
            return (a.row() < b.row()) == (sortOrder() == Qt::AscendingOrder);
        return first.userType() == QMetaType::Int ? first.toInt() < second.toInt()
                                                  : first.toString() < second.toString();
    }
};

bool isFree(const Words::Word& word)
{
    return word.number % 2 == 0;
}

QStringList shownBy(const QAbstractItemModel& model)
{
    QStringList rows;
    for (int row = 0; row < model.rowCount(); ++row) {
        const QModelIndex index = model.index(row, 0);
        rows.append(index.data(Roles::KeyRole).toString());
        if (index.data(RowIndex::CountRole).isValid())
            rows.last() += QStringLiteral(" %1/%2")
                               .arg(index.data(RowIndex::FreeRole).toInt())
                               .arg(index.data(RowIndex::CountRole).toInt());
    }
    return rows;
}

/// The reference's rows as they are to be shown in groups.
QStringList inGroups(const Words& words, const QAbstractProxyModel& reference, const QSet<QString>& folded)
{
    struct Group
    {
        QStringList keys;
        int free = 0;
    };
    std::map<QString, Group> groups;
    for (int row = 0; row < reference.rowCount(); ++row) {
        const Words::Word& word = words.words.at(reference.mapToSource(reference.index(row, 0)).row());
        Group& group = groups[word.text];
        group.keys.append(QString::number(word.key));
        group.free += isFree(word) ? 1 : 0;
    }
    QStringList rows;
    for (const auto& [name, group] : groups) {
        rows.append(QStringLiteral("group/%1 %2/%3").arg(name).arg(group.free).arg(group.keys.size()));
        if (!folded.contains(name))
            rows += group.keys;
    }
    return rows;
}

} // namespace

class TestRowIndex : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void isAsQtsProxy_data()
    {
        const Rows<bool> row("grouped");
        row("flat", false);
        row("in groups", true);
    }
    /// Same rows in the same order as with Qt's proxy, after changes in all sizes; in groups, what each
    /// heading tells is what stands in it, folded or not.
    void isAsQtsProxy()
    {
        QFETCH(bool, grouped);
        std::mt19937 random(testSeed());
        const auto below = [&random](int limit) {
            return std::uniform_int_distribution<int>(0, limit - 1)(random);
        };
        int nextKey = 0;
        const auto fresh = [&] {
            return Words::Word{nextKey++, below(20), QString(QLatin1Char("abcd"[below(4)]))};
        };
        Words words;
        RowIndex index;
        Reference reference;
        QAbstractItemModelTester tester(&index, QAbstractItemModelTester::FailureReportingMode::QtTest);
        index.setSourceModel(&words);
        reference.setSourceModel(&words);
        reference.setSortRole(Roles::SortRole);
        reference.setFilterRole(Roles::SearchRole);
        RowIndex::Grouping grouping;
        grouping.nameOf = [&words](int row) { return words.words.at(row).text; };
        grouping.isFree = [&words](int row) { return isFree(words.words.at(row)); };
        if (grouped)
            index.setGrouping(grouping);
        for (int turn = 0; turn < 400; ++turn) {
            const int size = words.rowCount();
            const int first = size > 0 ? below(size) : 0;
            const int count = below(10) == 0 ? 70 + below(60) : 1 + below(3); // both sides of the limit
            const int last = std::min(size - 1, first + count - 1);
            const int what = size == 0 ? 0 : below(12);
            // The one that follows selection and current row has to follow this row too.
            const int chosen = index.rowCount() > 0 ? below(index.rowCount()) : -1;
            const QPersistentModelIndex kept = chosen < 0 ? QModelIndex() : index.index(chosen, 0);
            const QVariant key = kept.data(Roles::KeyRole);
            if (what < 3) {
                QVector<Words::Word> some;
                for (int i = 0; i < (size > 400 ? 1 : count); ++i)
                    some.append(fresh());
                words.insert(size > 0 ? below(size + 1) : 0, some);
            } else if (what < 6) {
                words.remove(first, last);
            } else if (what == 6 && below(size) != first) {
                words.move(first, first == 0 ? size - 1 : 0);
            } else if (what == 7 && below(20) == 0) {
                words.turnRound();
            } else if (what == 8) {
                const QString wanted = below(2) == 0 ? QString() : QString(QLatin1Char("abcd"[below(4)]));
                reference.setFilterFixedString(wanted);
                index.setFilter(
                    [wanted](int /*row*/, const QString& search) { return search.contains(wanted); });
            } else if (what == 9) {
                const int column = below(3) - 1;
                const auto order = below(2) == 0 ? Qt::AscendingOrder : Qt::DescendingOrder;
                reference.sort(column, column < 0 ? Qt::AscendingOrder : order);
                index.sort(column, column < 0 ? Qt::AscendingOrder : order);
            } else {
                words.change(first, last, [&](Words::Word& word) {
                    const Words::Word other = fresh();
                    word.number = other.number;
                    word.text = other.text;
                });
            }
            if (grouped && index.rowCount() > 0) {
                const QModelIndex some = index.index(below(index.rowCount()), 0);
                index.setFolded(some, below(2) == 0);
            }
            QCOMPARE(shownBy(index),
                     grouped ? inGroups(words, reference, index.folded()) : shownBy(reference));
            QCOMPARE(index.matchCount(), reference.rowCount());
            if (kept.isValid())
                QCOMPARE(kept.data(Roles::KeyRole), key);
        }
    }

    /// Rows that are alike stand in the order of their servers, as people number these.
    void tiesAreServers()
    {
        QStandardItemModel model;
        for (const char* const server : {"S10", "S2", "S1", "S20"}) {
            auto* const item = new QStandardItem;
            item->setData(QLatin1String(server), Roles::ServerRole);
            item->setData(QLatin1String(server), Roles::KeyRole);
            item->setData(QStringLiteral("kw 1"), Roles::SortRole);
            model.appendRow(item);
        }
        RowIndex index;
        index.setSourceModel(&model);
        for (const auto order : {Qt::AscendingOrder, Qt::DescendingOrder}) {
            index.sort(0, order);
            QCOMPARE(shownBy(index).join(QLatin1Char(' ')), QStringLiteral("S1 S2 S10 S20"));
        }
    }
};

KOLTA_TEST(TestRowIndex);
#include "tst_console_rowindex.moc"
