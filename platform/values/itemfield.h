#pragma once

#include <values/bytestream.h>

#include <QByteArray>
#include <QDataStream>
#include <QStringList>

#include <algorithm>

/// \file
/// The item field that every item format writes and reads: an unsigned 32-bit byte count, then that many
/// bytes of a data stream (default version, big-endian).

namespace values {

/// The whole field; `write(QDataStream&)` writes the members. `capacity`: expected bytes of the stream.
template<class Write>
std::string MakeItemField(int capacity, const Write& write)
{
    QByteArray bytes;
    bytes.reserve(std::max(capacity, 0));
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    write(stream);
    std::string field;
    field.reserve(sizeof(quint32) + static_cast<std::size_t>(bytes.size()));
    AppendInteger(field, static_cast<quint32>(bytes.size()));
    field.append(bytes.constData(), static_cast<std::size_t>(bytes.size()));
    return field;
}

/// Reads the field at `*bytes`, whose length must have been checked, and moves `*bytes` behind it whatever
/// `read(QDataStream&)` took; members that the field lacks read as zero or empty.
template<class Read>
void ReadItemField(const char** bytes, const Read& read)
{
    quint32 size = 0;
    std::memcpy(&size, *bytes, sizeof size);
    QDataStream stream(QByteArray::fromRawData(*bytes + sizeof size, static_cast<int>(size)));
    read(stream);
    *bytes += sizeof size + size;
}

/// Reads a list of texts without trusting its count, for which Qt's own operator reserves memory.
inline void ReadStringList(QDataStream& stream, QStringList& list)
{
    quint32 count = 0;
    stream >> count;
    list.clear();
    for (quint32 i = 0; i < count && stream.status() == QDataStream::Ok && !stream.atEnd(); ++i) {
        QString text;
        stream >> text;
        list.append(text);
    }
}

} // namespace values
