#pragma once

#include <values/bytestream.h>

#include <QString>

#include <limits>
#include <string>

namespace values {
namespace valueitemmap {

/// What a collection needs to know of its keys; specialise it for other key types:
/// `Invalid()` is the key that names no item; `AppendField()` and `ReadField()` write and read the key field;
/// `ToText()` is how the change log names the key.
template<class Key>
struct KeyTraits;

template<>
struct KeyTraits<QString>
{
    static const QString& Invalid()
    {
        static const QString invalid;
        return invalid;
    }
    static void AppendField(std::string& out, const QString& key) { AppendText(out, key); }
    static bool ReadField(ByteReader& in, QString& key) { return in.ReadText(key); }
    static const QString& ToText(const QString& key) { return key; }
};

/// The key field is the number itself, four bytes.
template<>
struct KeyTraits<unsigned int>
{
    static const unsigned int& Invalid()
    {
        static constexpr unsigned int invalid = std::numeric_limits<unsigned int>::max();
        return invalid;
    }
    static void AppendField(std::string& out, unsigned int key) { AppendInteger(out, key); }
    static bool ReadField(ByteReader& in, unsigned int& key) { return in.ReadInteger(key); }
    static QString ToText(unsigned int key) { return QString::number(key); }
};

} // namespace valueitemmap
} // namespace values
