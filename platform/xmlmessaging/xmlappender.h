#pragma once

#include <xmltext/escapes.h>

#include <QByteArray>

#include <cstddef>
#include <cstring>
#include <string_view>

namespace XmlCommon::detail {

/// Appends pieces of XML text to a byte array. It writes into room that it makes ahead and gives back what is
/// left of it when it dies; until then nobody else may use the byte array.
class XmlAppender
{
public:
    explicit XmlAppender(QByteArray& out) : m_out(out) { makeRoom(out.size(), out.capacity()); }
    ~XmlAppender() { m_out.resize(used()); }
    XmlAppender(const XmlAppender&) = delete;
    XmlAppender& operator=(const XmlAppender&) = delete;

    void bytes(const char* text, std::size_t length)
    {
        char* const at = roomFor(length);
        std::memcpy(at, text, length);
        m_at = at + length;
    }
    void bytes(std::string_view text) { bytes(text.data(), text.size()); }
    template<std::size_t size>
    void literal(const char (&text)[size])
    {
        bytes(text, size - 1);
    }
    void number(quint32 value);
    /// A zero-terminated UTF-8 text with everything escaped that its place cannot carry as it is.
    void escaped(const char* text, XmlText::ePlace place);

private:
    int used() const { return static_cast<int>(m_at - m_out.constData()); }
    /// Where `length` bytes may be written.
    char* roomFor(std::size_t length)
    {
        if (length > static_cast<std::size_t>(m_end - m_at))
            grow(length);
        return m_at;
    }
    void grow(std::size_t length);
    void makeRoom(int used, int size);

    QByteArray& m_out;
    char* m_at = nullptr;
    const char* m_end = nullptr;
};

} // namespace XmlCommon::detail
