#pragma once

#include <support/text.h>
#include <values/valueitemmap.h>

#include <QByteArray>
#include <QDataStream>
#include <QString>

#include <cstring>
#include <utility>

/// A small item, its collections by text and by number, and what the collections need of it.
template<class KeyType>
struct TestItem : values::valueitemmap::IKeyItemTemplate<KeyType>
{
    TestItem() = default;
    TestItem(KeyType itemKey, int itemNumber) : key(std::move(itemKey)), number(itemNumber) {}
    KeyType GetKey() const override { return key; }
    bool operator==(const TestItem& other) const { return key == other.key && number == other.number; }

    KeyType key{};
    int number = 0;
};

struct TestFormat
{
    template<class KeyType>
    static QString GetString(const TestItem<KeyType>& item)
    {
        return "Item_%1"_s.arg(item.key);
    }
    template<class KeyType>
    static std::string toStandardString(const TestItem<KeyType>& item)
    {
        QByteArray bytes;
        QDataStream(&bytes, QIODevice::WriteOnly) << qint8(1) << item.key << item.number;
        std::string field;
        values::AppendInteger(field, static_cast<quint32>(bytes.size()));
        return field + bytes.toStdString();
    }
    template<class KeyType>
    static bool fromCharStream(const char** stream, TestItem<KeyType>& item)
    {
        quint32 size = 0;
        std::memcpy(&size, *stream, sizeof size);
        qint8 version = 0;
        QDataStream(QByteArray::fromRawData(*stream + sizeof size, int(size))) >> version >> item.key >>
            item.number;
        *stream += sizeof size + size;
        return true;
    }
};

struct TestAdapter
{
};

template<class KeyType, int type>
class TestMapOf : public values::ValueItemMap<TestItem<KeyType>, TestFormat, TestAdapter>
{
public:
    using values::ValueItemMap<TestItem<KeyType>, TestFormat, TestAdapter>::ValueItemMap;
    int GetType() const override { return type; }
    QString GetTypeName() const override { return "TestMap%1"_s.arg(type); }
};

using TextItem = TestItem<QString>;
using TestMap = TestMapOf<QString, 201>;
using NumberItem = TestItem<unsigned int>;
using NumberMap = TestMapOf<unsigned int, 202>;
