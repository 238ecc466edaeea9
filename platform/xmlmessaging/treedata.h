#pragma once

#include <xmlmessaging/datatree.h>

#include <QByteArray>

#include <array>
#include <atomic>
#include <forward_list>
#include <mutex>
#include <pugixml.hpp>

namespace XmlCommon::detail {

class Document;
class XmlAppender;

/// What a tree handle points to: one element of a document, kept alive by the document's count.
class TreeData
{
public:
    Document* document = nullptr;
    pugi::xml_node node;
};

/// A parsed or built document together with the text that it was parsed in, shared by all trees that stand in
/// it. Nobody changes a document that has more than one holder.
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

    /// Parses `text` in place; false with `error` set when it is not a well-formed document.
    bool parse(QByteArray text, int maxDepth, QString& error);
    /// What is wrong with a node of the text that was parsed, and where that stands.
    QString complaintAt(pugi::xml_node node, const char* what, const char* expected) const;
    /// Declares `node` the root of a tree. Only while nobody else knows the document.
    TreeData* addTree(pugi::xml_node node);
    /// Declares `node` the root of another tree at any time, from any thread that holds the document.
    TreeData* addPart(pugi::xml_node node);

    pugi::xml_document xml;

private:
    std::atomic<int> m_holders{0};
    QByteArray m_text;
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

private:
    Document* m_document;
};

/// Appends the element as XML text without added white space.
void appendXml(XmlAppender& out, pugi::xml_node element);
/// Appends the text as the value of an attribute.
void appendEscaped(XmlAppender& out, const QString& text);
/// Unsigned decimal number without sign, blanks or overflow.
bool parseUInt(const char* text, quint64& value) noexcept;
/// The element as indented text.
QString readable(pugi::xml_node element);

} // namespace XmlCommon::detail
