#pragma once

#include <QByteArray>

#include <cstddef>
#include <cstring>

namespace XmlCommon::detail {

/// Appends pieces of XML text to a byte array. It writes into room that it makes ahead and gives back what is
/// left of it when it dies; until then nobody else may use the byte array.
class XmlAppender
{
public:
    enum Place { eAttribute, eCharacterData };

    explicit XmlAppender(QByteArray& out) : m_out(out), m_used(static_cast<std::size_t>(out.size()))
    {
        makeRoom(static_cast<std::size_t>(out.capacity()));
    }
    ~XmlAppender() { m_out.resize(static_cast<int>(m_used)); }
    XmlAppender(const XmlAppender&) = delete;
    XmlAppender& operator=(const XmlAppender&) = delete;

    void bytes(const char* text, std::size_t length)
    {
        if (length > m_room - m_used)
            grow(length);
        std::memcpy(m_begin + m_used, text, length);
        m_used += length;
    }
    template<std::size_t size>
    void literal(const char (&text)[size])
    {
        bytes(text, size - 1);
    }
    /// A zero-terminated text that needs no escaping.
    void plain(const char* text) { bytes(text, std::strlen(text)); }
    void number(quint32 value);
    /// A zero-terminated UTF-8 text with everything escaped that its place cannot carry as it is.
    void escaped(const char* text, Place place);

private:
    void grow(std::size_t length);
    void makeRoom(std::size_t room);

    QByteArray& m_out;
    char* m_begin = nullptr;
    std::size_t m_used;
    std::size_t m_room = 0;
};

} // namespace XmlCommon::detail
