#include <resourcemodel/merge.h>

#include "fieldtable.h"
#include "xmlwriter.h"

#include <QHash>
#include <QVector>

#include <algorithm>
#include <cstring>

namespace REPORTGENERATOR {

using Fields::Access;
using Fields::Field;
using Fields::Kind;
using Fields::Table;

namespace {

/// The GUID of a record, or of the first record in it that has one; empty for none.
QString guidOf(const IRGObject& record)
{
    const Table& table = Access::table(record);
    for (const Field& field : table) {
        if (field.kind == Kind::Text && std::strcmp(field.name, "GUID") == 0)
            return Access::get<QString>(record, field);
    }
    for (const Field& field : table) {
        const QString below =
            field.kind == Kind::Record ? guidOf(Access::get<IRGObject>(record, field)) : QString();
        if (!below.isEmpty())
            return below;
    }
    return QString();
}

/// The records of a list by what they are known by; of several that are known by the same, each for itself.
class Records
{
public:
    Records(const Field& field, const void* list) : m_field(field), m_list(list)
    {
        const int count = field.list->count(list);
        QHash<QString, int> times;
        for (int i = 0; i < count; ++i) {
            const QString guid = guidOf(at(i));
            const QString known = guid.isEmpty() ? writeXml(at(i)) : guid;
            m_keys.append({known, times[known]++});
            m_places.insert(m_keys.last(), i);
        }
    }
    using Key = QPair<QString, int>;
    const QVector<Key>& keys() const noexcept { return m_keys; }
    const IRGObject& at(int place) const { return m_field.list->record(m_list, place); }
    /// Null when there is none.
    const IRGObject* find(const Key& key) const
    {
        const auto place = m_places.constFind(key);
        return place == m_places.constEnd() ? nullptr : &at(*place);
    }

private:
    const Field& m_field;
    const void* m_list;
    QVector<Key> m_keys;
    QHash<Key, int> m_places;
};

void mergeRecords(const Field& field, const void* beforeList, const void* mineList, void* target)
{
    const auto theirList = field.list->copy(target);
    const Records before(field, beforeList), mine(field, mineList), theirs(field, theirList.get());
    field.list->clear(target);
    for (int i = 0; i < theirs.keys().size(); ++i) {
        const IRGObject* const was = before.find(theirs.keys().at(i));
        const IRGObject* const is = mine.find(theirs.keys().at(i));
        if (was && !is)
            continue;
        field.list->appendCopy(target, theirList.get(), i);
        if (was && *was != *is)
            MergeChanges(*was, *is, field.list->lastRecord(target));
    }
    for (int i = 0; i < mine.keys().size(); ++i) {
        if (!before.find(mine.keys().at(i)) && !theirs.find(mine.keys().at(i)))
            field.list->appendCopy(target, mineList, i);
    }
}

void mergeTexts(const QVector<QString>& before, const QVector<QString>& mine, QVector<QString>& target)
{
    for (const QString& text : before) {
        if (!mine.contains(text))
            target.removeAll(text);
    }
    for (const QString& text : mine) {
        if (!before.contains(text) && !target.contains(text))
            target.append(text);
    }
}

void mergeList(const Field& field, const IRGObject& before, const IRGObject& mine, IRGObject& target)
{
    if (field.list->equal(field.member(before), field.member(mine)))
        return;
    if (field.list->record)
        mergeRecords(field, field.member(before), field.member(mine), field.edit(target));
    else if (field.kind == Kind::TextList)
        mergeTexts(Access::get<QVector<QString>>(before, field), Access::get<QVector<QString>>(mine, field),
                   Access::edit<QVector<QString>>(target, field));
    else
        field.list->assign(field.edit(target), field.member(mine));
}

template<class T>
void mergeMember(const Field& field, const IRGObject& before, const IRGObject& mine, IRGObject& target)
{
    if (Access::get<T>(before, field) != Access::get<T>(mine, field))
        Access::edit<T>(target, field) = Access::get<T>(mine, field);
}

void mergeNumber(const Field& field, const IRGObject& before, const IRGObject& mine, IRGObject& target)
{
    const qint32 more = Access::get<qint32>(mine, field) - Access::get<qint32>(before, field);
    const bool counts = std::strncmp(field.name, "NumberOf", 8) == 0;
    if (counts && more != 0)
        Access::edit<qint32>(target, field) += more;
    else
        mergeMember<qint32>(field, before, mine, target);
}

void mergeValue(const Field& field, const IRGObject& before, const IRGObject& mine, IRGObject& target)
{
    switch (field.kind) {
    case Kind::Text:
        mergeMember<QString>(field, before, mine, target);
        break;
    case Kind::Bool:
        mergeMember<bool>(field, before, mine, target);
        break;
    case Kind::UInt:
        mergeMember<quint64>(field, before, mine, target);
        break;
    case Kind::Double:
        mergeMember<double>(field, before, mine, target);
        break;
    case Kind::Record:
        MergeChanges(Access::get<IRGObject>(before, field), Access::get<IRGObject>(mine, field),
                     Access::edit<IRGObject>(target, field));
        break;
    default:
        mergeNumber(field, before, mine, target);
        break;
    }
}

} // namespace

void MergeChanges(const IRGObject& before, const IRGObject& mine, IRGObject& target)
{
    if (before == mine)
        return;
    const Table& table = Access::table(target);
    for (int i = 0; i < table.count; ++i) {
        const Field& field = table.fields[i];
        if (field.list) {
            mergeList(field, before, mine, target);
            continue;
        }
        mergeValue(field, before, mine, target);
        if (Access::isMarked(before, i) == Access::isMarked(mine, i))
            continue;
        if (Access::isMarked(mine, i))
            Access::mark(target, i);
        else
            Access::unmark(target, i);
    }
}

} // namespace REPORTGENERATOR
