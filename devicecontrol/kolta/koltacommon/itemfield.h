#pragma once

#include <QDateTime>
#include <QString>
#include <QStringList>
#include <QVector>
#include <QtEndian>

#include <cstring>
#include <string>
#include <type_traits>

/// \file
/// The item field, in which an item travels: an unsigned 32-bit byte count in the host's byte order, then as
/// many bytes in the form of a QDataStream of Qt 5.15 (big-endian, doubles of 64 bits). An item lists its
/// members once, in a function that either class below passes through:
///
///     constexpr auto members = [](auto& io, auto& item) {
///         io(item.name);
///         io(item.frequency);
///     };

class QTimeZone;

namespace Kolta {

namespace itemfield {

/// The number with as many bits that is written and read in place of an arithmetic or enumerated value.
template<class T>
auto toBits(T value)
{
    if constexpr (std::is_enum_v<T>) {
        return toBits(static_cast<std::underlying_type_t<T>>(value));
    } else if constexpr (std::is_same_v<T, bool>) {
        return static_cast<quint8>(value);
    } else if constexpr (std::is_same_v<T, double>) {
        quint64 bits = 0;
        std::memcpy(&bits, &value, sizeof bits);
        return bits;
    } else {
        return static_cast<std::make_unsigned_t<T>>(value);
    }
}

/// Builds one item field. The members go straight into the bytes that are handed out.
class Writer
{
public:
    /// `hint`: number of bytes that the members are expected to take; more may come.
    explicit Writer(std::size_t hint);

    /// The format version that stands ahead of the members of most items.
    void version() { (*this)(qint8(1)); }
    /// Signed and unsigned numbers of one width give the same bytes.
    template<class T>
    void operator()(T value)
    {
        const auto bits = qToBigEndian(toBits(value));
        m_bytes.append(reinterpret_cast<const char*>(&bits), sizeof bits);
    }
    /// Code units unchanged, also unpaired surrogates. Null and empty texts differ.
    void operator()(const QString& text);
    void operator()(const QStringList& texts);
    /// As doubles, the form that QDataStream gives to floats.
    void operator()(const QVector<float>& numbers);
    void operator()(const QDateTime& time);

    /// The whole field. The writer is used up.
    std::string take();

private:
    std::string m_bytes; ///< with room for the byte count in front
};

/// Reads one item field. It never reads beyond the bytes that the field's count names, and never makes room
/// for more than they can hold. From the first member that does not fit, every member reads as zero or empty.
class Reader
{
public:
    /// Moves `*stream`, which must hold the whole field, behind it.
    explicit Reader(const char** stream);

    /// Passes over the format version, whatever it is.
    void version() { skip(1); }
    template<class T>
    void operator()(T& value)
    {
        decltype(toBits(value)) bits = 0;
        if (const char* const bytes = skip(sizeof bits))
            bits = qFromBigEndian<decltype(bits)>(bytes);
        if constexpr (std::is_same_v<T, double>)
            std::memcpy(&value, &bits, sizeof value);
        else
            value = static_cast<T>(bits);
    }
    void operator()(QString& text);
    void operator()(QStringList& texts);
    void operator()(QVector<float>& numbers);
    /// A time zone counts only by a plain IANA name that is known here: looking one up opens a file of that
    /// name, and Qt cannot write an unknown one.
    void operator()(QDateTime& time);

private:
    /// A zone by its name, or one of a fixed offset, which Qt writes as several members.
    QTimeZone readZone();
    /// The next `size` bytes, or null when there are not that many; then the rest is missing too.
    const char* skip(std::size_t size);
    /// The count of the elements that follow, each of at least `elementSize` bytes; 0 when they do not fit.
    int count(std::size_t elementSize);
    void fail();
    std::size_t left() const noexcept { return static_cast<std::size_t>(m_end - m_at); }

    const char* m_at;
    const char* m_end;
    bool m_incomplete = false; ///< a member did not fit
};

/// The item field of `item`: format version 1, then its members.
template<class Item, class Members>
std::string toField(const Item& item, const Members& members, std::size_t hint)
{
    Writer field(hint);
    field.version();
    members(field, item);
    return field.take();
}

/// Reads what toField() gives. Always true: what the field lacks reads as zero or empty.
template<class Item, class Members>
bool fromField(const char** stream, Item& item, const Members& members)
{
    Reader field(stream);
    field.version();
    members(field, item);
    return true;
}

} // namespace itemfield

} // namespace Kolta
