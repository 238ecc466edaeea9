#pragma once

#include <xmlmessaging/datatree.h>

#include <QByteArray>

#include <array>
#include <atomic>
#include <forward_list>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace XmlCommon::detail {

class Document;

/// What a tree handle points to: one element of a document, kept alive by the document's count.
class TreeData
{
public:
    Document* document = nullptr;
    NodeId node = kNoNode;
};

/// A text that was parsed, or a tree that was built, shared by all trees that stand in it. Nobody changes a
/// document that has more than one holder.
///
/// A node takes 16 bytes and refers to the text, which is kept as it came: a message of the smallest elements
/// takes five times its bytes. Names, values and texts that are added later lie in a text of their own.
class Document
{
public:
    void ref() noexcept { m_holders.fetch_add(1, std::memory_order_relaxed); }
    void deref() noexcept
    {
        if (m_holders.fetch_sub(1, std::memory_order_acq_rel) == 1)
            delete this;
    }
    /// Acquires, so that what former holders read lies before what the only holder left goes on to change.
    bool isShared() const noexcept { return m_holders.load(std::memory_order_acquire) != 1; }

    /// Takes over `text`; false with `error` set when it is not a well-formed document.
    bool parse(QByteArray text, int maxDepth, QString& error);
    /// The message for a fault at a node of the text that was parsed.
    QString complaintAt(NodeId node, const char* what, const char* expected) const;
    /// The root of what was parsed, or added first.
    NodeId root() const noexcept { return 0; }

    /// Declares `node` the root of a tree. Only while nobody else knows the document.
    TreeData* addTree(NodeId node);
    /// Declares `node` the root of another tree at any time, from any thread that holds the document.
    TreeData* addPart(NodeId node);

    bool isElement(NodeId node) const { return kindOf(node) == eElement; }
    bool isText(NodeId node) const { return kindOf(node) == eText || kindOf(node) == eSection; }
    /// Of an element or an attribute.
    std::string_view name(NodeId node) const;
    /// These give kNoNode where there is none.
    NodeId firstAttribute(NodeId element) const;
    NodeId nextAttribute(NodeId attribute) const;
    NodeId findAttribute(NodeId element, std::string_view name) const;
    /// The first element or piece of text in the element, and the next one beside it.
    NodeId firstChild(NodeId element) const;
    NodeId next(NodeId child) const { return isLast(child) ? kNoNode : m_nodes[child].next; }
    /// The next element, the node itself included.
    NodeId elementFrom(NodeId child) const;
    bool isEmptyText(NodeId piece) const { return raw(piece).empty(); }
    /// The meaning of a piece of text or of an attribute, in UTF-8.
    void appendMeaning(NodeId node, std::string& out) const;
    /// The text directly in the element.
    std::string directText(NodeId element) const;

    /// Names must be XML's, texts valid UTF-8 of characters that XML can carry. `parent` may be kNoNode for
    /// the root.
    NodeId appendElement(NodeId parent, std::string_view name);
    void setText(NodeId element, std::string_view text);
    void setAttribute(NodeId element, std::string_view name, std::string_view value);
    NodeId appendCopy(NodeId parent, const Document& source, NodeId element);

private:
    enum Kind : quint32 { eElement, eAttribute, eValue, eText, eSection };
    struct Node
    {
        quint32 begin;          ///< of the name or text
        quint32 lengthAndFlags; ///< see the functions below
        NodeId last;            ///< child of an element; attributes are children, ahead of all others
        NodeId next; ///< child of the same element; the first behind the last, so that they form a ring
    };
    static constexpr quint32 kKindShift = 29;
    static constexpr quint32 kOwn = 1U << 28;  ///< lies in m_own, and means what it is
    static constexpr quint32 kLast = 1U << 27; ///< the last child of its element
    static constexpr quint32 kLengthMask = kLast - 1;

    class Builder;

    Kind kindOf(NodeId node) const { return static_cast<Kind>(m_nodes[node].lengthAndFlags >> kKindShift); }
    bool isLast(NodeId node) const { return (m_nodes[node].lengthAndFlags & kLast) != 0; }
    std::string_view raw(NodeId node) const;
    NodeId firstOfRing(NodeId element) const;
    NodeId add(Kind kind, quint32 begin, std::size_t length, quint32 flags);
    NodeId addOwn(Kind kind, std::string_view text);
    void insert(NodeId element, NodeId previous, NodeId child);
    void append(NodeId element, NodeId child) { insert(element, m_nodes[element].last, child); }
    NodeId lastAttribute(NodeId element) const;
    void removeText(NodeId element);

    QByteArray m_text;
    std::string m_own;
    std::vector<Node> m_nodes; ///< the value of an attribute stands behind it

    std::atomic<int> m_holders{0};
    std::array<TreeData, 3> m_firstTrees;
    std::size_t m_treeCount = 0;
    std::forward_list<TreeData> m_moreTrees;
    std::mutex m_partsMutex; ///< guards m_parts
    std::forward_list<TreeData> m_parts;
};

/// Keeps a document alive while it is being built.
class DocumentHolder
{
public:
    DocumentHolder() : m_document(new Document) { m_document->ref(); }
    ~DocumentHolder() { m_document->deref(); }
    DocumentHolder(const DocumentHolder&) = delete;
    DocumentHolder& operator=(const DocumentHolder&) = delete;
    Document* operator->() const noexcept { return m_document; }
    Document& operator*() const noexcept { return *m_document; }

private:
    Document* m_document;
};

/// Unsigned decimal number without sign, blanks or overflow.
bool parseUInt(const std::string& text, quint64& value) noexcept;

} // namespace XmlCommon::detail
