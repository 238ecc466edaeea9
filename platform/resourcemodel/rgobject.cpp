#include <resourcemodel/rgobject.h>

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

/// Fails with the path of the first missing field in `path`; the path is only built on the way back from a
/// failure.
bool checkFields(const IRGObject& object, QString& path)
{
    const Table& table = Access::table(object);
    const auto failedIn = [&path](const QString& step) {
        path.prepend(QLatin1Char('/'));
        path.prepend(step);
        return false;
    };
    for (int i = 0; i < table.count; ++i) {
        const Field& field = table.fields[i];
        const QLatin1String name(field.name, field.nameLength);
        if (field.list) {
            const void* list = field.member(object);
            const int count = field.list->record || field.isRequired() ? field.list->count(list) : 0;
            for (int k = 0; field.list->record && k < count; ++k)
                if (!checkFields(field.list->record(list, k), path))
                    return failedIn(QStringLiteral("%1[%2]").arg(name).arg(k + 1));
            if (count > 0 || !field.isRequired())
                continue;
        } else if (Access::isMarked(object, i)) {
            if (field.kind == Kind::Record && !checkFields(Access::get<IRGObject>(object, field), path))
                return failedIn(name);
            continue;
        } else if (!field.isRequired()) {
            continue;
        }
        path = name;
        return false;
    }
    return true;
}

void resetField(IRGObject& object, const Field& field)
{
    if (field.list)
        return field.list->clear(Access::editList(object, field));
    switch (field.kind) {
    case Kind::Text:
        Access::edit<QString>(object, field) = QString();
        break;
    case Kind::Bool:
        Access::edit<bool>(object, field) = false;
        break;
    case Kind::UInt:
        Access::edit<quint64>(object, field) = 0;
        break;
    case Kind::Double:
        Access::edit<double>(object, field) = 0.0;
        break;
    case Kind::Record:
        Access::edit<IRGObject>(object, field).Reset();
        break;
    default:
        Access::edit<qint32>(object, field) = 0;
    }
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
    error = QStringLiteral("%1/%2 is missing").arg(GetObjectName(), path);
    return false;
}

void IRGObject::Reset()
{
    const Table& table = GetFieldTable();
    for (const Field& field : table)
        resetField(*this, field);
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

bool operator==(const IRGObject& a, const IRGObject& b)
{
    const Table& table = Access::table(a);
    if (&table != &Access::table(b))
        return false;
    for (int i = 0; i < table.count; ++i)
        if (Access::isMarked(a, i) != Access::isMarked(b, i) || !equalField(a, b, table.fields[i]))
            return false;
    return true;
}

} // namespace REPORTGENERATOR
