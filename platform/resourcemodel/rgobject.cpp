#include <resourcemodel/rgobject.h>

#include "checking.h"
#include "fieldtable.h"
#include "xmlreader.h"
#include "xmlwriter.h"

#include <limits>

namespace REPORTGENERATOR {

using Fields::Access;
using Fields::Field;
using Fields::Kind;
using Fields::Table;

RGException::RGException(const QString& title, const QString& text)
    : m_title(title), m_text(text), m_what(text.toUtf8())
{
}

namespace {

bool failedIn(const QString& step, QString& path)
{
    path.prepend(QLatin1Char('/'));
    path.prepend(step);
    return false;
}

bool checkFields(const IRGObject& object, QString& path, const RecordPlaces* places = nullptr);

/// `places`: of the records that are looked into; null for all.
bool checkRecords(const Field& field, const void* list, QString& path, const std::vector<int>* places)
{
    const int count = places ? static_cast<int>(places->size()) : field.list->count(list);
    for (int i = 0; i < count; ++i) {
        const int place = places ? (*places)[static_cast<std::size_t>(i)] : i;
        if (!checkFields(field.list->record(list, place), path))
            return failedIn(QStringLiteral("%1[%2]").arg(QLatin1String(field.name)).arg(place + 1), path);
    }
    return true;
}

/// Whether a field has what it needs inside it, and whether it is there.
bool checkField(const IRGObject& object, int index, QString& path, const RecordPlaces* places, bool& isSet)
{
    const Field& field = Access::table(object).fields[index];
    if (field.list) {
        const void* const list = field.member(object);
        isSet = !field.isRequired() || field.list->count(list) > 0;
        return !field.list->record ||
               checkRecords(field, list, path,
                            places ? &(*places)[static_cast<std::size_t>(index)] : nullptr);
    }
    isSet = Access::isMarked(object, index);
    return !isSet || field.kind != Kind::Record || checkFields(Access::get<IRGObject>(object, field), path) ||
           failedIn(QLatin1String(field.name), path);
}

/// Fails with the path of the first missing field in `path`; the path is only built on the way back from a
/// failure.
bool checkFields(const IRGObject& object, QString& path, const RecordPlaces* places)
{
    const Table& table = Access::table(object);
    for (int i = 0; i < table.count; ++i) {
        bool isSet = false;
        if (!checkField(object, i, path, places, isSet))
            return false;
        if (isSet || !table.fields[i].isRequired())
            continue;
        path = QLatin1String(table.fields[i].name);
        return false;
    }
    return true;
}

QString missing(const IRGObject& object, const QString& path)
{
    return QStringLiteral("%1/%2 is missing").arg(object.GetObjectName(), path);
}

bool equalField(const IRGObject& a, const IRGObject& b, const Field& field)
{
    if (field.list)
        return field.list->equal(field.member(a), field.member(b));
    switch (field.kind) {
    case Kind::Text:
        return Access::get<QString>(a, field) == Access::get<QString>(b, field);
    case Kind::Bool:
        return Access::get<bool>(a, field) == Access::get<bool>(b, field);
    case Kind::UInt:
        return Access::get<quint64>(a, field) == Access::get<quint64>(b, field);
    case Kind::Double:
        return Access::get<double>(a, field) == Access::get<double>(b, field);
    case Kind::Record:
        return Access::get<IRGObject>(a, field) == Access::get<IRGObject>(b, field);
    default:
        return Access::get<qint32>(a, field) == Access::get<qint32>(b, field);
    }
}

QLatin1String typeName(const Field& field)
{
    switch (field.kind) {
    case Kind::Text:
    case Kind::TextList:
        return QLatin1String("text");
    case Kind::Int:
        return QLatin1String("int");
    case Kind::UInt:
        return QLatin1String(field.range.highest > std::numeric_limits<quint32>::max() ? "uint64" : "uint");
    case Kind::Enum:
    case Kind::EnumList:
        return QLatin1String("enum");
    default:
        return QLatin1String(field.typeName);
    }
}

} // namespace

QString IRGObject::GetObjectName() const
{
    const Table& table = GetFieldTable();
    return QString::fromLatin1(table.name, table.nameLength);
}

bool IRGObject::SetXmlString(const QString& xml, bool check)
{
    Reset();
    readXml(xml, *this);
    if (check)
        Check();
    return true;
}

QString IRGObject::GetXmlString() const
{
    Check();
    return writeXml(*this);
}

void IRGObject::Check() const
{
    QString error;
    if (!Check(error))
        throw RGException(QStringLiteral("Invalid object"), error);
}

bool IRGObject::Check(QString& error) const
{
    QString path;
    if (checkFields(*this, path))
        return true;
    error = missing(*this, path);
    return false;
}

void IRGObject::Reset()
{
    GetFieldTable().clear(*this);
    m_set = 0;
}

QVector<FieldInfo> IRGObject::DescribeFields() const
{
    const Table& table = GetFieldTable();
    QVector<FieldInfo> result;
    result.reserve(table.count);
    for (const Field& field : table)
        result.append({QLatin1String(field.name, field.nameLength), typeName(field),
                       QLatin1String(field.about), field.list != nullptr, field.isRequired()});
    return result;
}

bool check(const IRGObject& object, const RecordPlaces& places, QString& error)
{
    QString path;
    if (checkFields(object, path, &places))
        return true;
    error = missing(object, path);
    return false;
}

bool operator==(const IRGObject& a, const IRGObject& b)
{
    const Table& table = Access::table(a);
    if (&table != &Access::table(b) || !Access::haveSameFieldsSet(a, b))
        return false;
    if (table.same(a, b))
        return true;
    for (int i = 0; i < table.count; ++i)
        if (!equalField(a, b, table.fields[i]))
            return false;
    return true;
}

} // namespace REPORTGENERATOR
