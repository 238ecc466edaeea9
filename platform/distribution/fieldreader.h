#pragma once

#include <distribution/messages.h>

namespace distribution {

/// Reads field by field and remembers whether one did not fit; what is read after that is worthless.
class FieldReader
{
public:
    /// A reason is not longer, so that an entry can be read by whoever can read its changes.
    static constexpr int kReasonUnits = 500;

    explicit FieldReader(values::ByteReader in) : m_in(in) {}

    template<class T>
    T Integer()
    {
        T value{};
        m_fits = m_fits && m_in.ReadInteger(value);
        return value;
    }
    QUuid Uuid()
    {
        QUuid id;
        m_fits = m_fits && m_in.ReadUuid(id);
        return id;
    }
    values::ByteReader Block()
    {
        const auto size = Integer<quint32>();
        values::ByteReader block(nullptr, 0);
        m_fits = m_fits && m_in.Split(size, block);
        return m_fits ? block : values::ByteReader(nullptr, 0);
    }
    Content ContentBlock()
    {
        const values::ByteReader block = Block();
        return m_fits ? MakeContent(Bytes(block.Position(), block.Remaining())) : nullptr;
    }
    QString ShortText(std::size_t maximumBytes)
    {
        const values::ByteReader block = Block();
        if (block.Remaining() > maximumBytes)
            Refuse();
        if (!m_fits)
            return QString();
        const QByteArray bytes =
            QByteArray::fromRawData(block.Position(), static_cast<int>(block.Remaining()));
        QString text = QString::fromUtf8(bytes);
        // What is no UTF-8 would come out as another text, perhaps as that of another item.
        if (text.toUtf8() != bytes)
            Refuse();
        return text;
    }
    /// Path of an item in the tree's own form.
    QString Path()
    {
        QString path = ShortText(Limits::kPathBytes);
        if (path.size() < 2 || !path.startsWith(QLatin1Char('/')) || path.endsWith(QLatin1Char('/')) ||
            path.contains(QLatin1String("//")))
            Refuse();
        return path;
    }
    /// A number of elements of at least `bytesEach` each.
    template<class T>
    std::size_t Count(std::size_t bytesEach, std::size_t maximum)
    {
        const std::size_t count = Integer<T>();
        if (count > maximum || count * bytesEach > m_in.Remaining())
            Refuse();
        return m_fits ? count : 0;
    }
    /// `ofTable`: it may also say that the outcome of all changes is unknown.
    Failure ReadFailure(bool ofTable)
    {
        Failure failure;
        failure.index = Integer<quint32>();
        const auto result = Integer<quint8>();
        const bool isUnknown =
            ofTable && result == quint8(WishResult::Unknown) && failure.index == Failure::kEveryChange;
        if (!isUnknown && result != quint8(WishResult::Refused) && result != quint8(WishResult::Conflict))
            Refuse();
        failure.result = static_cast<WishResult>(result);
        failure.reason = ShortText(3 * kReasonUnits);
        return failure;
    }

    void Refuse() { m_fits = false; }
    bool Fits() const { return m_fits; }
    bool FitsExactly() const { return m_fits && m_in.AtEnd(); }
    bool HasMore() const { return m_fits && !m_in.AtEnd(); }
    values::ByteReader& Rest() { return m_in; }

private:
    values::ByteReader m_in;
    bool m_fits = true;
};

} // namespace distribution
