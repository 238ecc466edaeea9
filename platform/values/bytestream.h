#pragma once

#include <values/export.h>

#include <QString>
#include <QUuid>
#include <QtEndian>

#include <cstddef>
#include <cstring>
#include <string>
#include <type_traits>

/// \file
/// The plain fields of transmitted commands and states: integers in little-endian order, texts as an unsigned
/// 32-bit count of UTF-16 code units followed by the units, UUIDs as the 16 bytes of the value in memory.

namespace values {

static_assert(Q_BYTE_ORDER == Q_LITTLE_ENDIAN, "transmitted integers have the order of the machine");

/// Appends an integer of any width.
template<class T>
void AppendInteger(std::string& out, T value)
{
    static_assert(std::is_integral_v<T> || std::is_enum_v<T>);
    char bytes[sizeof value];
    std::memcpy(bytes, &value, sizeof value);
    out.append(bytes, sizeof value);
}

/// Appends a text; lone surrogates travel unchanged.
inline void AppendText(std::string& out, const QString& text)
{
    const auto units = static_cast<std::size_t>(text.size());
    AppendInteger(out, static_cast<quint32>(units));
    out.append(reinterpret_cast<const char*>(text.utf16()), units * sizeof(ushort));
}

inline void AppendUuid(std::string& out, const QUuid& id)
{
    AppendInteger(out, id.data1);
    AppendInteger(out, id.data2);
    AppendInteger(out, id.data3);
    out.append(reinterpret_cast<const char*>(id.data4), sizeof id.data4);
}

/// Overwrites four bytes that were appended at `position` for a number not yet known then.
inline void PatchUInt32(std::string& out, std::size_t position, quint32 value)
{
    out.replace(position, sizeof value, reinterpret_cast<const char*>(&value), sizeof value);
}

/// Reads such fields and never behind the end. What does not fit gives false and leaves reader and argument
/// alone. The bytes are not owned.
class KOLTA_VALUES_EXPORT ByteReader
{
public:
    ByteReader(const char* bytes, std::size_t size) : m_at(bytes), m_end(bytes + size) {}

    const char* Position() const noexcept { return m_at; }
    std::size_t Remaining() const noexcept { return static_cast<std::size_t>(m_end - m_at); }
    bool AtEnd() const noexcept { return m_at == m_end; }
    /// For operations that move a plain pointer; they must stay within Remaining().
    const char** Cursor() noexcept { return &m_at; }

    template<class T>
    bool PeekInteger(T& value) const
    {
        static_assert(std::is_integral_v<T>);
        if (Remaining() < sizeof value)
            return false;
        std::memcpy(&value, m_at, sizeof value);
        return true;
    }
    template<class T>
    bool ReadInteger(T& value)
    {
        return PeekInteger(value) && Skip(sizeof value);
    }
    bool ReadText(QString& text)
    {
        quint32 units = 0;
        if (!PeekInteger(units) || units > (Remaining() - sizeof units) / sizeof(ushort) ||
            units > static_cast<quint32>(kMaximumUnits))
            return false;
        m_at += sizeof units;
        // The units need not be aligned.
        text.resize(static_cast<int>(units));
        std::memcpy(static_cast<void*>(text.data()), m_at, units * sizeof(ushort));
        return Skip(units * sizeof(ushort));
    }
    bool ReadUuid(QUuid& id)
    {
        QUuid read;
        if (Remaining() < 16)
            return false;
        ReadInteger(read.data1);
        ReadInteger(read.data2);
        ReadInteger(read.data3);
        std::memcpy(read.data4, m_at, sizeof read.data4);
        id = read;
        return Skip(sizeof read.data4);
    }
    bool Skip(std::size_t bytes)
    {
        if (Remaining() < bytes)
            return false;
        m_at += bytes;
        return true;
    }
    /// A reader for the next `bytes` alone; skips them here.
    bool Split(std::size_t bytes, ByteReader& part)
    {
        if (Remaining() < bytes)
            return false;
        part = ByteReader(m_at, bytes);
        m_at += bytes;
        return true;
    }

private:
    static constexpr int kMaximumUnits = 1 << 29; ///< what a QString can hold

    const char* m_at;
    const char* m_end;
};

} // namespace values
