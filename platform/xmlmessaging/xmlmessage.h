#pragma once

#include <xmlmessaging/datatree.h>
#include <xmlmessaging/export.h>
#include <xmlmessaging/faulttree.h>

#include <QExplicitlySharedDataPointer>
#include <QMetaType>
#include <QSharedData>
#include <QString>

#include <utility>
#include <vector>

namespace GLOBAL_XML_TYPES {
/// How a message came to the application.
enum eMESSAGE_TYPES : int {
    eMESSAGE_UNKNOWN = 0,
    eMESSAGE_REPLY = 1,     ///< answer to a request that this link sent
    eMESSAGE_BROADCAST = 2, ///< sent by the server of its own accord
    eMESSAGE_REQUEST = 3    ///< received by a server
};
} // namespace GLOBAL_XML_TYPES

namespace XmlCommon {

/// Part of a message that concerns one component of the peer: a request, data, a fault, each at most once.
class KOLTA_XMLMESSAGING_EXPORT CMsgFragment
{
public:
    CMsgFragment() = default;
    explicit CMsgFragment(const QString& componentName) : m_componentName(componentName) {}

    const QString& getComponentName() const noexcept { return m_componentName; }
    void setComponentName(const QString& name) { m_componentName = name; }

    bool hasRequestTree() const noexcept { return !m_request.isEmpty(); }
    const CRequestTree& getRequestTree() const noexcept { return m_request; }
    void setRequestTree(CRequestTree tree) noexcept { m_request = std::move(tree); }

    bool hasDataTree() const noexcept { return !m_data.isEmpty(); }
    const CDataTree& getDataTree() const noexcept { return m_data; }
    /// An empty tree removes it.
    void setDataTree(CDataTree tree) noexcept { m_data = std::move(tree); }

    bool hasFaultTree() const noexcept { return !m_fault.isEmpty(); }
    const CFaultTree& getFaultTree() const noexcept { return m_fault; }
    /// An empty tree removes it.
    void setFaultTree(CFaultTree tree) noexcept { m_fault = std::move(tree); }

private:
    QString m_componentName;
    CRequestTree m_request;
    CDataTree m_data;
    CFaultTree m_fault;
};

/// One message of the XML protocol. Reference-counted through ptrCXmlMessage.
/// A message object belongs to one thread at a time; a copy shares its trees' content and may go to another
/// thread.
class KOLTA_XMLMESSAGING_EXPORT CXmlMessage : public QSharedData
{
public:
    /// The kinds of message. Requests are answered by the kind two above their own.
    enum eSERVICE_TYPES : int {
        eSERVICE_UNKNOWN = 0,
        eSERVICE_QUERY = 1,         ///< request that reads
        eSERVICE_COMMAND = 2,       ///< request that changes
        eSERVICE_QUERY_REPLY = 3,   ///< reply to eSERVICE_QUERY
        eSERVICE_COMMAND_REPLY = 4, ///< reply to eSERVICE_COMMAND
        eSERVICE_BROADCAST = 5
    };

    CXmlMessage() = default;
    explicit CXmlMessage(eSERVICE_TYPES serviceType) : m_serviceType(serviceType) {}

    eSERVICE_TYPES getServiceType() const noexcept { return m_serviceType; }
    void setServiceType(eSERVICE_TYPES type) noexcept { m_serviceType = type; }
    /// "Query", "Command", "QueryReply", "CommandReply", "Broadcast"; "Unknown" for every other value.
    static QString servicetypeToString(eSERVICE_TYPES type);
    QString servicetypeToString() const { return servicetypeToString(m_serviceType); }

    /// 0 means none was given yet.
    quint32 getMessageID() const noexcept { return m_messageID; }
    void setMessageID(quint32 id) noexcept { m_messageID = id; }
    /// Gives the message the next ID of the process-wide generator: never 0, unique until 2^32 were drawn.
    /// The generator is thread-safe.
    void setMessageID_byGenerator();

    /// How long the sender waits for the reply, in units of 10 microseconds; 0 for not set.
    quint32 getAvailableTime() const noexcept { return m_availableTime; }
    void setAvailableTime(quint32 time) noexcept { m_availableTime = time; }

    /// What a command is recognised by when it comes again on another link: the same text then, another one
    /// for every other command; empty for none, at most kMaxTokenLength characters.
    const QString& getToken() const noexcept { return m_token; }
    void setToken(const QString& token) { m_token = token; }
    static constexpr int kMaxTokenLength = 64;
    /// A token that no other message has, of whichever process.
    void setToken_byGenerator();
    /// Whether this is not the first time that the message is sent; for logs, it does not travel.
    bool isSentAgain() const noexcept { return m_sentAgain; }
    void setSentAgain(bool again) noexcept { m_sentAgain = again; }

    int getNumberOfFragments() const noexcept { return static_cast<int>(m_fragments.size()); }
    /// Throws std::out_of_range for an index that does not exist.
    CMsgFragment& getFragment(int index) { return m_fragments.at(static_cast<std::size_t>(index)); }
    const CMsgFragment& getFragment(int index) const
    {
        return m_fragments.at(static_cast<std::size_t>(index));
    }
    /// Inserts before `index`; -1 or any other index outside the list appends.
    void addFragment(const CMsgFragment& fragment, int index = -1);
    /// Appends an empty fragment and returns it. The reference is valid until the list changes.
    CMsgFragment& appendFragment() { return m_fragments.emplace_back(); }
    void clearFragments() { m_fragments.clear(); }

    /// Makes this message, which is a request, its own reply: service type, and per fragment the data and
    /// fault trees of the reply's fragment of the same component, of several the first that no fragment
    /// before took; the request trees stay, so that clearing data and faults restores the request. Fragments
    /// that only the reply has are appended. See missingReply() for a component that was not answered.
    void fillWithReply(const CXmlMessage& reply);
    /// The first component that fillWithReply() found no answer for; null when there is none.
    QString missingReply() const;
    /// Takes away the fragments that fillWithReply() appended.
    void removeReplyFragments();

private:
    eSERVICE_TYPES m_serviceType = eSERVICE_UNKNOWN;
    quint32 m_messageID = 0;
    quint32 m_availableTime = 0;
    QString m_token;
    bool m_sentAgain = false;
    std::vector<CMsgFragment> m_fragments;
    std::size_t m_replyFragments = 0; ///< how many at the end came with a reply
    QString m_missingReply;
};

using ptrCXmlMessage = QExplicitlySharedDataPointer<CXmlMessage>;

} // namespace XmlCommon

Q_DECLARE_METATYPE(XmlCommon::ptrCXmlMessage)
Q_DECLARE_METATYPE(GLOBAL_XML_TYPES::eMESSAGE_TYPES)
