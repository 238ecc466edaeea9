#pragma once

#include <xmlmessaging/export.h>

#include <QByteArray>
#include <QString>

#include <utility>

namespace XmlCommon {

namespace detail {
class Document;
class TreeData;
/// Number of a node in its document.
using NodeId = quint32;
constexpr NodeId kNoNode = 0xFFFFFFFFU;

class KOLTA_XMLMESSAGING_EXPORT TreeHandle
{
public:
    TreeHandle() noexcept = default;
    explicit TreeHandle(TreeData* data) noexcept : m_data(data)
    {
        if (m_data)
            retain();
    }
    TreeHandle(const TreeHandle& other) noexcept : TreeHandle(other.m_data) {}
    TreeHandle(TreeHandle&& other) noexcept : m_data(other.m_data) { other.m_data = nullptr; }
    TreeHandle& operator=(TreeHandle other) noexcept
    {
        std::swap(m_data, other.m_data);
        return *this;
    }
    ~TreeHandle()
    {
        if (m_data)
            release();
    }
    TreeData* get() const noexcept { return m_data; }
    explicit operator bool() const noexcept { return m_data != nullptr; }

private:
    void retain() const noexcept;
    void release() const noexcept;

    TreeData* m_data = nullptr;
};
} // namespace detail

/// The name of an XML element.
class KOLTA_XMLMESSAGING_EXPORT CTagname
{
public:
    CTagname() = default;
    explicit CTagname(const QString& name) : m_name(name) {}
    explicit CTagname(QLatin1String name) : m_name(name) {}

    const QString& toString() const noexcept { return m_name; }
    bool isEmpty() const noexcept { return m_name.isEmpty(); }
    bool operator==(const CTagname& other) const { return m_name == other.m_name; }
    bool operator!=(const CTagname& other) const { return m_name != other.m_name; }

private:
    QString m_name;
};

/// Read-only cursor on one element of a CDataTree. Cheap to copy; valid while the tree lives and is not
/// changed. Every operation on a null cursor gives an empty result, so look-ups can be chained.
class KOLTA_XMLMESSAGING_EXPORT CConstElement
{
public:
    CConstElement() noexcept = default;

    bool isNull() const noexcept { return m_node == detail::kNoNode; }
    explicit operator bool() const noexcept { return !isNull(); }

    QString name() const;
    bool hasName(const char* name) const noexcept;
    /// Text directly inside the element.
    QString text() const;
    QString attribute(const char* name) const;
    bool hasAttribute(const char* name) const noexcept;
    /// Text or attribute as an unsigned decimal number; `ok` (may be null) tells whether it is one.
    quint64 textToUInt(bool* ok = nullptr) const noexcept;
    quint64 attributeToUInt(const char* name, bool* ok = nullptr) const noexcept;

    /// First child element, of any name or of the given one.
    CConstElement child() const noexcept { return child(nullptr); }
    CConstElement child(const char* name) const noexcept;
    /// Next sibling element, of any name or of the given one.
    CConstElement next() const noexcept { return next(nullptr); }
    CConstElement next(const char* name) const noexcept;
    /// Text of the first child element with that name.
    QString childText(const char* name) const { return child(name).text(); }

protected:
    friend class CDataTree;
    friend class CElement;
    friend class MessageCodec;
    CConstElement(detail::Document* document, detail::NodeId node) noexcept
        : m_document(document), m_node(node)
    {
    }
    CConstElement from(detail::NodeId child, const char* name) const noexcept;

    detail::Document* m_document = nullptr;
    detail::NodeId m_node = detail::kNoNode;
};

class CDataTree;

/// Cursor that may change its element. Texts may hold any character; those that XML cannot carry are replaced
/// by U+FFFD.
class KOLTA_XMLMESSAGING_EXPORT CElement : public CConstElement
{
public:
    CElement() noexcept = default;

    /// Appends a child element and returns it; `name` is an XML name in ASCII.
    CElement append(const char* name);
    CElement append(const char* name, const QString& text);
    /// Appends a copy of a whole tree and returns its root; a null cursor for an empty tree.
    CElement append(const CDataTree& tree);
    void setText(const QString& text);
    void setAttribute(const char* name, const QString& value);
    void setAttribute(const char* name, quint64 value);

private:
    friend class CDataTree;
    using CConstElement::CConstElement;
};

/// One XML element with all below it, as a value: implicitly shared, detached on the first change.
/// Distinct objects that share content may be used by different threads at the same time.
class KOLTA_XMLMESSAGING_EXPORT CDataTree
{
public:
    /// The empty tree: no element at all.
    CDataTree() noexcept = default;
    /// A tree that is one empty element.
    explicit CDataTree(const CTagname& root);
    explicit CDataTree(QLatin1String root) : CDataTree(CTagname(root)) {}
    /// A copy of the element at `element`, whose tree may die afterwards; empty for a null cursor.
    explicit CDataTree(CConstElement element);
    /// The tree below `element`, which stands in this tree, without copying it; empty for a null cursor.
    CDataTree part(CConstElement element) const;

    bool isEmpty() const noexcept { return !m_data; }
    CTagname getRootTagname() const;
    CConstElement root() const noexcept;
    /// The root for changing; detaches from other holders first, so earlier cursors must not be used any
    /// more.
    CElement editRoot();

    /// UTF-8, no declaration, no added white space; empty for an empty tree.
    QByteArray toXml() const;
    /// toXml() with line breaks and two blanks per level, for people.
    QString toReadableXml() const;
    /// Parses one element in UTF-8. On malformed text the result is empty and `error` (may be null) says what
    /// is wrong and at which byte. Refused are also: invalid UTF-8, a document type, content behind the root
    /// element, more than 64 levels.
    static CDataTree fromXml(const QByteArray& xml, QString* error = nullptr);

    bool operator==(const CDataTree& other) const;
    bool operator!=(const CDataTree& other) const { return !(*this == other); }

private:
    friend class MessageCodec;
    explicit CDataTree(detail::TreeHandle data) noexcept : m_data(std::move(data)) {}
    detail::TreeHandle m_data;
};

/// What a request asks: the data tree of its parameters. Its root element names the operation.
class KOLTA_XMLMESSAGING_EXPORT CRequestTree
{
public:
    CRequestTree() noexcept = default;
    explicit CRequestTree(CDataTree data) noexcept : m_data(std::move(data)) {}

    bool isEmpty() const noexcept { return m_data.isEmpty(); }
    const CDataTree& getDataTree() const noexcept { return m_data; }

private:
    CDataTree m_data;
};

} // namespace XmlCommon
