#pragma once

#include <distribution/export.h>
#include <distribution/messages.h>
#include <distribution/textparts.h>

#include <QHash>
#include <QStringList>

#include <map>
#include <optional>

namespace distribution {

/// The items of one channel as its owner has them, by identifier and by path. Identifiers rise, so that their
/// order is one of parents before children and of siblings as they came.
class KOLTA_DISTRIBUTION_EXPORT ItemTable
{
public:
    struct Item
    {
        QString path;
        qint32 type = 0;
        Content content;       ///< of plain values only; null while it is in parts
        quint64 changedAt = 0; ///< number of the entry that changed it last; kept by owners
        QUuid changedBy;       ///< session whose wish it holds, null when it holds anything else
        /// Instead of the content, once a part of that was replaced.
        std::optional<TextParts> parts = std::nullopt;

        std::size_t Size() const { return parts ? parts->Size() : BytesOf(content).size(); }
        Content Whole() const { return parts ? MakeContent(parts->Whole()) : content; }
        /// A range within the content.
        Bytes Range(std::size_t offset, std::size_t count) const;
        /// Whether these bytes are there.
        bool Holds(std::size_t offset, std::string_view bytes) const;
        bool IsEqual(const Bytes& bytes) const { return Size() == bytes.size() && Holds(0, bytes); }
        /// The replacement of a part that fits.
        TextEdit Prepare(values::TextSplice splice);
    };
    using Items = std::map<quint32, Item>;

    const Items& All() const noexcept { return m_items; }
    std::size_t Size() const noexcept { return m_items.size(); }
    bool Contains(const QString& path) const { return m_ids.contains(path); }
    /// 0 when there is none.
    quint32 IdOf(const QString& path) const { return m_ids.value(path); }
    /// Null when there is none.
    Item* Find(quint32 id);
    const Item* Find(quint32 id) const;
    const Item* Find(const QString& path) const;

    /// Replaces what has the same identifier or path.
    void Insert(quint32 id, Item item);
    void SetContent(quint32 id, const Content& content);
    /// Of an item that is there, and the edit prepared for it.
    void Apply(quint32 id, TextEdit& edit);
    void Erase(quint32 id);
    void Clear();

private:
    Items m_items;
    QHash<QString, quint32> m_ids;
};

/// Whether `path` is `top` or below it.
KOLTA_DISTRIBUTION_EXPORT bool IsAtOrBelow(const QString& path, const QString& top);
KOLTA_DISTRIBUTION_EXPORT bool IsAtOrBelow(const QString& path, const QStringList& tops);

/// The changes of an entry with paths and whole contents instead of identifiers and runs, as they follow upon
/// `items`, whose contents stay as they are; a Delta that replaces one part remains one, with that part.
/// Nothing when a change does not fit, or makes a content of more than `maximumBytes`.
KOLTA_DISTRIBUTION_EXPORT std::optional<Changes> Resolve(const Changes& changes, ItemTable& items,
                                                         std::size_t maximumBytes);

} // namespace distribution
